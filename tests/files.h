#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>

#include "foundation/convert.h"

// A folder of the test's own; at the end nothing may still hold a file in it.
class scratch_t {
public:
    scratch_t() {
        std::filesystem::remove_all(path_);
        std::filesystem::create_directories(path_);
    }
    ~scratch_t() {
        std::error_code error;
        std::filesystem::remove_all(path_, error);
        EXPECT_FALSE(error) << "a file is still open: " << error.message();
    }
    scratch_t(const scratch_t&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::string folder() const { return text::narrow(path_.wstring()); }
    std::string operator/(const std::string& name) const { return folder() + "\\" + name; }

private:
    std::filesystem::path path_ = std::filesystem::temp_directory_path() / "korva_tests";
};

// What takes a path takes UTF-8 as well.
inline std::filesystem::path file_path(const std::string& utf8) { return text::widen(utf8); }
inline std::filesystem::path file_path(const std::filesystem::path& path) { return path; }

template <class Path>
std::string read_all(const Path& path) {
    const std::ifstream file(file_path(path), std::ios::binary);
    return (std::ostringstream() << file.rdbuf()).str();
}

template <class Path>
void write_all(const Path& path, std::string_view bytes) {
    std::ofstream(file_path(path), std::ios::binary) << bytes;
}

// Lines that all differ; the last one may lack its end.
inline std::string numbered_lines(std::size_t bytes) {
    std::string text;
    text.reserve(bytes + 64);
    for (int number = 1; text.size() < bytes; ++number)
        text += "a line that tells its number: " + std::to_string(number) + "\r\n";
    text.resize(bytes);
    return text;
}
