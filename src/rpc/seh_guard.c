#include "rpc/seh_guard.h"

#include <windows.h>

// The code is taken here because GetExceptionCode() in the handler gives 0 with this compiler.
static int take_status(const EXCEPTION_POINTERS* exception, unsigned long* status) {
    const EXCEPTION_RECORD* record = exception->ExceptionRecord;
    if (record->NumberParameters != 0)
        return EXCEPTION_CONTINUE_SEARCH;
    *status = record->ExceptionCode != 0 ? record->ExceptionCode : RPC_S_CALL_FAILED;
    return EXCEPTION_EXECUTE_HANDLER;
}

unsigned long korva_seh_guard(void (*step)(void*), void* frame) {
    unsigned long status = 0;
    __try {
        step(frame);
    } __except (take_status((const EXCEPTION_POINTERS*)__exception_info(), &status)) {
    }
    return status;
}
