#include <gmock/gmock.h>

#include <memory>
#include <optional>

#include "foundation/convert.h"
#include "logging/default_log.h"
#include "logging/log_directory.h"
#include "logging/rotation.h"
#include "logging/win_log_file.h"
#include "tests/foundation/thrown.h"
#include "tests/logging/child.h"
#include "tests/logging/registry_setting.h"
#include "tests/logging/scratch.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using win::win_log_file_t;

const wchar_t* const directory_key = L"SOFTWARE\\Korva\\Quorvane";

const child::role_t hold_role("hold", [](const child::arguments_t& arguments) {
    const win_log_file_t file(arguments.at(0));
    child::report_ready_and_stay();
});
const child::role_t stay_role("stay", [](const child::arguments_t&) { child::report_ready_and_stay(); });

TEST(LogFile, GoesOnBehindWhatItHoldsAndIsReadableMeanwhile) {
    const scratch_t scratch;
    const std::string path = scratch / "\xc3\xa9\xe4\xb8\xad.log";  // its name is not of any one code page
    {
        win_log_file_t file(path);
        file.write("first\r\n");
    }
    win_log_file_t file(path);
    file.write("second\r\n");
    EXPECT_EQ(read_all(path), "first\r\nsecond\r\n");
}

TEST(LogFile, AFullDiskNeverShowsAndLeavesWholeLinesWhichAreFlushedOnDemand) {
    const scratch_t scratch;
    const std::string path = scratch / "a.log";
    enum { works, full, half } disk = works;
    logging::file_functions_t files;
    files.write = [&, real = files.write](HANDLE file, const void* bytes, DWORD length, DWORD& written) {
        return disk == full ? false : real(file, bytes, disk == half ? length / 2 : length, written);
    };
    int flushes = 0;
    files.flush = [&](HANDLE) { return ++flushes > 0; };
    logging::log_t log;
    const auto file = std::make_shared<win_log_file_t>(path, files);
    log.set_receiver(file);
    for (const auto& [state, text] : {std::pair{works, "one"},
                                      {full, "lost"},
                                      {works, "two"},
                                      {half, "a long text that is cut"},
                                      {half, "lost"},
                                      {works, "3"}}) {
        file->set_flush(disk == half);
        disk = state;
        log.write(2, 0, nullptr, text);
    }
    EXPECT_THAT(texts_of(read_all(path)), ElementsAre("one", "two", "3"));
    EXPECT_EQ(flushes, 1) << "of the last line, the only whole one while it was on";
}

TEST(LogFile, ChildProcessesInheritNothingAndNobodyReadsAnUnfinishedArchive) {
    const scratch_t scratch;
    const std::string path = scratch / "a.log";
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    win::unique_file control(
        ::CreateFileA((scratch / "control").c_str(), GENERIC_WRITE, 0, &inheritable, CREATE_NEW, 0, nullptr));
    std::unique_ptr<child::process_t> other;
    {
        logging::file_functions_t files;
        files.gz_finish = [&, real = files.gz_finish](gzFile archive) {  // log and archive are both open now
            other = std::make_unique<child::process_t>("stay", child::arguments_t(), true);
            other->wait_until_ready();
            EXPECT_FALSE(std::ifstream(path + ".gz"));
            return real(archive);
        };
        win_log_file_t file(path, files);
        file.write("line\r\n");
        logging::rotate_when_full(file, files, {1, 10});
    }
    ASSERT_TRUE(other);
    control.reset();
    EXPECT_FALSE(::DeleteFileA((scratch / "control").c_str())) << "the child holds what it may inherit";
    EXPECT_TRUE(::DeleteFileA(path.c_str()));
    EXPECT_TRUE(::DeleteFileA((path + ".gz").c_str()));
    other.reset();
}

TEST(OpenLogFile, TakesTheNextNameWhileAnotherProcessHoldsTheFile) {
    const scratch_t scratch;
    const std::string path = scratch / "deep\\er\\a.log";
    EXPECT_EQ(logging::open_log_file(path)->path(), path) << "missing folders are made";
    child::process_t holder("hold", {path});
    holder.wait_until_ready();
    EXPECT_THAT(thrown([&] { win_log_file_t second(path); }), ElementsAre("File [" + path + "] is locked."));
    EXPECT_EQ(logging::open_log_file(path)->path(), scratch / "deep\\er\\a.1.log");
}

std::vector<std::string> failure_of(const std::string& path, const logging::file_functions_t& files = {}) {
    return thrown([&] { logging::open_log_file(path, files); });
}

TEST(OpenLogFile, TellsWhyItFails) {
    const scratch_t scratch;
    const std::string path = scratch / "a.log";
    logging::file_functions_t files;
    std::vector<std::wstring> tried;
    files.open = [&](const std::wstring& name) {
        tried.push_back(name);
        ::SetLastError(tried.size() % 2 ? ERROR_SHARING_VIOLATION : ERROR_LOCK_VIOLATION);
        return INVALID_HANDLE_VALUE;
    };
    EXPECT_THAT(failure_of(path, files), ElementsAre("Failed to initialize log [" + path + "].", "All log files are locked."));
    ASSERT_EQ(tried.size(), 1000u);
    EXPECT_THAT(text::narrow(tried.back()), HasSubstr("\\a.999.log"));

    files.open = [&](const std::wstring&) {
        ::SetLastError(ERROR_ACCESS_DENIED);
        return INVALID_HANDLE_VALUE;
    };
    for (const std::string& name : {path, std::string("\\a.log")}) {  // the second needs no folder
        EXPECT_THAT(failure_of(name, files), ElementsAre("Failed to initialize log [" + name + "].", "Access denied.",
                                                         "Failed to create or open file [" + name + "]."));
    }

    write_all(scratch / "file", "in the way");
    EXPECT_THAT(failure_of(scratch / "file\\a.log"),
                ElementsAre("Failed to initialize log [" + (scratch / "file\\a.log") + "].", "File already exists.",
                            "Cannot create folder. Folder path: [" + (scratch / "file") + "]."));
}

TEST(LogDirectory, ComesFromTheRegistryOrTheCommonApplicationData) {
    const std::string common = logging::common_log_directory();
    EXPECT_THAT(common, ::testing::EndsWith("\\Korva\\Backup\\"));
    EXPECT_EQ(logging::default_log_directory(), common);
    {
        const registry_setting_t setting(directory_key, L"LogDirectory", L"C:\\l\u00f6g");
        EXPECT_EQ(logging::default_log_directory(), "C:\\l\xc3\xb6g\\");
    }
    const registry_setting_t wrong_type(directory_key, L"LogDirectory", 5);
    EXPECT_EQ(logging::default_log_directory(), common);
}

TEST(LogDirectory, FallsBackBelowTheConfiguredOneOnly) {
    struct row_t {
        const char *path, *directory, *tail;
    };
    const row_t rows[] = {
        {"Q:\\logs\\sub\\a.log", "q:\\LOGS", "sub\\a.log"},
        {"Q:\\logs\\a.log", "Q:\\logs\\", "a.log"},
        {"Q:\\logs2\\a.log", "Q:\\logs", nullptr},
        {"Q:\\logs", "Q:\\logs", nullptr},
        {"R:\\a.log", "Q:\\logs", nullptr},
    };
    for (const row_t& row : rows) {
        const std::optional<std::string> tail = logging::tail_below(row.path, row.directory);
        EXPECT_EQ(tail, row.tail ? std::optional<std::string>(row.tail) : std::nullopt) << row.path;
    }

    const registry_setting_t setting(directory_key, L"LogDirectory", L"Q:\\logs");
    const std::string used = logging::common_log_directory() + "test\\a.log";
    EXPECT_EQ(logging::open_log_file("Q:\\logs\\test\\a.log")->path(), used);
    EXPECT_THAT(failure_of("Q:\\other\\a.log").at(2), HasSubstr("Folder path: [Q:\\other]"));
    std::filesystem::remove_all(logging::common_log_directory() + "test");
}

}  // namespace
