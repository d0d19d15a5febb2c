// Loading the DLL, creating and releasing an object, unloading; beside a DLL with the same imports that opens and writes one
// file.
#include <windows.h>

#include <oleauto.h>

#include <stdexcept>

#include "KorvaProxyClient.h"
#include "bench/harness.h"

namespace {

constexpr unsigned loads = 40;

void check(bool good, const char* what) {
    if (!good)
        throw std::runtime_error(what);
}

void load_and_use() {
    const HMODULE module = ::LoadLibraryW(L"KorvaProxyClient.dll");
    check(module != nullptr, "KorvaProxyClient.dll is not there");
    const auto get_class_object = reinterpret_cast<HRESULT(WINAPI*)(REFCLSID, REFIID, void**)>(
        reinterpret_cast<void*>(::GetProcAddress(module, "DllGetClassObject")));
    IClassFactory* factory = nullptr;
    check(get_class_object(CLSID_KorvaProxyInvoker, IID_IClassFactory, reinterpret_cast<void**>(&factory)) == S_OK, "no class");
    IUnknown* object = nullptr;
    check(factory->CreateInstance(nullptr, IID_IProxyRpcInvoker, reinterpret_cast<void**>(&object)) == S_OK, "no object");
    object->Release();
    factory->Release();
    ::FreeLibrary(module);
    check(::GetModuleHandleW(L"KorvaProxyClient.dll") == nullptr, "the DLL stays loaded");
}

void load_baseline() {
    const HMODULE module = ::LoadLibraryW(L"load_baseline.dll");
    check(module != nullptr, "load_baseline.dll is not there");
    ::FreeLibrary(module);
    check(::GetModuleHandleW(L"load_baseline.dll") == nullptr, "the baseline stays loaded");
}

}  // namespace

int main(int argc, char** argv) {
    ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    // A host has the platform's libraries loaded already; what is measured is ours.
    for (const wchar_t* library : {L"rpcrt4", L"oleaut32", L"shell32", L"mpr", L"netapi32", L"ntdsapi", L"version"})
        ::LoadLibraryW(library);
    bench::bench_t bench("load", argc, argv);
    const auto repeated = [](void (*once)()) {
        return [once] {
            for (unsigned i = 0; i < loads; ++i)
                once();
        };
    };
    const auto result = bench.compare("load, use, unload", loads, "loads",
                                      {{"KorvaProxyClient", repeated(load_and_use)}, {"baseline", repeated(load_baseline)}});
    bench.aim_at_most("time of the DLL to the baseline", result.time_ratio("KorvaProxyClient", "baseline"), 1.3);
    return bench.finish();
}
