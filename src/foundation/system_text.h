#pragma once

#include <cstdint>
#include <string>

namespace exc {

// English text of a Win32, RPC or WinINet code, without the line end that the message tables put behind it. A code that no
// table knows gives the standard library's text for it, ". Error code: " and the code in decimal. Never fails for lack of a
// text.
std::string system_error_text(std::uint32_t code);

}  // namespace exc
