#pragma once

#include <string>
#include <string_view>
#include <vector>

// Texts that one run of the console keeps for the next, as UTF-8 files. All throw std::runtime_error.
void write_file(const std::wstring& path, std::wstring_view text);
std::wstring read_file(const std::wstring& path);

// An argument as it stands, or the content of FILE where it is "@FILE".
std::wstring argument_text(const std::wstring& argument);
