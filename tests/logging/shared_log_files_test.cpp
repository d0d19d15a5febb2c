#include <windows.h>

#include <aclapi.h>
#include <gmock/gmock.h>
#include <sddl.h>

#include <functional>
#include <map>
#include <memory>
#include <thread>

#include "foundation/system_text.h"
#include "logging/gz_archive.h"
#include "logging/kbmngr_log_file.h"
#include "logging/log.h"
#include "tests/foundation/thrown.h"
#include "tests/logging/child.h"
#include "tests/logging/scratch.h"

namespace {

using ::testing::ElementsAre;

TEST(SharedLogFile, IsOpenForTheLengthOfAWriteOnly) {
    const scratch_t scratch;
    const std::string path = scratch / "a.log";
    const auto open = [&](DWORD sharing) {
        return win::unique_file(::CreateFileA(path.c_str(), GENERIC_WRITE, sharing, nullptr, OPEN_EXISTING, 0, nullptr));
    };
    win::kbmngr_log_file_t file(path);
    EXPECT_FALSE(exists(path));
    file.write("one\r\n");
    {
        const win::unique_file alone = open(0);
        ASSERT_TRUE(alone) << "the file is still open";
        file.write("dropped\r\n");
    }
    const win::unique_file writer = open(FILE_SHARE_READ | FILE_SHARE_WRITE);
    ASSERT_TRUE(writer);
    file.write("two\r\n");
    EXPECT_EQ(read_all(path), "one\r\ntwo\r\n");
    win::kbmngr_log_file_t(scratch / "missing\\a.log").write("dropped\r\n");
    win::kbmngr_log_file_t("").write("dropped\r\n");
    EXPECT_FALSE(exists(scratch / "missing"));
}

constexpr int lines_per_writer = 20'000;

void write_numbered(logging::log_t& log, const std::string& writer) {
    for (int i = 0; i < lines_per_writer; ++i)
        log.write(2, 0, nullptr, writer + " " + std::to_string(i));
}

const child::role_t write_role("write", [](const child::arguments_t& arguments) {
    logging::log_t log;
    log.set_receiver(std::make_shared<win::kbmngr_sync_log_file_t>(arguments.at(0), arguments.at(1)));
    write_numbered(log, arguments.at(2));
});

TEST(SynchronizedLogFile, TwoProcessesAndTwoThreadsLoseNoLine) {
    const scratch_t scratch;
    const std::string path = scratch / "shared.log";
    const std::string mutex = "korva-test-log";
    {
        child::process_t first("write", {path, mutex, "p1"});
        child::process_t second("write", {path, mutex, "p2"});
        logging::log_t log;
        log.set_receiver(std::make_shared<win::kbmngr_sync_log_file_t>(path, mutex));
        std::thread thread([&] { write_numbered(log, "t1"); });
        write_numbered(log, "t2");
        thread.join();
        EXPECT_EQ(first.wait(), 0u);
        EXPECT_EQ(second.wait(), 0u);
    }
    std::map<std::string, int> next;
    for (const std::string& text : texts_of(read_all(path))) {
        const std::string writer = text.substr(0, 2);
        ASSERT_EQ(text, writer + " " + std::to_string(next[writer]++));
    }
    EXPECT_THAT(next, ElementsAre(std::pair{"p1", lines_per_writer}, std::pair{"p2", lines_per_writer},
                                  std::pair{"t1", lines_per_writer}, std::pair{"t2", lines_per_writer}));
}

TEST(SynchronizedLogFile, DropsTheTextWhileTheMutexIsHeldOrAfterItWasAbandoned) {
    const scratch_t scratch;
    const std::string path = scratch / "a.log";
    const std::string name = "korva-test-held";
    win::kbmngr_sync_log_file_t file(path, name, 50);
    const auto in_thread = [](const auto& step) { std::thread(step).join(); };

    const win::unique_handle held(::CreateMutexA(nullptr, TRUE, name.c_str()));
    in_thread([&] { file.write("dropped\r\n"); });
    EXPECT_FALSE(exists(path));
    in_thread([&] {
        EXPECT_EQ(thrown([&] { win::CMutexHolder().acquire(name, 0); }).back(),
                  "WaitForSingleObject has failed. Result: '258'.");
    });
    ::ReleaseMutex(held.get());

    logging::gz_archive_t archive(scratch / "a.gz", 9, {});
    const std::function<void()> operations[] = {[&] { file.write("dropped\r\n"); },  // who knows what was left half written
                                                [&] { EXPECT_EQ(file.size(), 0u); }, [&] { file.compress_to(archive); }};
    for (const auto& operation : operations) {
        in_thread([&] { ::WaitForSingleObject(held.get(), 0); });  // a thread that ends as the owner
        operation();
        EXPECT_EQ(::WaitForSingleObject(held.get(), 0), WAIT_OBJECT_0) << "the mutex was not taken and given up";
        ::ReleaseMutex(held.get());
    }
    EXPECT_FALSE(exists(path));
    file.write("kept\r\n");
    in_thread([&] { file.write("kept too\r\n"); });
    EXPECT_EQ(read_all(path), "kept\r\nkept too\r\n");

    const win::unique_handle event(::CreateEventA(nullptr, TRUE, FALSE, "korva-test-event"));
    EXPECT_THAT(thrown([] { win::CMutexHolder().acquire("korva-test-event", 0); }),
                ElementsAre(exc::system_error_text(ERROR_INVALID_HANDLE), "Failed to create mutex [korva-test-event]"));
    win::kbmngr_sync_log_file_t(scratch / "b.log", "korva-test-event").write("dropped\r\n");
    EXPECT_FALSE(exists(scratch / "b.log"));
}

TEST(SynchronizedLogFile, EveryAccountMayUseTheMutexWhichAlsoAnotherAccountMayHaveMade) {
    const std::string list = "D:(A;;0x160001;;;WD)";
    const scratch_t scratch;
    const std::string name = "korva-test-access";
    win::CMutexHolder holder;
    holder.acquire(name, 0);
    win::unique_handle mutex(::OpenMutexA(READ_CONTROL, FALSE, name.c_str()));
    win::unique_local_memory descriptor, text;
    ::GetSecurityInfo(mutex.get(), SE_KERNEL_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, nullptr, nullptr,
                      descriptor.put());
    ::ConvertSecurityDescriptorToStringSecurityDescriptorA(descriptor.get(), SDDL_REVISION_1, DACL_SECURITY_INFORMATION,
                                                           reinterpret_cast<char**>(text.put()), nullptr);
    EXPECT_EQ(static_cast<const char*>(text.get()), list);
    holder.release();

    // One with another owner cannot be had by creating it, only by opening it: the list does not give every right.
    ASSERT_TRUE(::ConvertStringSecurityDescriptorToSecurityDescriptorA(("O:SY" + list).c_str(), SDDL_REVISION_1,
                                                                       descriptor.put(), nullptr));
    SECURITY_ATTRIBUTES attributes{sizeof attributes, descriptor.get(), FALSE};
    mutex.reset();
    mutex.reset(::CreateMutexA(&attributes, TRUE, name.c_str()));
    ASSERT_FALSE(win::unique_handle(::CreateMutexA(nullptr, FALSE, name.c_str())));
    win::kbmngr_sync_log_file_t file(scratch / "a.log", name, 50);
    std::thread([&] { file.write("dropped\r\n"); }).join();
    ::ReleaseMutex(mutex.get());
    file.write("kept\r\n");
    EXPECT_EQ(read_all(scratch / "a.log"), "kept\r\n");
}

}  // namespace
