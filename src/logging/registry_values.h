#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>

#include "foundation/handles.h"

namespace win {

// Opens a key of HKEY_LOCAL_MACHINE for reading; `view` is 0 or KEY_WOW64_64KEY. Throws exc::win_sys_exc_t.
unique_registry_key open_machine_key(const std::string& path, REGSAM view = 0);

// The value of that name; none where there is none. Throws exc::runtime_exc_t where it has another type.
std::optional<std::uint32_t> dword_value(const unique_registry_key& key, const std::string& name);
std::optional<std::string> string_value(const unique_registry_key& key, const std::string& name);

}  // namespace win
