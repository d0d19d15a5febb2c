#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace hv {

// The full path of each item of a "FilesList" XML, in its order.
std::vector<std::wstring> full_paths(std::wstring_view files_list_xml);

}  // namespace hv
