#include "com/co_proxy_client_logging.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "com/class_factory.h"
#include "logging/memory_receiver.h"
#include "logging/write.h"
#include "tests/com/com_test.h"

namespace {

std::string take_file(const std::filesystem::path& path) {
    std::string text;
    {
        std::ifstream file(path, std::ios::binary);
        text.assign(std::istreambuf_iterator<char>(file), {});
    }
    std::filesystem::remove(path);
    return text;
}

// The process's own log is a receiver in memory until an object puts another in its place.
class logging_object_test : public com_test {
protected:
    logging_object_test() {
        std::filesystem::remove(path_);
        com::get_class_object(CLSID_KorvaProxyClientLogging, IID_IClassFactory, reinterpret_cast<void**>(factory_.put()));
        factory_->CreateInstance(nullptr, __uuidof(IKorvaProxyClientLogging), reinterpret_cast<void**>(object_.put()));
    }

    // What the call left on the thread where it failed, else "".
    std::string set_path(const wchar_t* path) { return description(object_->SetLogPath(bstr(path).get())); }
    std::string set_synchronized(const wchar_t* path, const wchar_t* mutex) {
        return description(object_->SetLogSynchronized(bstr(path).get(), bstr(mutex).get()));
    }

    static win::unique_bstr bstr(const wchar_t* text) { return text ? win::make_bstr(text) : win::unique_bstr(); }

    static std::string description(HRESULT result) {
        if (result == S_OK)
            return {};
        EXPECT_EQ(result, DISP_E_EXCEPTION);
        const auto error = take_error();
        EXPECT_TRUE(error && error->source == __uuidof(IKorvaProxyClientLogging));
        return error ? error->description : "(no error object)";
    }

    const std::filesystem::path path_ = std::filesystem::temp_directory_path() / "korva_logging_object.log";
    logging::captured_log_t log_;
    win::com_ptr<IClassFactory> factory_;
    win::com_ptr<IKorvaProxyClientLogging> object_;
};

TEST_F(logging_object_test, ChecksItsArgumentsInOrderAndTellsNullFromEmpty) {
    const char* const no_path = "Path to the log file is not specified.";
    const char* const no_mutex = "Mutex name is not specified.";
    EXPECT_EQ(set_path(nullptr), no_path);
    EXPECT_EQ(set_synchronized(nullptr, nullptr), no_path);
    EXPECT_EQ(set_synchronized(L"", L"mutex"), no_path);
    EXPECT_EQ(set_synchronized(path_.c_str(), nullptr), no_mutex);
    EXPECT_EQ(set_synchronized(path_.c_str(), L""), no_mutex);
    logging::warning("still here");
    EXPECT_EQ(log_.texts().back(), "WARN|still here") << "a failure leaves receiver and layout";

    EXPECT_EQ(set_path(L""), "");
    log_.clear();
    logging::info("dropped");
    EXPECT_FALSE(log_.holds("dropped"));
}

TEST_F(logging_object_test, SendsTheLogToTheFileInTheConsolesLayout) {
    EXPECT_EQ(set_path(path_.c_str()), "");
    EXPECT_FALSE(std::filesystem::exists(path_)) << "the first line comes with the next message";
    logging::warning("plain");
    EXPECT_THAT(take_file(path_), ::testing::MatchesRegex("\\[.*\\] <.\\d> Warning  plain\r\n"));

    EXPECT_EQ(set_synchronized(path_.c_str(), L"korva-test-logging-object"), "");
    logging::error("synchronized");
    EXPECT_THAT(take_file(path_), ::testing::MatchesRegex("\\[.*\\] <.\\d> Error    synchronized\r\n"));
}

TEST_F(logging_object_test, APathThatTheCodePageCannotHoldFailsAndIsNotTaken) {
    if (::GetACP() == CP_UTF8)
        GTEST_SKIP() << "this code page holds every text";
    EXPECT_EQ(object_->SetLogPath(bstr(L"C:\\\u78c1.log").get()),
              static_cast<HRESULT>(0x80070000 | ERROR_NO_UNICODE_TRANSLATION));
    take_error();
    logging::info("still here");
    EXPECT_TRUE(log_.holds("still here"));
}

}  // namespace
