#include "logging/rotation.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <utility>

#include "foundation/format.h"
#include "logging/log.h"
#include "logging/log_names.h"
#include "logging/win_log_file.h"
#include "tests/expected_texts.h"
#include "tests/foundation/thrown.h"
#include "tests/logging/child_role.h"
#include "tests/logging/played_files.h"
#include "tests/logging/scratch.h"

namespace {

using logging::make_aged_name;
using logging::make_indexed_log_name;
using ::testing::ElementsAre;
using win::win_log_file_t;

const char faults[] =
#include "tests/logging/rotation_faults.txt"
    ;

TEST(LogNames, OfLockedLogsAndOfAgedArchives) {
    EXPECT_EQ(make_indexed_log_name("a.log", 0), "a.log");
    EXPECT_EQ(make_indexed_log_name("a.LOG", 2), "a.2.LOG");
    EXPECT_EQ(make_indexed_log_name("a.txt", 2), "a.txt.2.log");
    EXPECT_EQ(make_indexed_log_name("a", 2), "a.2.log");
    EXPECT_EQ(make_indexed_log_name("a.", 2), "a.2");
    EXPECT_EQ(make_indexed_log_name("C:\\d.x\\a.b.log", 999), "C:\\d.x\\a.b.999.log");
    EXPECT_EQ(make_aged_name("Svc.log.gz", "gz", 0), "Svc.log.gz");
    EXPECT_EQ(make_aged_name("Svc.log.GZ", "gz", 10), "Svc.log.10.GZ");
    EXPECT_EQ(make_aged_name("Svc.log", "gz", 3), "Svc.log.3");
    EXPECT_EQ(make_aged_name("Svc", "gz", 3), "Svc.3");
    EXPECT_EQ(make_aged_name("Svc.", "gz", 3), "Svc.3");
}

std::string archive_name(const std::string& log, int index) {
    return log + (index == 0 ? "" : "." + std::to_string(index)) + ".gz";
}

std::string archive_text(int index) { return "archive " + std::to_string(index) + "\r\n"; }

// Archives 0 (newest) to 10, each holding its own line.
void make_archives(const std::string& log) {
    for (int index = 0; index <= 10; ++index)
        write_archive(archive_name(log, index), archive_text(index));
}

std::vector<std::string> read_archives(const std::string& log) {
    std::vector<std::string> texts;
    for (int index = 0; index <= 10; ++index)
        texts.push_back(read_archive(archive_name(log, index)));
    return texts;
}

using Rotation = scratch_test;

TEST_F(Rotation, AtTheLimitMovesTheLogByteForByteIntoANewArchive) {
    make_archives(path);
    ::DeleteFileA(archive_name(path, 5).c_str());
    const std::string lines = numbered_lines(15'728'639);
    write_all(path, lines);

    logging::file_functions_t files;
    std::string mode;
    DWORD largest_block = 0;
    files.gz_open = [&, real = files.gz_open](auto& archive, const char* wanted) {
        return real(archive, (mode = wanted).c_str());
    };
    files.read = [&, real = files.read](HANDLE log, void* to, DWORD length, DWORD& got) {
        largest_block = std::max(largest_block, length);
        return real(log, to, length, got);
    };
    win_log_file_t file(path, files);
    logging::rotate_when_full(file, files);
    EXPECT_EQ(file.size(), 15'728'639u) << "one byte below the limit";
    EXPECT_EQ(read_archive(archive_name(path, 0)), archive_text(0));

    file.write("\n");
    logging::rotate_when_full(file, files);
    EXPECT_EQ(file.size(), 0u);
    EXPECT_EQ(mode, "wb9");
    EXPECT_EQ(largest_block, 1'048'576u);
    file.write("next\r\n");
    EXPECT_EQ(read_all(path), "next\r\n");
    std::vector<std::string> archives = read_archives(path);
    EXPECT_TRUE(std::exchange(archives.front(), {}) == lines + "\n");
    EXPECT_THAT(archives, ElementsAre("", archive_text(0), archive_text(1), archive_text(2), archive_text(3), archive_text(4),
                                      "", archive_text(6), archive_text(7), archive_text(8), archive_text(9)));
    EXPECT_FALSE(exists(archive_name(path, 11)));
}

TEST_F(Rotation, IsTriedOncePerThousandMessagesAndLosesNone) {
    int looks = 0;
    logging::log_t log([&](logging::receiver::log_file_t& receiver) {
        if (++looks == 1)
            throw std::runtime_error("swallowed");
        logging::rotate_when_full(receiver, {}, {30'000, 10});
    });
    log.set_receiver(std::make_shared<win_log_file_t>(path));
    int written = 0;
    const auto write = [&](int count) {
        for (int i = 0; i < count; ++i)
            log.write(2, 0, nullptr, std::to_string(written++));
        return looks;
    };
    EXPECT_EQ(write(1000), 0) << "size control is off";
    log.set_size_control(true);
    EXPECT_EQ(write(999), 0);
    EXPECT_EQ(write(1), 1);
    EXPECT_EQ(write(999), 1);
    EXPECT_EQ(write(1), 2);
    EXPECT_EQ(write(1500), 3);
    const std::string all = read_archive(archive_name(path, 1)) + read_archive(archive_name(path, 0)) + read_all(path);
    int number = 0;
    for (const std::string& text : texts_of(all))
        ASSERT_EQ(text, std::to_string(number++));
    EXPECT_EQ(number, written);
    EXPECT_TRUE(exists(archive_name(path, 1))) << "rotated twice";
}

TEST(RotationFault, LosesNothingAndTheLogGoesOn) {
    for (const std::string& row : section(faults, "faults")) {
        SCOPED_TRACE(row);
        const auto [calls, lines_are, cause] = columns<3>(row);
        const scratch_t scratch;
        const std::string path = scratch / "a.log";
        make_archives(path);
        const std::string lines = numbered_lines(100'000);
        write_all(path, lines);

        std::vector<std::string> failing;
        played_files_t files([&](const std::string& name, int nth) {
            return std::ranges::count(failing, name) + std::ranges::count(failing, text::format("%1 %2", name, nth)) > 0;
        });
        if (calls == "short read") {
            files.functions.read = [&, real = files.functions.read](HANDLE from, void* to, DWORD length, DWORD& got) {
                return real(from, to, failing.empty() ? length : 0, got);
            };
        }
        win_log_file_t file(path, files.functions);
        failing = cut(calls, ", ");
        constexpr int attempts = 3;
        std::string written;
        for (int attempt = 0; attempt < attempts; ++attempt) {
            files.begin();
            const auto told = thrown([&] { logging::rotate_when_full(file, files.functions, {50'000, 10}); });
            const std::string failure = "Unable to validate log size limit. Log path: [%1]. / " + cause;
            const bool is_done = lines_are == "moved" && attempt > 0;
            EXPECT_EQ(told, cut(is_done ? "nothing" : text::format(failure, path), " / "));
            file.write("written meanwhile\r\n");
            if (lines_are != "lost")
                written += "written meanwhile\r\n";
        }
        failing.clear();
        file.write("written after it\r\n");
        written += "written after it\r\n";
        if (lines_are == "moved") {
            EXPECT_EQ(read_all(path), written);
            EXPECT_TRUE(read_archive(archive_name(path, 0)) == lines);
            continue;
        }
        EXPECT_TRUE(read_all(path) == lines + written);
        // However often it was tried, only the archive that had to go is gone; but a torso takes a place.
        const std::vector<std::string> archives = read_archives(path);
        const int torsos = lines_are == "torso" ? attempts : 0;
        for (int index = 0; index < 10 - torsos; ++index)
            EXPECT_EQ(archives[index + torsos], archive_text(index));
        logging::rotate_when_full(file, {}, {50'000, 10});
        EXPECT_TRUE(read_archive(archive_name(path, 0)) == lines + written);
    }
}

TEST(RotationKilled, AtAnyStepLeavesEveryLineReadable) {
    const std::string written = numbered_lines(300'000);
    int step = 0;
    for (DWORD code = 77; code == 77;) {
        SCOPED_TRACE("killed before step " + std::to_string(++step));
        const scratch_t scratch;
        const std::string path = scratch / "Svc.log";
        make_archives(path);
        write_all(path, written);
        code = child_role("rotate " + path + " " + std::to_string(step)).exit_code();
        ASSERT_TRUE(code == 77 || code == 0);
        EXPECT_TRUE(read_all(path) == written || read_archive(archive_name(path, 0)) == written)
            << "in the log or in one archive";
        const std::vector<std::string> archives = read_archives(path);
        for (int index = 0; index < 10; ++index)
            EXPECT_NE(std::ranges::find(archives, archive_text(index)), archives.end()) << index;

        // The next run goes on from there.
        win_log_file_t file(path);
        file.write("next run\r\n");
        logging::rotate_when_full(file, {}, {200'000, 10});
        std::string all;
        for (const std::string& text : read_archives(path))
            all += text;
        all += read_all(path);
        EXPECT_NE(all.find(written), all.npos);
        EXPECT_NE(all.find("next run\r\n"), all.npos);
    }
    EXPECT_GE(step, 15) << "steps that were not counted";
}

}  // namespace
