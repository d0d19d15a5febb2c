#include "foundation/names.h"

#include <windows.h>

#include "foundation/convert.h"

namespace win {
namespace {

int compare(std::wstring_view left, std::wstring_view right) noexcept {
    return ::CompareStringOrdinal(left.data(), static_cast<int>(left.size()), right.data(), static_cast<int>(right.size()),
                                  TRUE);
}

}  // namespace

bool same_name(std::wstring_view left, std::wstring_view right) noexcept { return compare(left, right) == CSTR_EQUAL; }

bool same_name(std::string_view left, std::string_view right) { return same_name(text::widen(left), text::widen(right)); }

bool name_less_t::operator()(std::wstring_view left, std::wstring_view right) const noexcept {
    return compare(left, right) == CSTR_LESS_THAN;
}

}  // namespace win
