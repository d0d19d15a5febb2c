#pragma once

#include <windows.h>

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <vector>

#include "tests/files.h"

// A test with a folder of its own.
struct scratch_test : ::testing::Test {
    const scratch_t scratch;
    const std::string path = scratch / "a.log";
};

inline bool exists(const std::string& path) { return std::filesystem::exists(text::widen(path)); }

// What can be read of an archive; nothing where there is none.
inline std::string read_archive(const std::string& path) {
    const gzFile archive = ::gzopen_w(text::widen(path).c_str(), "rb");
    std::string text;
    std::string block(65536, '\0');
    for (int got; archive && (got = ::gzread(archive, block.data(), static_cast<unsigned>(block.size()))) > 0;)
        text.append(block.data(), static_cast<std::size_t>(got));
    ::gzclose(archive);
    return text;
}

inline void write_archive(const std::string& path, std::string_view text) {
    const gzFile archive = ::gzopen_w(text::widen(path).c_str(), "wb1");
    ::gzwrite(archive, text.data(), static_cast<unsigned>(text.size()));
    ::gzclose(archive);
}

// The lines of a log without time stamp and thread.
inline std::vector<std::string> texts_of(const std::string& log) {
    std::vector<std::string> texts;
    std::istringstream lines(log);
    for (std::string line; std::getline(lines, line);) {
        EXPECT_TRUE(line.ends_with('\r')) << "a line without its end: " << line;
        line.pop_back();
        texts.push_back(line.substr(std::min(line.find('>') + 2, line.size())));
    }
    return texts;
}
