#include <gmock/gmock.h>

#include <cstring>
#include <memory>
#include <sstream>
#include <thread>

#include "foundation/convert.h"
#include "foundation/errors.h"
#include "logging/default_log.h"
#include "logging/gz_archive.h"
#include "logging/kbmngr_log_file.h"
#include "logging/log_directory.h"
#include "logging/rotation.h"
#include "logging/win_log_file.h"
#include "logging/write.h"
#include "tests/logging/child.h"
#include "tests/logging/registry_setting.h"
#include "tests/logging/scratch.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using win::win_log_file_t;

const wchar_t* const directory_key = L"SOFTWARE\\Korva\\Quorvane";
const char* const log_name = "Auxiliary.KorvaProxyClient.log";

int hold_log(const child::arguments_t& arguments) {
    const win_log_file_t file(arguments.at(0));
    child::report_ready();
    child::stay();
    return 0;
}
const child::role_t hold_role("hold", hold_log);

int just_stay(const child::arguments_t&) {
    child::report_ready();
    child::stay();
    return 0;
}
const child::role_t stay_role("stay", just_stay);

// What stands behind time stamp and thread.
std::vector<std::string> texts_of(const std::string& log) {
    std::istringstream lines(log);
    std::vector<std::string> texts;
    for (std::string line; std::getline(lines, line);)
        texts.push_back(line.substr(line.find('>') + 2));
    return texts;
}

TEST(LogFile, GoesOnBehindWhatItHoldsAndIsReadableMeanwhile) {
    const scratch_t scratch;
    const std::string path = scratch / "\xc3\xa9\xe4\xb8\xad.log";  // its name is not of any one code page
    {
        win_log_file_t file(path);
        file.write("first\r\n");
    }
    win_log_file_t file(path);
    file.set_flush(true);
    file.write("second\r\n");
    EXPECT_EQ(file.path(), path);
    EXPECT_EQ(file.eol(), "\r\n");
    EXPECT_EQ(file.size(), 15u);
    const win::unique_file reader(::CreateFileW(text::widen(path).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                                nullptr, OPEN_EXISTING, 0, nullptr));
    char bytes[32];
    DWORD got = 0;
    ASSERT_TRUE(::ReadFile(reader.get(), bytes, sizeof bytes, &got, nullptr));
    EXPECT_EQ(std::string(bytes, got), "first\r\nsecond\r\n");
}

TEST(LogFile, AFullDiskNeverShowsAndLeavesWholeLines) {
    const scratch_t scratch;
    const std::string path = scratch / "a.log";
    enum { works, full, half } disk = works;
    logging::file_functions_t files;
    files.write = [&, real = files.write](HANDLE file, const void* bytes, DWORD length, DWORD& written) {
        return disk == full ? false : real(file, bytes, disk == half ? length / 2 : length, written);
    };
    logging::log_t log;
    log.set_receiver(std::make_shared<win_log_file_t>(path, files));
    for (const auto& [state, text] : {std::pair{works, "one"},
                                      {full, "lost"},
                                      {works, "two"},
                                      {half, "a long text that is cut"},
                                      {half, "lost"},
                                      {works, "3"}}) {
        disk = state;
        log.write(2, 0, nullptr, text);
    }
    log.set_receiver(nullptr);
    EXPECT_THAT(texts_of(read_all(path)), ElementsAre("one\r", "two\r", "3\r"));
}

TEST(LogFile, ChildProcessesInheritNothing) {
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
    try {
        win_log_file_t second(path);
        FAIL();
    } catch (const exc::file_locked_exc_t& error) {
        EXPECT_STREQ(error.what(), ("File [" + path + "] is locked.").c_str());
    }
    EXPECT_EQ(logging::open_log_file(path)->path(), scratch / "deep\\er\\a.1.log");
}

std::vector<std::string> failure_of(const std::string& path, const logging::file_functions_t& files = {}) try {
    logging::open_log_file(path, files);
    return {};
} catch (const exc::runtime_exc_t& error) {
    return error.lines();
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
    EXPECT_THAT(failure_of(path, files), ElementsAre("Failed to initialize log [" + path + "].", "Access denied.",
                                                     "Failed to create or open file [" + path + "]."));

    write_all(scratch / "file", "in the way");
    EXPECT_THAT(failure_of(scratch / "file\\a.log"),
                ElementsAre("Failed to initialize log [" + (scratch / "file\\a.log") + "].", ::testing::_,
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
        const char *path, *directory, *moved;
    };
    const row_t rows[] = {
        {"Q:\\logs\\sub\\a.log", "q:\\LOGS", "C:\\d\\sub\\a.log"},
        {"Q:\\logs\\a.log", "Q:\\logs\\", "C:\\d\\a.log"},
        {"Q:\\logs2\\a.log", "Q:\\logs", nullptr},
        {"Q:\\logs", "Q:\\logs", nullptr},
        {"R:\\a.log", "Q:\\logs", nullptr},
    };
    for (const row_t& row : rows) {
        const std::optional<std::string> moved = logging::moved_below(row.path, row.directory, "C:\\d\\");
        EXPECT_EQ(moved, row.moved ? std::optional<std::string>(row.moved) : std::nullopt) << row.path;
    }

    const registry_setting_t setting(directory_key, L"LogDirectory", L"Q:\\logs");
    const std::string used = logging::common_log_directory() + "test\\a.log";
    EXPECT_EQ(logging::open_log_file("Q:\\logs\\test\\a.log")->path(), used);
    EXPECT_THAT(failure_of("Q:\\other\\a.log").at(2), HasSubstr("Folder path: [Q:\\other]"));
    std::filesystem::remove_all(logging::common_log_directory() + "test");
}

TEST(DefaultLog, OpensCompressesAFullLogAndBeginsWithTheHeader) {
    const scratch_t scratch;
    const registry_setting_t setting(directory_key, L"LogDirectory", text::widen(scratch.folder()));
    const std::string earlier = numbered_lines(15'728'640);
    write_all(scratch / log_name, earlier);
    logging::open_default_log();
    logging::info("line");
    logging::default_log()->set_receiver(nullptr);
    logging::default_log()->set_size_control(false);
    EXPECT_TRUE(read_archive(scratch / (std::string(log_name) + ".gz")) == earlier);
    const std::vector<std::string> texts = texts_of(read_all(scratch / log_name));
    ASSERT_EQ(texts.size(), 11u) << "this program has no version: an error of two lines";
    EXPECT_THAT(std::vector(texts.begin(), texts.begin() + 3),
                ElementsAre("     \r", "     " + std::string(77, '=') + "\r", "     {\r"));
    EXPECT_THAT(texts[3], ::testing::MatchesRegex("       Path to the executable module:\\w:.*\\.exe\r"));
    EXPECT_EQ(texts[9], "     }\r");
    EXPECT_EQ(texts[10], "     line\r");
}

TEST(DefaultLog, GoesOnInAFullLogThatCannotBeRotated) {
    const scratch_t scratch;
    const registry_setting_t setting(directory_key, L"LogDirectory", text::widen(scratch.folder()));
    const std::string earlier = std::string(15'728'640, 'x');
    write_all(scratch / log_name, earlier);
    const std::string archive = scratch / (std::string(log_name) + ".gz");
    write_archive(archive, "held");
    {
        const win::unique_file reader(
            ::CreateFileA(archive.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
        logging::open_default_log();
        logging::default_log()->set_receiver(nullptr);
        logging::default_log()->set_size_control(false);
    }
    const std::string log = read_all(scratch / log_name);
    ASSERT_TRUE(log.starts_with(earlier));
    EXPECT_THAT(log.substr(earlier.size()), HasSubstr("ERR |Failed to initialize log ["));
    EXPECT_EQ(read_archive(archive), "held");
}

TEST(SharedLogFile, IsOpenForTheLengthOfAWriteOnly) {
    const scratch_t scratch;
    const std::string path = scratch / "a.log";
    win::kbmngr_log_file_t file(path);
    EXPECT_FALSE(exists(path));
    file.write("one\r\n");
    const win::unique_file writer(
        ::CreateFileA(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr));
    file.write("two\r\n");
    EXPECT_EQ(read_all(path), "one\r\ntwo\r\n");
    EXPECT_EQ(file.path(), path);
    EXPECT_EQ(file.eol(), "\r\n");
    EXPECT_EQ(file.size(), 0u);
    win::kbmngr_log_file_t(scratch / "missing\\a.log").write("dropped\r\n");
    win::kbmngr_log_file_t("").write("dropped\r\n");
    EXPECT_FALSE(exists(scratch / "missing"));
    if (::GetACP() != CP_UTF8) {
        EXPECT_THROW(win::kbmngr_log_file_t(scratch / "\xe4\xb8\xad.log"), exc::win_sys_exc_t);
    }
}

constexpr int lines_per_writer = 20'000;

void write_numbered(logging::log_t& log, const std::string& writer) {
    for (int i = 0; i < lines_per_writer; ++i)
        log.write(2, 0, nullptr, writer + " " + std::to_string(i));
}

int write_lines(const child::arguments_t& arguments) {
    logging::log_t log;
    log.set_receiver(std::make_shared<win::kbmngr_sync_log_file_t>(arguments.at(0), arguments.at(1)));
    write_numbered(log, arguments.at(2));
    return 0;
}
const child::role_t write_role("write", write_lines);

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
    std::istringstream lines(read_all(path));
    for (std::string line; std::getline(lines, line);) {
        const std::size_t at = line.find('>') + 2;
        const std::string writer = line.substr(at, 2);
        ASSERT_EQ(line.substr(at), writer + " " + std::to_string(next[writer]++) + "\r");
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

    win::unique_handle held(::CreateMutexA(nullptr, TRUE, name.c_str()));
    in_thread([&] { file.write("dropped\r\n"); });
    EXPECT_FALSE(exists(path));
    try {
        std::string text;
        in_thread([&] {
            try {
                win::CMutexHolder().acquire(name, 0);
            } catch (const exc::win_sys_exc_t& error) {
                text = error.lines().at(1);
            }
        });
        EXPECT_EQ(text, "WaitForSingleObject has failed. Result: '258'.");
    } catch (const std::exception&) {
        FAIL();
    }
    ::ReleaseMutex(held.get());

    in_thread([&] { ::WaitForSingleObject(held.get(), 0); });  // a thread that ends as the owner
    file.write("dropped\r\n");
    EXPECT_FALSE(exists(path)) << "what an ended owner left half written is not known";
    file.write("kept\r\n");
    in_thread([&] { file.write("kept too\r\n"); });
    EXPECT_EQ(read_all(path), "kept\r\nkept too\r\n");
    EXPECT_EQ(file.size(), 0u);
}

TEST(SynchronizedLogFile, AMutexNameInUseByAnotherKindOfObjectIsToldToTheHolderOnly) {
    const win::unique_handle event(::CreateEventA(nullptr, TRUE, FALSE, "korva-test-event"));
    try {
        win::CMutexHolder().acquire("korva-test-event", 0);
        FAIL();
    } catch (const exc::win_sys_exc_t& error) {
        EXPECT_EQ(error.code(), DWORD{ERROR_INVALID_HANDLE});
        EXPECT_EQ(error.lines().at(1), "Failed to create mutex [korva-test-event]");
    }
    const scratch_t scratch;
    win::kbmngr_sync_log_file_t(scratch / "a.log", "korva-test-event").write("dropped\r\n");
    EXPECT_FALSE(exists(scratch / "a.log"));
}

}  // namespace
