#pragma once

#include <cstdint>
#include <string_view>

namespace text {

// The decimal number that the text is: digits alone, within the limits. Throws exc::runtime_exc_t, such as
// "--port takes a number from 0 to 65535, not '12abc'."
std::uint32_t read_number(std::string_view what, std::wstring_view text, std::uint32_t least, std::uint32_t most);

}  // namespace text
