// The same small command through the DLL's object, early and late bound, beside the bare stub.
#include <windows.h>
#include <winsock2.h>

#include <oleauto.h>

#include <stdexcept>

#include "KorvaProxyClient.h"
#include "bench/harness.h"
#include "bench/invoker_client.h"
#include "bench/served_peer.h"

namespace {

constexpr unsigned calls = 2000;

void check(HRESULT result) {
    if (FAILED(result))
        throw std::runtime_error("a COM call failed");
}

IProxyRpcInvoker* create_invoker() {
    const HMODULE module = ::LoadLibraryW(L"KorvaProxyClient.dll");
    const auto get_class_object = reinterpret_cast<HRESULT(WINAPI*)(REFCLSID, REFIID, void**)>(
        reinterpret_cast<void*>(::GetProcAddress(module, "DllGetClassObject")));
    IClassFactory* factory = nullptr;
    check(get_class_object(CLSID_KorvaProxyInvoker, IID_IClassFactory, reinterpret_cast<void**>(&factory)));
    IProxyRpcInvoker* invoker = nullptr;
    check(factory->CreateInstance(nullptr, IID_IProxyRpcInvoker, reinterpret_cast<void**>(&invoker)));
    factory->Release();
    return invoker;
}

class bstr {
public:
    explicit bstr(const wchar_t* text) : text_(::SysAllocString(text)) {}
    ~bstr() { ::SysFreeString(text_); }
    bstr(const bstr&) = delete;
    bstr& operator=(const bstr&) = delete;
    operator BSTR() const { return text_; }

private:
    BSTR text_;
};

void call_early(IProxyRpcInvoker& invoker) {
    const bstr command(bench::command_name), input(bench::input_xml);
    BSTR output = nullptr;
    check(invoker.DoRpc(command, input, &output));
    ::SysFreeString(output);
}

// As a script does it: the name is looked up at every call.
void call_late(IDispatch& invoker) {
    const bstr command(bench::command_name), input(bench::input_xml);
    BSTR output = nullptr;
    wchar_t name[] = L"DoRpc";
    wchar_t* names[] = {name};
    DISPID id = 0;
    check(invoker.GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id));
    VARIANTARG arguments[3]{};  // the last first
    V_VT(&arguments[0]) = VT_BYREF | VT_BSTR;
    V_BSTRREF(&arguments[0]) = &output;
    V_VT(&arguments[1]) = V_VT(&arguments[2]) = VT_BSTR;
    V_BSTR(&arguments[1]) = input;
    V_BSTR(&arguments[2]) = command;
    DISPPARAMS parameters{arguments, nullptr, 3, 0};
    check(invoker.Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters, nullptr, nullptr, nullptr));
    ::SysFreeString(output);
}

template <class Call>
std::function<void()> repeated(Call call) {
    return [call] {
        for (unsigned i = 0; i < calls; ++i)
            call();
    };
}

}  // namespace

int main(int argc, char** argv) {
    return bench::run(argc, argv, [&] {
        check(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED));
        const bench::served_peers peers(bench::served_peers::what::invoker);
        const unsigned port = peers.ports().front();
        const auto client = bench::make_client(port);
        IProxyRpcInvoker& invoker = *create_invoker();
        const bstr host(L"127.0.0.1"), user(L"KORVA\\admin"), password(L"password"), version(L"");
        check(invoker.SetEndpoint(host, static_cast<int>(port)));
        check(invoker.SetAccount(user, password));
        check(invoker.Connect(version));

        bench::bench_t bench("com", argc, argv);
        const auto result = bench.compare("a small command through COM", calls, "calls",
                                          {{"early bound", repeated([&] { call_early(invoker); })},
                                           {"late bound", repeated([&] { call_late(invoker); })},
                                           {"bare stub", [&] { bench::call_bare(*client, calls); }}},
                                          11);
        bench.aim("early bound to bare stub", result.rate_ratio("early bound", "bare stub"), 0.90);
        bench.figure("late bound to bare stub", result.rate_ratio("late bound", "bare stub"));
        bench.figure("late bound to early bound", result.rate_ratio("late bound", "early bound"));
        invoker.Release();
        return bench.finish();
    });
}
