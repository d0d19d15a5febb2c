#include "steps.h"

#include <cstdio>

#include "foundation/ctrl_c.h"

namespace {

// The call that is running can take minutes to fail.
BOOL WINAPI announce(DWORD) {
    if (!asked_to_stop())
        std::fputs("Interrupted: the running call ends, then this tidies up. Another Ctrl-C ends at once.\n", stderr);
    return FALSE;  // to the handler that sets the event
}

}  // namespace

void catch_ctrl_c() {
    win::ctrl_c_event();
    ::SetConsoleCtrlHandler(announce, TRUE);
}

bool asked_to_stop() { return ::WaitForSingleObject(win::ctrl_c_event(), 0) == WAIT_OBJECT_0; }

void stop_if_asked() { pause_for(0); }

void pause_for(DWORD ms) {
    if (::WaitForSingleObject(win::ctrl_c_event(), ms) == WAIT_OBJECT_0)
        throw interrupted();
}
