#pragma once

#include <windows.h>

#include <oleauto.h>

#include <stdexcept>

#include "KorvaProxyClient.h"
#include "foundation/com_ptr.h"

// Objects of the DLL beside the program, without registration.
namespace bench {

inline constexpr const wchar_t* module_name = L"KorvaProxyClient.dll";

inline void check(HRESULT result) {
    if (FAILED(result))
        throw std::runtime_error("a COM call failed");
}

inline HMODULE load_module() {
    const HMODULE module = ::LoadLibraryW(module_name);
    if (!module)
        throw std::runtime_error("KorvaProxyClient.dll is not there");
    return module;
}

template <class Interface>
win::com_ptr<Interface> create_from(HMODULE module, const CLSID& clsid) {
    const auto get_class_object = reinterpret_cast<LPFNGETCLASSOBJECT>(::GetProcAddress(module, "DllGetClassObject"));
    win::com_ptr<IClassFactory> factory;
    check(get_class_object(clsid, __uuidof(IClassFactory), reinterpret_cast<void**>(factory.put())));
    win::com_ptr<Interface> object;
    check(factory->CreateInstance(nullptr, __uuidof(Interface), reinterpret_cast<void**>(object.put())));
    return object;
}

}  // namespace bench
