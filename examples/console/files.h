#pragma once

#include <string>
#include <string_view>
#include <vector>

// Texts that one run of the console keeps for the next, as UTF-8 files. All throw std::runtime_error.
void write_file(const std::wstring& path, std::wstring_view text);
std::wstring read_file(const std::wstring& path);

// An argument as it stands, or the content of FILE where it is "@FILE".
std::wstring argument_text(const std::wstring& argument);

// What the snapshot command saves in a folder: import and restore read it.
inline constexpr wchar_t backup_file[] = L"\\backup.xml";
inline constexpr wchar_t writers_file[] = L"\\writers.xml";
inline constexpr wchar_t shadows_file[] = L"\\shadows.txt";
inline constexpr wchar_t files_file[] = L"\\files.xml";  // of the last machine
