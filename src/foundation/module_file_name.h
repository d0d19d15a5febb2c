#pragma once

#include <windows.h>

#include <functional>
#include <string>
#include <string_view>

namespace win {

// The full path of a module that the process has loaded, of the process's executable where it is null. Throws
// exc::win_sys_exc_t with `failure`.
std::wstring module_file_name(HMODULE module, std::string_view failure,
                              const std::function<decltype(::GetModuleFileNameW)>& call = ::GetModuleFileNameW);

}  // namespace win
