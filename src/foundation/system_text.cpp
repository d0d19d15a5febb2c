#include "foundation/system_text.h"

#include <windows.h>

#include <system_error>

#include "foundation/format.h"
#include "foundation/handles.h"

namespace exc {
namespace {

// The range of codes whose texts wininet.dll carries (INTERNET_ERROR_BASE and up, wininet.h).
constexpr std::uint32_t wininet_first = 12000;
constexpr std::uint32_t wininet_end = 12175;

constexpr DWORD english_us = 1033;
constexpr DWORD language_neutral = 0;

std::string table_text(DWORD source_flag, HMODULE module, std::uint32_t code, DWORD language) {
    char* buffer = nullptr;
    const DWORD length = ::FormatMessageA(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS | source_flag, module,
                                          code, language, reinterpret_cast<char*>(&buffer), 0, nullptr);
    const win::unique_local_memory owner(buffer);
    std::string_view found(buffer ? buffer : "", length);
    while (!found.empty() && (found.back() == '\n' || found.back() == '\r'))
        found.remove_suffix(1);
    return text::from_code_page(found);
}

}  // namespace

std::string system_error_text(std::uint32_t code) {
    std::string found = table_text(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, code, english_us);
    if (found.empty() && code >= wininet_first && code < wininet_end) {
        if (const HMODULE wininet = ::GetModuleHandleA("wininet.dll"))
            found = table_text(FORMAT_MESSAGE_FROM_HMODULE, wininet, code, language_neutral);
    }
    if (!found.empty())
        return found;
    const std::string category = text::from_code_page(std::system_category().message(static_cast<int>(code)));
    return text::format("%1. Error code: %2", category, code);
}

}  // namespace exc
