// A DLL that imports what the module imports (the generated table of them), and opens and writes one file as it is loaded.
#include <windows.h>

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void*) {
    if (reason != DLL_PROCESS_ATTACH)
        return TRUE;
    const HANDLE file = ::CreateFileW(L"build\\bench\\load.log", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                      OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return FALSE;
    const char header[] = "a header of one line\r\n";
    DWORD written = 0;
    ::WriteFile(file, header, sizeof header - 1, &written, nullptr);
    return ::CloseHandle(file);
}
