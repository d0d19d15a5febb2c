#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <sstream>
#include <string>
#include <vector>

#include "foundation/format.h"

// Expected texts and tables that stand in a text file beside their tests, which include it as one raw string:
//
//   # a comment
//   == the name of a section
//   a line of it
//   a row of a table | its second column

// The lines of a section, with the arguments for "%1" and so on.
template <class... Args>
std::vector<std::string> section(const char* file, const std::string& name, const Args&... args) {
    std::vector<std::string> lines;
    std::istringstream in(file);
    bool inside = false;
    for (std::string line; std::getline(in, line);) {
        if (line.starts_with("== "))
            inside = line.substr(3) == name;
        else if (inside && !line.empty() && !line.starts_with('#'))
            lines.push_back(text::format(line, args...));
    }
    EXPECT_FALSE(lines.empty()) << "no section '" << name << "'";
    return lines;
}

inline std::vector<std::string> cut(const std::string& text, const std::string& separator) {
    std::vector<std::string> parts;
    std::size_t start = 0;
    for (std::size_t end; (end = text.find(separator, start)) != text.npos; start = end + separator.size())
        parts.push_back(text.substr(start, end - start));
    parts.push_back(text.substr(start));
    return parts;
}

// The columns of a row.
template <std::size_t Count>
std::array<std::string, Count> columns(const std::string& row) {
    std::array<std::string, Count> texts;
    std::ranges::copy(cut(row, " | "), texts.begin());
    return texts;
}
