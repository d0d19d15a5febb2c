#include "steps.h"

#include "foundation/ctrl_c.h"

void catch_ctrl_c() { win::ctrl_c_event(); }

void stop_if_asked() { pause_for(0); }

void pause_for(DWORD ms) {
    if (::WaitForSingleObject(win::ctrl_c_event(), ms) == WAIT_OBJECT_0)
        throw interrupted();
}
