#include "foundation/ctrl_c.h"

#include "foundation/handles.h"

namespace win {
namespace {

HANDLE event() {
    static const unique_handle created(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    return created.get();
}

BOOL WINAPI on_ctrl_c(DWORD) {
    const bool first = ::WaitForSingleObject(event(), 0) != WAIT_OBJECT_0;
    return first && ::SetEvent(event());
}

}  // namespace

HANDLE ctrl_c_event() {
    static const BOOL handled = event() && ::SetConsoleCtrlHandler(on_ctrl_c, TRUE);
    return handled ? event() : nullptr;
}

}  // namespace win
