#pragma once

#include <windows.h>

#include <string_view>

#include "foundation/errors.h"

namespace com {

// A failing COM call throws exc::win_sys_exc_t with its result as the code.
inline void check(HRESULT result, std::string_view message) {
    if (FAILED(result))
        throw exc::win_sys_exc_t(message, static_cast<std::uint32_t>(result));
}

}  // namespace com
