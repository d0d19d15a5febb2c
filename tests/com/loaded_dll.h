#pragma once

#include <string>

#include "tests/com/com_test.h"

// The DLL itself, loaded as a client loads it. When the test ends nothing keeps it from being unloaded.
class dll_test : public com_test {
protected:
    dll_test() {
        EXPECT_NE(module, nullptr);
        wchar_t buffer[MAX_PATH] = {};
        ::GetModuleFileNameW(module, buffer, MAX_PATH);
        path = buffer;
    }
    ~dll_test() override {
        EXPECT_EQ(can_unload_now(), S_OK);
        ::FreeLibrary(module);
    }

    template <class Function>
    Function* function(const char* name) const {
        return reinterpret_cast<Function*>(::GetProcAddress(module, name));
    }

    HRESULT can_unload_now() const { return function<HRESULT WINAPI()>("DllCanUnloadNow")(); }
    HRESULT register_server() const { return function<HRESULT WINAPI()>("DllRegisterServer")(); }
    HRESULT unregister_server() const { return function<HRESULT WINAPI()>("DllUnregisterServer")(); }
    template <class Interface>
    HRESULT get_class_object(const CLSID& clsid, const IID& iid, Interface** result) const {
        return function<HRESULT WINAPI(REFCLSID, REFIID, void**)>("DllGetClassObject")(clsid, iid,
                                                                                       reinterpret_cast<void**>(result));
    }

    HMODULE module = ::LoadLibraryW(L"KorvaProxyClient.dll");
    std::wstring path;
};

// The creatable classes as consoles know them, spelled out once more.
struct creatable_class {
    const wchar_t* clsid;
    const wchar_t* prog_id;
    const wchar_t* version_independent_prog_id;
    const wchar_t* description;
    IID default_interface;
};

extern const creatable_class creatable_classes[7];

inline CLSID guid_of(const wchar_t* text) {
    CLSID guid{};
    EXPECT_EQ(::CLSIDFromString(text, &guid), S_OK);
    return guid;
}
