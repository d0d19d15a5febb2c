#include <windows.h>

#include <objbase.h>

#include "com/class_factory.h"
#include "com/module.h"
#include "com/registration.h"
#include "com/type_library.h"
#include "logging/default_log.h"

// The C++ runtime that is linked in keeps 73 KiB for exceptions in a process without memory and gives them back here alone: a
// host that loads and unloads the module would lose them each time.
namespace __gnu_cxx {
void __freeres();
}

STDAPI DllCanUnloadNow() { return com::module::in_use() ? S_FALSE : S_OK; }

STDAPI DllGetClassObject(REFCLSID clsid, REFIID iid, void** result) { return com::get_class_object(clsid, iid, result); }

STDAPI DllRegisterServer() { return com::register_server(); }

STDAPI DllUnregisterServer() { return com::unregister_server(); }

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void* process_ends) {
    if (reason == DLL_PROCESS_ATTACH)
        logging::open_default_log();
    else if (reason == DLL_PROCESS_DETACH && !process_ends) {
        com::type_library::release();
        __gnu_cxx::__freeres();
    }
    return TRUE;
}
