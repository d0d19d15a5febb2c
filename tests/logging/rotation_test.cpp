#include "logging/rotation.h"

#include <gmock/gmock.h>

#include <memory>
#include <stdexcept>

#include "foundation/convert.h"
#include "logging/log.h"
#include "logging/log_names.h"
#include "logging/win_log_file.h"
#include "tests/foundation/thrown.h"
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
    ::DeleteFileA(archive_name(path, 5).c_str());
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
    EXPECT_TRUE(read_archive(archive_name(path, 0)) == lines + "\n") << "newest archive";
    EXPECT_THAT(archive_texts(path, 1),
                ElementsAre("archive 0\r\n", "archive 1\r\n", "archive 2\r\n", "archive 3\r\n", "archive 4\r\n", "",
                            "archive 6\r\n", "archive 7\r\n", "archive 8\r\n", "archive 9\r\n"));
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
    logging::log_t log([](logging::receiver::log_file_t& receiver) { logging::rotate_when_full(receiver, {}, {30'000, 10}); });
    log.set_size_control(true);
    log.set_receiver(std::make_shared<win_log_file_t>(path));
    for (int i = 0; i < 2500; ++i)
        log.write(2, 0, nullptr, std::to_string(i));
    const std::string all = read_archive(archive_name(path, 1)) + read_archive(archive_name(path, 0)) + read_all(path);
    int number = 0;
    for (const std::string& text : texts_of(all))
        ASSERT_EQ(text, std::to_string(number++));
    EXPECT_EQ(number, 2500);
    EXPECT_TRUE(exists(archive_name(path, 1))) << "rotated twice";
}

enum effect_t {
    everything_kept,
    writes_dropped,  // while the fault lasts
    lines_moved,     // they are in the archive all the same
    torso_stays,     // as the newest archive
};

// One thing that does not work during a rotation.
struct fault_t {
    const char* name;
    void (*play)(logging::file_functions_t& files);
    effect_t effect = everything_kept;
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
    {"seek fails", [](auto& files) { files.seek = [](HANDLE, std::uint64_t) { return denied(); }; }, writes_dropped},
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
     lines_moved},
    {"disk full and unfinished archive cannot be deleted",
     [](auto& files) {
         files.gz_write = [](gzFile, const void*, unsigned) { return 0; };
         files.remove = [real = files.remove](const std::wstring& path) {
             return path.ends_with(L".log.gz") ? denied() : real(path);
         };
     },
     torso_stays},
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
        constexpr int attempts = 3;
        std::string written;
        for (int attempt = 0; attempt < attempts; ++attempt) {
            const bool again = fault.effect == lines_moved && attempt > 0;  // then there is nothing to do
            EXPECT_EQ(thrown([&] {
                          logging::rotate_when_full(file, now, {50'000, 10});
                      }).front(),
                      again ? "nothing" : "Unable to validate log size limit. Log path: [" + path + "].");
            file.write("written meanwhile\r\n");
            if (fault.effect != writes_dropped)
                written += "written meanwhile\r\n";
        }
        now = {};
        file.write("written after it\r\n");
        written += "written after it\r\n";

        const std::vector<std::string> older = archive_texts(path, 0);
        if (fault.effect == lines_moved) {
            EXPECT_EQ(read_all(path), written);
            EXPECT_TRUE(older.front() == lines);
            continue;
        }
        EXPECT_TRUE(read_all(path) == lines + written);
        // However often it was tried, only the archive that had to go is gone; but a torso takes a place.
        const int torsos = fault.effect == torso_stays ? attempts : 0;
        for (int index = 0; index < 10 - torsos; ++index)
            EXPECT_EQ(older[index + torsos], "archive " + std::to_string(index) + "\r\n");

        logging::rotate_when_full(file, now, {50'000, 10});
        EXPECT_TRUE(read_archive(archive_name(path, 0)) == lines + written);
    }
}

TEST(Rotation, AnArchiveThatZlibDoesNotTakeLeavesNoFile) {
    const scratch_t scratch;
    const std::string path = scratch / "a.gz";
    EXPECT_EQ(logging::file_functions_t().gz_open(text::widen(path), "no mode"), nullptr);
    EXPECT_FALSE(exists(path));
}

// Ends the process in front of the step of that number.
const child::role_t rotate_role("rotate", [](const child::arguments_t& arguments) {
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
});

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
    EXPECT_GT(step, 15) << "steps that were not counted";
}

}  // namespace
