#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <objbase.h>

// Wine takes the threading model "Neutral" for the main single-threaded apartment; only there calls are direct.
struct single_threaded_com {
    single_threaded_com() { EXPECT_EQ(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK); }
    ~single_threaded_com() { ::CoUninitialize(); }
};

// The DLL in the registry as long as this lives; when it goes, nothing may keep the DLL from being unloaded.
class registered_dll {
public:
    registered_dll() { EXPECT_EQ(exported("DllRegisterServer"), S_OK); }
    ~registered_dll() {
        EXPECT_EQ(exported("DllUnregisterServer"), S_OK);
        EXPECT_EQ(exported("DllCanUnloadNow"), S_OK);
        ::FreeLibrary(module_);
    }
    registered_dll(const registered_dll&) = delete;

private:
    HRESULT exported(const char* name) const { return reinterpret_cast<HRESULT(WINAPI*)()>(::GetProcAddress(module_, name))(); }

    const HMODULE module_ = ::LoadLibraryW(L"KorvaProxyClient.dll");
};
