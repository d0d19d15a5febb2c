#pragma once

#include <windows.h>

namespace win {

// An event that the first Ctrl-C sets; from the first call of this function on. The second one is left to the system's handler,
// which ends the process.
HANDLE ctrl_c_event();

}  // namespace win
