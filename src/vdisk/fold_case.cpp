#include "vdisk/fold_case.h"

#include <windows.h>

#include "foundation/errors.h"

namespace impl::vdmount {

std::wstring fold_case(std::wstring_view name) {
    std::wstring folded(name.size(), L'\0');
    const int size = static_cast<int>(name.size());
    if (size > 0 && ::LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_LOWERCASE, name.data(), size, folded.data(), size, nullptr,
                                    nullptr, 0) != size)
        exc::throw_last_error("Failed to fold the case of '%1'.", name);
    return folded;
}

}  // namespace impl::vdmount
