#pragma once

#include <string_view>

// Names of files and hosts are compared as the platform compares them: case ignored, letter by letter, in no language.
namespace win {

bool same_name(std::wstring_view left, std::wstring_view right) noexcept;
bool same_name(std::string_view left, std::string_view right);

struct name_less_t {
    bool operator()(std::wstring_view left, std::wstring_view right) const noexcept;
};

}  // namespace win
