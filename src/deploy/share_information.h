#pragma once

#include <windows.h>

#include <lm.h>  // uses the types of windows.h

#include <functional>
#include <string>

namespace win {

struct share_functions_t {
    std::function<decltype(::NetShareGetInfo)> get_info = ::NetShareGetInfo;
    std::function<decltype(::NetApiBufferFree)> free_buffer = ::NetApiBufferFree;
};

// The folder that a share of the host stands for, as the host itself names it (for "ADMIN$" normally the Windows folder).
// Throws exc::win_sys_exc_t.
std::wstring share_local_path(const std::wstring& host, const std::wstring& share, const share_functions_t& functions = {});

}  // namespace win
