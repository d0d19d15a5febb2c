#include "com/co_proxy_client_logging.h"

#include <gmock/gmock.h>

#include <thread>

#include "foundation/handles.h"
#include "logging/memory_receiver.h"
#include "logging/win_log_file.h"
#include "logging/write.h"
#include "tests/com/com_test.h"
#include "tests/logging/scratch.h"

namespace {

// The process's own log is a receiver in memory until an object puts another in its place.
class logging_object_test : public com_test {
protected:
    static win::unique_bstr bstr(const wchar_t* text) { return win::make_bstr(text ? text : std::wstring_view()); }

    // What the call left on the thread where it failed, else "".
    std::string set_path(const wchar_t* path) {
        return object_->SetLogPath(bstr(path).get()) == S_OK ? "" : description_of_error();
    }
    std::string set_synchronized(const wchar_t* path, const wchar_t* mutex) {
        return object_->SetLogSynchronized(bstr(path).get(), bstr(mutex).get()) == S_OK ? "" : description_of_error();
    }

    const scratch_t scratch_;
    const std::string path_ = scratch_ / "a.log";
    const std::wstring wide_path_ = text::widen(path_);
    logging::captured_log_t log_;
    const win::com_ptr<IKorvaProxyClientLogging> object_ = create<IKorvaProxyClientLogging>(CLSID_KorvaProxyClientLogging);
};

TEST_F(logging_object_test, ChecksItsArgumentsInOrderAndTellsNullFromEmpty) {
    const char* const no_path = "Path to the log file is not specified.";
    const char* const no_mutex = "Mutex name is not specified.";
    EXPECT_EQ(set_path(nullptr), no_path);
    EXPECT_EQ(set_synchronized(nullptr, nullptr), no_path);
    EXPECT_EQ(set_synchronized(L"", L"mutex"), no_path);
    EXPECT_EQ(set_synchronized(wide_path_.c_str(), nullptr), no_mutex);
    EXPECT_EQ(set_synchronized(wide_path_.c_str(), L""), no_mutex);
    logging::warning("still here");
    EXPECT_EQ(log_.texts().back(), "WARN|still here") << "a failure leaves receiver and layout";

    EXPECT_EQ(set_path(L""), "");
    log_.clear();
    logging::info("dropped");
    EXPECT_FALSE(log_.holds("dropped"));
}

TEST_F(logging_object_test, SendsTheLogToTheFileInTheConsolesLayout) {
    const std::string before = scratch_ / "before.log";
    logging::default_log()->set_receiver(std::make_shared<win::win_log_file_t>(before));
    EXPECT_EQ(set_path(wide_path_.c_str()), "");
    EXPECT_TRUE(::DeleteFileA(before.c_str())) << "the file in use before is still open";
    EXPECT_FALSE(exists(path_)) << "the first line comes with the next message";
    logging::warning("plain");
    EXPECT_THAT(read_all(path_), ::testing::MatchesRegex("\\[.*\\] <.\\d> Warning  plain\r\n"));

    ::DeleteFileA(path_.c_str());
    EXPECT_EQ(set_synchronized(wide_path_.c_str(), L"korva-test-logging-object"), "");
    EXPECT_FALSE(exists(path_));
    const win::unique_handle mutex(::CreateMutexA(nullptr, FALSE, "korva-test-logging-object"));
    std::thread([&] { ::WaitForSingleObject(mutex.get(), 0); }).join();
    logging::error("dropped, for the mutex was left behind");
    EXPECT_FALSE(exists(path_));
    logging::error("synchronized");
    EXPECT_THAT(read_all(path_), ::testing::MatchesRegex("\\[.*\\] <.\\d> Error    synchronized\r\n"));
}

TEST_F(logging_object_test, APathThatTheCodePageCannotHoldFailsAndIsNotTaken) {
    EXPECT_EQ(object_->SetLogPath(bstr(L"C:\\\u78c1.log").get()),
              static_cast<HRESULT>(0x80070000 | ERROR_NO_UNICODE_TRANSLATION));
    take_error();
    logging::info("still here");
    EXPECT_TRUE(log_.holds("still here"));
}

}  // namespace
