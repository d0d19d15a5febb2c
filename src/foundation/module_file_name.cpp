#include "foundation/module_file_name.h"

#include "foundation/errors.h"

namespace win {

std::wstring module_file_name(HMODULE module, std::string_view failure,
                              const std::function<decltype(::GetModuleFileNameW)>& call) {
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = call(module, path.data(), static_cast<DWORD>(path.size()));
        if (length == 0)
            exc::throw_last_error(failure);
        if (length < path.size()) {
            path.resize(length);
            return path;
        }
        path.resize(path.size() * 2);  // a path longer than the buffer is cut, not refused
    }
}

}  // namespace win
