#include <windows.h>

// Takes every structured exception that comes out of step(frame), and returns its code.
unsigned long seh_probe(void (*step)(void*), void* frame) {
    DWORD code = 0;
    __try {
        step(frame);
    } __except (code = ((EXCEPTION_POINTERS*)__exception_info())->ExceptionRecord->ExceptionCode, EXCEPTION_EXECUTE_HANDLER) {
    }
    return code;
}
