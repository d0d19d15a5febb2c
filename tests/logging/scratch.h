#pragma once

#include <windows.h>

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/convert.h"

// A folder of the test's own; at the end nothing may still hold a file in it.
class scratch_t {
public:
    scratch_t() {
        std::filesystem::remove_all(folder_);
        std::filesystem::create_directories(folder_);
    }
    ~scratch_t() {
        std::error_code error;
        std::filesystem::remove_all(folder_, error);
        EXPECT_FALSE(error) << "a file is still open: " << error.message();
    }
    scratch_t(const scratch_t&) = delete;

    std::string folder() const { return text::narrow(folder_.wstring()); }
    std::string operator/(const std::string& name) const { return folder() + "\\" + name; }

private:
    std::filesystem::path folder_ = std::filesystem::temp_directory_path() / "korva_logging_tests";
};

// A test with such a folder.
struct scratch_test : ::testing::Test {
    const scratch_t scratch;
    const std::string path = scratch / "a.log";
};

inline bool exists(const std::string& path) { return std::filesystem::exists(text::widen(path)); }

inline std::string read_all(const std::string& path) {
    const std::ifstream file(std::filesystem::path(text::widen(path)), std::ios::binary);
    return (std::ostringstream() << file.rdbuf()).str();
}

inline void write_all(const std::string& path, std::string_view bytes) {
    std::ofstream(std::filesystem::path(text::widen(path)), std::ios::binary) << bytes;
}

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

// Lines that all differ, at least `bytes` long.
inline std::string numbered_lines(std::size_t bytes) {
    std::string text;
    text.reserve(bytes + 64);
    for (std::uint32_t number = 1; text.size() < bytes; ++number)
        text += "a line that tells its number: " + std::to_string(number) + "\r\n";
    return text;
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
