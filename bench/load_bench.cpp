// Loading the DLL, creating and releasing an object, unloading; beside a DLL with the same imports that opens and writes one
// file.
#include <windows.h>

#include <stdexcept>

#include "bench/dll_object.h"
#include "bench/harness.h"

namespace {

constexpr unsigned loads = 40;

void unload(HMODULE module, const wchar_t* name) {
    ::FreeLibrary(module);
    if (::GetModuleHandleW(name))
        throw std::runtime_error("the DLL stays loaded");
}

void load_and_use() {
    const HMODULE module = bench::load_module();
    bench::create_from<IUnknown>(module, CLSID_KorvaProxyInvoker);
    unload(module, bench::module_name);
}

void load_baseline() {
    constexpr const wchar_t* name = L"load_baseline.dll";
    unload(::LoadLibraryW(name), name);
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
