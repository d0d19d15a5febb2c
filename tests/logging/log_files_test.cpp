#include <gmock/gmock.h>

#include <memory>
#include <optional>

#include "foundation/convert.h"
#include "logging/default_log.h"
#include "logging/log_directory.h"
#include "logging/rotation.h"
#include "logging/win_log_file.h"
#include "tests/foundation/thrown.h"
#include "tests/logging/child_role.h"
#include "tests/logging/registry_setting.h"
#include "tests/logging/scratch.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using win::win_log_file_t;

const wchar_t* const directory_key = L"SOFTWARE\\Korva\\Quorvane";

using LogFile = scratch_test;

TEST_F(LogFile, GoesOnBehindWhatItHoldsAndIsReadableMeanwhile) {
    const std::string name = scratch / "\xc3\xa9\xe4\xb8\xad.log";  // not of any one code page
    win_log_file_t(name).write("first\r\n");
    win_log_file_t file(name);
    file.write("second\r\n");
    EXPECT_EQ(read_all(name), "first\r\nsecond\r\n");
}

TEST_F(LogFile, AFullDiskNeverShowsAndLeavesWholeLinesWhichAreFlushedOnDemand) {
    enum { works, full, half, stuck } disk = works;  // stuck: half a line that cannot be taken back
    logging::file_functions_t files;
    files.write = [&, real = files.write](HANDLE file, const void* bytes, DWORD length, DWORD& written) {
        return disk == full ? false : real(file, bytes, disk == half || disk == stuck ? length / 2 : length, written);
    };
    files.cut = [&, real = files.cut](HANDLE file) { return disk != stuck && real(file); };
    int flushes = 0;
    files.flush = [&](HANDLE) { return ++flushes > 0; };
    logging::log_t log;
    const auto file = std::make_shared<win_log_file_t>(path, files);
    log.set_receiver(file);
    for (const auto& [state, text] :
         {std::pair{works, "one"},
          {full, "lost"},
          {works, "two"},
          {half, "a long text that is cut"},
          {stuck, "a text so long that half of it is longer than the line which comes after it, head and all"},
          {works, "3"}}) {
        file->set_flush(disk == stuck);
        disk = state;
        log.write(2, 0, nullptr, text);
    }
    EXPECT_THAT(texts_of(read_all(path)), ElementsAre("one", "two", "3"));
    EXPECT_EQ(flushes, 1) << "of the last line, the only whole one while it was on";
}

TEST_F(LogFile, ChildProcessesInheritNothingAndNobodyReadsAnUnfinishedArchive) {
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    win::unique_file control(
        ::CreateFileA((scratch / "control").c_str(), GENERIC_WRITE, 0, &inheritable, CREATE_NEW, 0, nullptr));
    std::optional<child_role> other;
    {
        logging::file_functions_t files;
        files.gz_finish = [&, real = files.gz_finish](gzFile archive) {  // log and archive are both open now
            other.emplace("stay");
            EXPECT_FALSE(std::ifstream(path + ".gz"));
            return real(archive);
        };
        win_log_file_t file(path, files);
        file.write("line\r\n");
        logging::rotate_when_full(file, files, {1, 10});
    }
    control.reset();
    EXPECT_FALSE(::DeleteFileA((scratch / "control").c_str())) << "the child holds what it may inherit";
    EXPECT_TRUE(::DeleteFileA(path.c_str()));
    EXPECT_TRUE(::DeleteFileA((path + ".gz").c_str()));
    other.reset();
}

std::vector<std::string> failure_of(const std::string& path, const logging::file_functions_t& files = {}) {
    return thrown([&] { logging::open_log_file(path, files); });
}

using OpenLogFile = scratch_test;

TEST_F(OpenLogFile, TakesTheNextNameWhileAnotherProcessHoldsTheFile) {
    const std::string deep = scratch / "deep\\er\\a.log";
    EXPECT_EQ(logging::open_log_file(deep)->path(), deep) << "missing folders are made";
    child_role holder("hold " + deep);
    holder.read_until("ready");
    EXPECT_THAT(thrown([&] { win_log_file_t second(deep); }), ElementsAre("File [" + deep + "] is locked."));
    EXPECT_EQ(logging::open_log_file(deep)->path(), scratch / "deep\\er\\a.1.log");
}

TEST_F(OpenLogFile, TellsWhyItFails) {
    DWORD errors[] = {ERROR_SHARING_VIOLATION, ERROR_LOCK_VIOLATION};
    std::vector<std::wstring> tried;
    logging::file_functions_t files;
    files.open = [&](const std::wstring& name) {
        ::SetLastError(errors[tried.size() % 2]);
        tried.push_back(name);
        return INVALID_HANDLE_VALUE;
    };
    EXPECT_THAT(failure_of(path, files), ElementsAre("Failed to initialize log [" + path + "].", "All log files are locked."));
    ASSERT_EQ(tried.size(), 1000u);
    EXPECT_TRUE(tried.back().ends_with(L"\\a.999.log"));
    errors[0] = errors[1] = ERROR_ACCESS_DENIED;
    for (const std::string& name : {path, std::string("\\a.log")}) {  // the second needs no folder
        EXPECT_THAT(failure_of(name, files), ElementsAre("Failed to initialize log [" + name + "].", "Access denied.",
                                                         "Failed to create or open file [" + name + "]."));
    }

    write_all(path, "in the way");
    EXPECT_THAT(failure_of(path + "\\a.log"),
                ElementsAre("Failed to initialize log [" + path + "\\a.log].", "File already exists.",
                            "Cannot create folder. Folder path: [" + path + "]."));
}

TEST(LogDirectory, ComesFromTheRegistryOrTheCommonApplicationData) {
    const std::string common = logging::common_log_directory();
    EXPECT_THAT(common, ::testing::EndsWith("\\Korva\\Backup\\"));
    EXPECT_EQ(logging::default_log_directory(), common);
    {
        const registry_setting_t setting(directory_key, {{L"LogDirectory", L"C:\\l\u00f6g"}});
        EXPECT_EQ(logging::default_log_directory(), "C:\\l\xc3\xb6g\\");
    }
    const registry_setting_t wrong_type(directory_key, {{L"LogDirectory", 5u}});
    EXPECT_EQ(logging::default_log_directory(), common);
}

TEST(LogDirectory, FallsBackBelowTheConfiguredOneOnly) {
    EXPECT_EQ(logging::tail_below("Q:\\logs\\sub\\a.log", "q:\\LOGS"), "sub\\a.log");
    EXPECT_EQ(logging::tail_below("Q:\\logs\\a.log", "Q:\\logs\\"), "a.log");
    for (const char* elsewhere : {"Q:\\logs2\\a.log", "Q:\\logs", "R:\\logs\\a.log"})
        EXPECT_EQ(logging::tail_below(elsewhere, "Q:\\logs"), std::nullopt) << elsewhere;

    const registry_setting_t setting(directory_key, {{L"LogDirectory", L"Q:\\logs"}});
    const std::string used = logging::common_log_directory() + "test\\a.log";
    EXPECT_EQ(logging::open_log_file("Q:\\logs\\test\\a.log")->path(), used);
    EXPECT_THAT(failure_of("Q:\\other\\a.log").at(2), HasSubstr("Folder path: [Q:\\other]"));
    std::filesystem::remove_all(logging::common_log_directory() + "test");
}

}  // namespace
