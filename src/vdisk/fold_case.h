#pragma once

#include <string>
#include <string_view>

namespace impl::vdmount {

// Lower case by the rules of the user's locale: for names that are compared without regard to case.
std::wstring fold_case(std::wstring_view name);

}  // namespace impl::vdmount
