#include "logging/rotation.h"

#include <gmock/gmock.h>

#include <memory>
#include <set>
#include <sstream>

#include "foundation/convert.h"
#include "foundation/errors.h"
#include "logging/ageing.h"
#include "logging/gz_archive.h"
#include "logging/log.h"
#include "logging/log_names.h"
#include "logging/win_log_file.h"
#include "tests/logging/child.h"
#include "tests/logging/scratch.h"

namespace {

using ::testing::ElementsAre;
using win::win_log_file_t;

TEST(LogNames, OfLockedLogsAndOfAgedArchives) {
    struct row_t {
        std::string made, expected;
    };
    const row_t rows[] = {
        {logging::make_indexed_log_name("a.log", 0), "a.log"},
        {logging::make_indexed_log_name("a.log", 2), "a.2.log"},
        {logging::make_indexed_log_name("a.LOG", 2), "a.2.LOG"},
        {logging::make_indexed_log_name("a.txt", 2), "a.txt.2.log"},
        {logging::make_indexed_log_name("a", 2), "a.2.log"},
        {logging::make_indexed_log_name("a.", 2), "a.2"},
        {logging::make_indexed_log_name("C:\\d.x\\a.b.log", 999), "C:\\d.x\\a.b.999.log"},
        {logging::make_aged_name("Svc.log.gz", "gz", 0), "Svc.log.gz"},
        {logging::make_aged_name("Svc.log.gz", "gz", 3), "Svc.log.3.gz"},
        {logging::make_aged_name("Svc.log.GZ", "gz", 10), "Svc.log.10.GZ"},
        {logging::make_aged_name("Svc.log", "gz", 3), "Svc.log.3"},
        {logging::make_aged_name("Svc", "gz", 3), "Svc.3"},
        {logging::make_aged_name("Svc.", "gz", 3), "Svc.3"},
    };
    for (const row_t& row : rows)
        EXPECT_EQ(row.made, row.expected);
}

TEST(Ageing, PlanMovesFromTheOldestAndDeletesTheLast) {
    const auto plan = [](const std::set<std::string>& present) {
        std::vector<std::string> steps;
        for (const auto& step :
             logging::plan_ageing("a.gz", "gz", 10, [&](const std::string& name) { return present.contains(name); }))
            steps.push_back(step.from + ">" + step.to);
        return steps;
    };
    EXPECT_THAT(plan({}), ElementsAre());
    EXPECT_THAT(plan({"a.gz"}), ElementsAre("a.gz>a.1.gz"));
    EXPECT_THAT(plan({"a.gz", "a.3.gz", "a.9.gz", "a.10.gz", "a.11.gz"}),
                ElementsAre("a.10.gz>", "a.9.gz>a.10.gz", "a.3.gz>a.4.gz", "a.gz>a.1.gz"));
}

std::string archive_name(const std::string& log, int index) {
    return log + (index == 0 ? "" : "." + std::to_string(index)) + ".gz";
}

// Archives 0 (newest) to 10, each holding its own line.
void make_archives(const std::string& log) {
    for (int index = 0; index <= 10; ++index)
        write_archive(archive_name(log, index), "archive " + std::to_string(index) + "\r\n");
}

std::vector<std::string> archive_texts(const std::string& log, int first) {
    std::vector<std::string> texts;
    for (int index = first; index <= 10; ++index)
        texts.push_back(read_archive(archive_name(log, index)));
    return texts;
}

TEST(Rotation, AtTheLimitMovesTheLogByteForByteIntoANewArchive) {
    const scratch_t scratch;
    const std::string path = scratch / "Svc.log";
    make_archives(path);
    std::string lines = numbered_lines(15'728'640);
    lines.resize(15'728'639);
    write_all(path, lines);

    win_log_file_t file(path);
    logging::rotate_when_full(file);
    EXPECT_EQ(file.size(), 15'728'639u) << "one byte below the limit";
    EXPECT_EQ(read_archive(archive_name(path, 0)), "archive 0\r\n");

    file.write("\n");
    logging::rotate_when_full(file);
    EXPECT_EQ(file.size(), 0u);
    file.write("next\r\n");
    EXPECT_EQ(read_all(path), "next\r\n");
    bool whole = false;
    EXPECT_TRUE(read_archive(archive_name(path, 0), &whole) == lines + "\n") << "newest archive";
    EXPECT_TRUE(whole);
    EXPECT_THAT(archive_texts(path, 1),
                ElementsAre("archive 0\r\n", "archive 1\r\n", "archive 2\r\n", "archive 3\r\n", "archive 4\r\n",
                            "archive 5\r\n", "archive 6\r\n", "archive 7\r\n", "archive 8\r\n", "archive 9\r\n"));
    EXPECT_FALSE(exists(archive_name(path, 11)));
}

TEST(Rotation, LooksAtTheSizeOncePerThousandMessages) {
    const scratch_t scratch;
    int looks = 0;
    logging::log_t log([&](logging::receiver::log_file_t&) {
        ++looks;
        throw std::runtime_error("swallowed");
    });
    log.set_receiver(std::make_shared<win_log_file_t>(scratch / "a.log"));
    const auto write = [&](int count) {
        for (int i = 0; i < count; ++i)
            log.write(2, 0, nullptr, "a\nb");
        return looks;
    };
    EXPECT_EQ(write(1000), 0) << "size control is off";
    log.set_size_control(true);
    EXPECT_EQ(write(999), 0);
    EXPECT_EQ(write(1), 1);
    EXPECT_EQ(write(999), 1);
    EXPECT_EQ(write(1), 2);
}

TEST(Rotation, TheLogRotatesItselfAndLosesNothing) {
    const scratch_t scratch;
    const std::string path = scratch / "a.log";
    logging::log_t log([](logging::receiver::log_file_t& receiver) { logging::rotate_when_full(receiver, {}, {50'000, 10}); });
    log.set_size_control(true);
    log.set_receiver(std::make_shared<win_log_file_t>(path));
    for (int i = 0; i < 2500; ++i)
        log.write(2, 0, nullptr, std::to_string(i));
    log.set_receiver(nullptr);
    const std::string all = read_archive(archive_name(path, 1)) + read_archive(archive_name(path, 0)) + read_all(path);
    std::istringstream lines(all);
    std::string line;
    int number = 0;
    for (; std::getline(lines, line); ++number)
        ASSERT_EQ(line.substr(line.find('>') + 2), std::to_string(number) + "\r");
    EXPECT_EQ(number, 2500);
}

// One thing that does not work during a rotation.
struct fault_t {
    const char* name;
    void (*play)(logging::file_functions_t& files);
    bool moved = false;  // the lines are in the archive all the same
};

bool denied() {
    ::SetLastError(ERROR_ACCESS_DENIED);
    return false;
}

const fault_t faults[] = {
    {"size unknown", [](auto& files) { files.size = [](HANDLE, std::uint64_t&) { return denied(); }; }},
    {"oldest archive stays", [](auto& files) { files.remove = [](const std::wstring&) { return denied(); }; }},
    {"newest archive cannot be renamed",
     [](auto& files) {
         files.rename = [real = files.rename](const std::wstring& from, const std::wstring& to) {
             return from.ends_with(L".log.gz") ? denied() : real(from, to);
         };
     }},
    {"directory cannot be written",
     [](auto& files) {
         files.gz_open = [](const std::wstring&, const char*) -> gzFile {
             errno = EACCES;
             return nullptr;
         };
     }},
    {"seek fails", [](auto& files) { files.seek = [](HANDLE, std::uint64_t) { return denied(); }; }},
    {"read fails", [](auto& files) { files.read = [](HANDLE, void*, DWORD, DWORD&) { return denied(); }; }},
    {"read ends too early",
     [](auto& files) {
         files.read = [real = files.read, calls = 0](HANDLE file, void* to, DWORD, DWORD& got) mutable {
             return real(file, to, ++calls == 1 ? 1000 : 0, got);
         };
     }},
    {"disk full", [](auto& files) { files.gz_write = [](gzFile, const void*, unsigned) { return 0; }; }},
    {"disk full at the archive's end", [](auto& files) { files.gz_finish = [](gzFile) { return Z_ERRNO; }; }},
    {"log cannot be emptied", [](auto& files) { files.cut = [](HANDLE) { return denied(); }; }},
    {"archive cannot be closed",
     [](auto& files) {
         files.gz_close = [real = files.gz_close](gzFile archive) {
             real(archive);
             return Z_ERRNO;
         };
     },
     true},
};

TEST(Rotation, AFaultLosesNothingAndTheLogGoesOn) {
    for (const fault_t& fault : faults) {
        SCOPED_TRACE(fault.name);
        const scratch_t scratch;
        const std::string path = scratch / "Svc.log";
        make_archives(path);
        const std::string lines = numbered_lines(100'000);
        write_all(path, lines);

        // Each function goes through the table in use now, so that a fault can come and go.
        logging::file_functions_t now;
        logging::file_functions_t files = now;
        files.size = [&](HANDLE file, std::uint64_t& bytes) { return now.size(file, bytes); };
        files.seek = [&](HANDLE file, std::uint64_t to) { return now.seek(file, to); };
        files.read = [&](HANDLE file, void* to, DWORD length, DWORD& got) { return now.read(file, to, length, got); };
        files.cut = [&](HANDLE file) { return now.cut(file); };
        win_log_file_t file(path, files);

        fault.play(now);
        for (int attempt = 0; attempt < 3; ++attempt) {
            try {
                logging::rotate_when_full(file, now, {50'000, 10});
                EXPECT_TRUE(fault.moved && attempt > 0) << "a failure must be told";
            } catch (const exc::runtime_exc_t& error) {
                EXPECT_EQ(error.lines().front(), "Unable to validate log size limit. Log path: [" + path + "].");
            }
        }
        now = {};
        file.write("written after it\r\n");

        std::vector<std::string> older = archive_texts(path, 0);
        if (fault.moved) {
            EXPECT_EQ(read_all(path), "written after it\r\n");
            EXPECT_TRUE(older.front() == lines);
            continue;
        }
        EXPECT_TRUE(read_all(path) == lines + "written after it\r\n");
        // However often it was tried, only the archive that had to go is gone.
        for (int index = 0; index < 10; ++index)
            EXPECT_EQ(older[index], "archive " + std::to_string(index) + "\r\n");

        logging::rotate_when_full(file, now, {50'000, 10});
        EXPECT_TRUE(read_archive(archive_name(path, 0)) == lines + "written after it\r\n");
    }
}

TEST(Rotation, AnArchiveThatSomebodyReadsStaysAndSoDoesTheLog) {
    const scratch_t scratch;
    const std::string path = scratch / "Svc.log";
    make_archives(path);
    const win::unique_file reader(
        ::CreateFileA(archive_name(path, 3).c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    write_all(path, "lines\r\n");
    win_log_file_t file(path);
    try {
        logging::rotate_when_full(file, {}, {1, 10});
        FAIL();
    } catch (const exc::runtime_exc_t& error) {
        EXPECT_THAT(error.lines(),
                    ElementsAre("Unable to validate log size limit. Log path: [" + path + "].",
                                "Cannot age file. File path: [" + path + ".gz]. Extension: [gz]. Ages limit: [10].",
                                "Sharing violation.",
                                "Failed to rename file [" + archive_name(path, 3) + "] to [" + archive_name(path, 4) + "]."));
    }
    EXPECT_EQ(read_all(path), "lines\r\n");
    EXPECT_EQ(read_archive(archive_name(path, 4)), "archive 4\r\n");
}

// Ends the process in front of the step of that number.
int rotate_and_die(const child::arguments_t& arguments) {
    logging::file_functions_t files;
    const int last = std::stoi(arguments.at(1));
    int steps = 0;
    const auto count = [&] {
        if (++steps == last)
            ::TerminateProcess(::GetCurrentProcess(), 77);
    };
    const auto counted = [&](auto& function) {
        function = [real = function, count](auto&&... args) {
            count();
            return real(args...);
        };
    };
    counted(files.remove);
    counted(files.rename);
    counted(files.seek);
    counted(files.cut);
    counted(files.gz_open);
    counted(files.gz_write);
    counted(files.gz_finish);
    counted(files.gz_close);
    win_log_file_t file(arguments.at(0), files);
    logging::rotate_when_full(file, files, {200'000, 10});
    return 0;
}
const child::role_t rotate_role("rotate", rotate_and_die);

TEST(Rotation, KilledAtAnyStepLeavesEveryLineReadable) {
    const std::string written = numbered_lines(300'000);
    int step = 1;
    for (DWORD code = 77; code == 77; ++step) {
        SCOPED_TRACE("killed before step " + std::to_string(step));
        const scratch_t scratch;
        const std::string path = scratch / "Svc.log";
        make_archives(path);
        write_all(path, written);
        code = child::process_t("rotate", {path, std::to_string(step)}).wait();
        ASSERT_TRUE(code == 77 || code == 0);

        const auto all_archives = [&] {
            std::string texts;
            for (int index = 0; index <= 11; ++index)
                texts += read_archive(archive_name(path, index));
            return texts;
        };
        std::string archives = all_archives();
        EXPECT_TRUE(read_all(path) == written || read_archive(archive_name(path, 0)) == written)
            << "in the log or in one archive";
        for (int index = 0; index < 10; ++index)
            EXPECT_TRUE(archives.find("archive " + std::to_string(index) + "\r\n") != std::string::npos) << index;

        // The next run goes on from there.
        win_log_file_t file(path);
        file.write("next run\r\n");
        logging::rotate_when_full(file, {}, {200'000, 10});
        archives = all_archives() + read_all(path);
        EXPECT_TRUE(archives.find(written) != std::string::npos);
        EXPECT_TRUE(archives.find("next run\r\n") != std::string::npos);
    }
    // 1 deletion, 10 renames, opening, seek, 1 block, finish, seek, cut, close; the last round ran through.
    EXPECT_EQ(step - 1, 1 + 10 + 1 + 1 + 1 + 1 + 1 + 1 + 1 + 1);
}

}  // namespace
