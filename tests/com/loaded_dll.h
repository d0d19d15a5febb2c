#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <unknwn.h>

// The DLL itself, loaded as a client loads it. When this goes, nothing may keep the DLL from being unloaded.
class loaded_dll {
public:
    loaded_dll() { EXPECT_NE(module, nullptr); }
    ~loaded_dll() {
        EXPECT_EQ(can_unload_now(), S_OK);
        ::FreeLibrary(module);
    }
    loaded_dll(const loaded_dll&) = delete;

    HRESULT can_unload_now() const { return exported<HRESULT WINAPI()>("DllCanUnloadNow")(); }
    HRESULT register_server() const { return exported<HRESULT WINAPI()>("DllRegisterServer")(); }
    HRESULT unregister_server() const { return exported<HRESULT WINAPI()>("DllUnregisterServer")(); }
    template <class Interface>
    HRESULT get_class_object(const CLSID& clsid, const IID& iid, Interface** result) const {
        using function = HRESULT WINAPI(REFCLSID, REFIID, void**);
        return exported<function>("DllGetClassObject")(clsid, iid, reinterpret_cast<void**>(result));
    }

    const HMODULE module = ::LoadLibraryW(L"KorvaProxyClient.dll");

private:
    template <class Function>
    Function* exported(const char* name) const {
        return reinterpret_cast<Function*>(::GetProcAddress(module, name));
    }
};

// In the registry, too, as long as this lives.
class registered_dll : public loaded_dll {
public:
    registered_dll() { EXPECT_EQ(register_server(), S_OK); }
    ~registered_dll() { EXPECT_EQ(unregister_server(), S_OK); }
};
