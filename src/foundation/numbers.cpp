#include "foundation/numbers.h"

#include <charconv>

#include "foundation/errors.h"
#include "foundation/format.h"

namespace text {

std::uint32_t read_number(std::string_view what, std::wstring_view text, std::uint32_t least, std::uint32_t most) {
    const std::string digits = narrow(text);
    std::uint32_t number = 0;
    const char* const end = digits.data() + digits.size();
    const auto [rest, error] = std::from_chars(digits.data(), end, number);
    if (error != std::errc() || rest != end || number < least || number > most)
        throw exc::runtime_exc_t(format("%1 takes a number from %2 to %3, not '%4'.", what, least, most, text));
    return number;
}

}  // namespace text
