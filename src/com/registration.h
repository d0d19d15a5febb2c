#pragma once

#include <windows.h>

// What DllRegisterServer and DllUnregisterServer do: the AppID, every class of the class table, the type library. Both may be
// repeated; the result is S_OK or the first failure. Unregistering goes on behind a failure.
namespace com {

HRESULT register_server() noexcept;
HRESULT unregister_server() noexcept;

}  // namespace com
