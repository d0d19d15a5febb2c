// The same small command through the DLL's object, early and late bound, beside the bare stub.
#include <windows.h>
#include <winsock2.h>

#include <oleauto.h>

#include "bench/dll_object.h"
#include "bench/harness.h"
#include "bench/invoker_client.h"
#include "bench/served_peer.h"
#include "foundation/automation.h"

namespace {

constexpr unsigned calls = 2000;

using bench::check;

void call_early(IProxyRpcInvoker& invoker) {
    const auto command = win::make_bstr(bench::command_name), input = win::make_bstr(bench::input_xml);
    win::unique_bstr output;
    check(invoker.DoRpc(command.get(), input.get(), output.put()));
}

// As a script does it: the name is looked up at every call.
void call_late(IDispatch& invoker) {
    const auto command = win::make_bstr(bench::command_name), input = win::make_bstr(bench::input_xml);
    win::unique_bstr output;
    wchar_t name[] = L"DoRpc";
    wchar_t* names[] = {name};
    DISPID id = 0;
    check(invoker.GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id));
    VARIANTARG arguments[3]{};  // the last first
    V_VT(&arguments[0]) = VT_BYREF | VT_BSTR;
    V_BSTRREF(&arguments[0]) = output.put();
    V_VT(&arguments[1]) = V_VT(&arguments[2]) = VT_BSTR;
    V_BSTR(&arguments[1]) = input.get();
    V_BSTR(&arguments[2]) = command.get();
    DISPPARAMS parameters{arguments, nullptr, 3, 0};
    check(invoker.Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters, nullptr, nullptr, nullptr));
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
        const bench::served_peers peers("invoker");
        const unsigned port = peers.ports().front();
        const auto client = bench::make_client(port);
        const auto object = bench::create_from<IProxyRpcInvoker>(bench::load_module(), CLSID_KorvaProxyInvoker);
        IProxyRpcInvoker& invoker = *object.get();
        check(invoker.SetEndpoint(win::make_bstr(L"127.0.0.1").get(), static_cast<int>(port)));
        check(invoker.SetAccount(win::make_bstr(L"KORVA\\admin").get(), win::make_bstr(L"password").get()));
        check(invoker.Connect(win::make_bstr(L"").get()));

        bench::bench_t bench("com", argc, argv);
        const auto result = bench.compare("a small command through COM", calls, "calls",
                                          {{"early bound", repeated([&] { call_early(invoker); })},
                                           {"late bound", repeated([&] { call_late(invoker); })},
                                           {"bare stub", [&] { bench::call_bare(*client, calls); }}},
                                          11);
        bench.aim("early bound to bare stub", result.rate_ratio("early bound", "bare stub"), 0.90);
        bench.figure("late bound to bare stub", result.rate_ratio("late bound", "bare stub"));
        bench.figure("late bound to early bound", result.rate_ratio("late bound", "early bound"));
        return bench.finish();
    });
}
