#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <string_view>

// Narrow text inside the library is UTF-8. It becomes text of the process's code page only for a platform call that takes
// such text, and text that such a call returns becomes UTF-8 on its way in.
namespace text {

// UTF-16 to UTF-8. A surrogate without its partner (file names may hold one) becomes U+FFFD; nothing else is lost.
std::string narrow(std::wstring_view wide);

// UTF-8 to UTF-16. Throws exc::win_sys_exc_t (ERROR_NO_UNICODE_TRANSLATION, 1113) where the text is not UTF-8.
std::wstring widen(std::string_view utf8);

// UTF-8 to the process's code page. What it cannot hold, or a zero character, throws exc::win_sys_exc_t (1113), never "?".
std::string to_code_page(std::string_view utf8);

// UTF-16 to the process's code page, as strict as to_code_page.
std::string to_code_page(std::wstring_view wide);

// Text of the process's code page to UTF-8; never fails, an invalid byte becomes U+FFFD.
std::string from_code_page(std::string_view bytes);

// "0x" and eight upper-case digits: the form in which HRESULTs and NT statuses are written.
std::string hex8(std::uint32_t value);

// 36 characters, lower-case hexadecimal in groups 8-4-4-4-12 joined by hyphens, no braces (the form of UuidToStringW).
std::string guid_text(const GUID& guid);

// Four numbers joined by points: the high and low 16 bits of the first value, then of the second.
std::string version_text(std::uint32_t first, std::uint32_t second);

}  // namespace text
