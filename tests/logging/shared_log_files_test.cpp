#include <windows.h>

#include <aclapi.h>
#include <gmock/gmock.h>
#include <sddl.h>

#include <functional>
#include <map>
#include <thread>

#include "foundation/system_text.h"
#include "logging/gz_archive.h"
#include "logging/kbmngr_log_file.h"
#include "tests/foundation/thrown.h"
#include "tests/logging/child_role.h"
#include "tests/logging/scratch.h"

namespace {

using ::testing::ElementsAre;
using ::testing::Pair;

using SharedLogFile = scratch_test;

TEST_F(SharedLogFile, IsOpenForTheLengthOfAWriteOnly) {
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

using SynchronizedLogFile = scratch_test;

TEST_F(SynchronizedLogFile, TwoProcessesAndTwoThreadsLoseNoLine) {
    const std::string write = "write " + path + " korva-test-log ";
    child_role first(write + "p1"), second(write + "p2"), threads(write + "t1 t2");
    for (child_role* writer : {&first, &second, &threads})
        EXPECT_EQ(writer->exit_code(), 0u);
    std::map<std::string, int> next;
    for (const std::string& text : texts_of(read_all(path))) {
        const std::string writer = text.substr(0, 2);
        ASSERT_EQ(text, writer + " " + std::to_string(next[writer]++));
    }
    EXPECT_THAT(next, ElementsAre(Pair("p1", 20'000), Pair("p2", 20'000), Pair("t1", 20'000), Pair("t2", 20'000)));
}

TEST_F(SynchronizedLogFile, DropsTheTextWhileTheMutexIsHeldOrAfterItWasAbandoned) {
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

    const logging::file_functions_t files;
    logging::gz_archive_t archive(scratch / "a.gz", 9, files);
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

TEST_F(SynchronizedLogFile, EveryAccountMayUseTheMutexWhichAlsoAnotherAccountMayHaveMade) {
    const std::string list = "D:(A;;0x160001;;;WD)";
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
    win::kbmngr_sync_log_file_t file(path, name, 50);
    std::thread([&] { file.write("dropped\r\n"); }).join();
    ::ReleaseMutex(mutex.get());
    file.write("kept\r\n");
    EXPECT_EQ(read_all(path), "kept\r\n");
}

}  // namespace
