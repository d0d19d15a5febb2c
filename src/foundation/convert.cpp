#include "foundation/convert.h"

#include <climits>
#include <cstdio>

#include "foundation/errors.h"
#include "foundation/format.h"

namespace text {
namespace {

int checked_length(std::size_t length) {
    if (length > INT_MAX)
        throw exc::win_sys_exc_t("The text is too long to be converted.", ERROR_ARITHMETIC_OVERFLOW);
    return static_cast<int>(length);
}

std::wstring to_wide(UINT code_page, DWORD flags, std::string_view bytes, const char* failure) {
    if (bytes.empty())
        return {};
    const int length = checked_length(bytes.size());
    const int needed = ::MultiByteToWideChar(code_page, flags, bytes.data(), length, nullptr, 0);
    if (needed <= 0)
        throw exc::win_sys_exc_t(failure, ::GetLastError());
    std::wstring wide(static_cast<std::size_t>(needed), L'\0');
    ::MultiByteToWideChar(code_page, flags, bytes.data(), length, wide.data(), needed);
    return wide;
}

}  // namespace

std::string narrow(std::wstring_view wide) {
    if (wide.empty())
        return {};
    const int length = checked_length(wide.size());
    const int needed = ::WideCharToMultiByte(CP_UTF8, 0, wide.data(), length, nullptr, 0, nullptr, nullptr);
    if (needed <= 0)
        throw exc::win_sys_exc_t("Failed to convert text to UTF-8.", ::GetLastError());
    std::string utf8(static_cast<std::size_t>(needed), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, wide.data(), length, utf8.data(), needed, nullptr, nullptr);
    return utf8;
}

std::wstring widen(std::string_view utf8) {
    return to_wide(CP_UTF8, MB_ERR_INVALID_CHARS, utf8, "Failed to convert text to UTF-16.");
}

std::string to_code_page(std::string_view utf8) { return to_code_page(std::wstring_view(widen(utf8))); }

std::string to_code_page(std::wstring_view wide) {
    if (wide.empty())
        return {};
    // A UTF-8 code page takes neither WC_NO_BEST_FIT_CHARS nor the mark for a default character; there only a lone
    // surrogate has no form.
    const bool is_utf8 = ::GetACP() == CP_UTF8;
    const DWORD flags = is_utf8 ? WC_ERR_INVALID_CHARS : WC_NO_BEST_FIT_CHARS;
    BOOL lost = FALSE;
    BOOL* const used_default = is_utf8 ? nullptr : &lost;
    const int length = checked_length(wide.size());
    const int needed = ::WideCharToMultiByte(CP_ACP, flags, wide.data(), length, nullptr, 0, nullptr, used_default);
    std::string bytes(static_cast<std::size_t>(needed > 0 ? needed : 0), '\0');
    if (needed > 0)
        ::WideCharToMultiByte(CP_ACP, flags, wide.data(), length, bytes.data(), needed, nullptr, used_default);
    // Whoever takes such text measures it up to the first zero character.
    if (needed <= 0 || lost || wide.find(L'\0') != std::wstring_view::npos) {
        ::SecureZeroMemory(bytes.data(), bytes.size());  // the text may be a password
        throw exc::win_sys_exc_t("Failed to convert text to the code page of the process.", ERROR_NO_UNICODE_TRANSLATION);
    }
    return bytes;
}

std::string from_code_page(std::string_view bytes) {
    return narrow(to_wide(CP_ACP, 0, bytes, "Failed to convert text of the code page of the process."));
}

std::string hex8(std::uint32_t value) {
    char buffer[11];
    std::snprintf(buffer, sizeof buffer, "0x%08lX", static_cast<unsigned long>(value));
    return buffer;
}

std::string guid_text(const GUID& guid) {
    char buffer[37];
    const unsigned char* tail = guid.Data4;
    std::snprintf(buffer, sizeof buffer, "%08lx-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x", guid.Data1, guid.Data2,
                  guid.Data3, tail[0], tail[1], tail[2], tail[3], tail[4], tail[5], tail[6], tail[7]);
    return buffer;
}

std::string version_text(std::uint32_t first, std::uint32_t second) {
    return format("%1.%2.%3.%4", first >> 16, first & 0xFFFF, second >> 16, second & 0xFFFF);
}

}  // namespace text
