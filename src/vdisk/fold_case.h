#pragma once

#include <string>
#include <string_view>

namespace impl::vdmount {

// Lower case by the rules of the file systems, for names that are compared without regard to case. Those of the user's locale
// would keep "I:" and "i:" apart on a Turkish machine.
std::wstring fold_case(std::wstring_view name);

}  // namespace impl::vdmount
