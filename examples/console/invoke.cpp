// The generic command invoker: any command of the remote service, by name, with XML text and a block of bytes.
#include <KorvaProxyClient.h>

#include <numeric>

#include "calls.h"
#include "commands.h"
#include "foundation/automation.h"
#include "foundation/format.h"
#include "integrator.h"

namespace {

struct safe_array_traits {
    using handle = SAFEARRAY*;
    static handle invalid() noexcept { return nullptr; }
    static void close(handle h) noexcept { ::SafeArrayDestroy(h); }
};
using unique_safe_array = win::unique_resource<safe_array_traits>;

// 0, 1, 2, ...
unique_safe_array make_block(ULONG size) {
    unique_safe_array block(::SafeArrayCreateVector(VT_UI1, 0, size));
    if (!block)
        throw std::bad_alloc();
    auto* const bytes = static_cast<unsigned char*>(block.get()->pvData);
    std::iota(bytes, bytes + size, static_cast<unsigned char>(0));
    return block;
}

}  // namespace

void run_invoke(const options_t& options) {
    const win::unique_bstr version = win::make_bstr(L"6.0");
    const win::unique_bstr host = win::make_bstr(options.host);
    const win::unique_bstr name = win::make_bstr(options.arguments.empty() ? L"GetHostInfo" : options.arguments[0]);
    const win::unique_bstr xml = win::make_bstr(options.arguments.size() < 2 ? L"<Host/>" : options.arguments[1]);

    constexpr wchar_t prog_id[] = L"KorvaProxyClientDll.KorvaProxyInvoker";
    const auto invoker = create_object<IProxyRpcInvoker>(prog_id);
    show("CoCreateInstance", text::format("%1", prog_id));

    check("SetEndpoint", invoker->SetEndpoint(host.get(), options.port));
    show("SetEndpoint", text::format("%1, port %2", options.host, options.port));
    set_account(invoker, options);
    show("SetAccount", text::format("%1", options.account));

    if (options.secure)
        check("SecureConnect", invoker->SecureConnect(version.get()));
    else
        check("Connect", invoker->Connect(version.get()));
    show(options.secure ? "SecureConnect" : "Connect", "ok");
    check("TestConnection", invoker->TestConnection(version.get()));
    show("TestConnection", "ok");

    win::unique_bstr reply;
    check("DoRpc", invoker->DoRpc(name.get(), xml.get(), reply.put()));
    show("DoRpc",
         text::format("%1 %2 -> %3", win::bstr_view(name.get()), win::bstr_view(xml.get()), win::bstr_view(reply.get())));

    const unique_safe_array block = make_block(4096);
    unique_safe_array answer;
    check("DoRpcWithBinary", invoker->DoRpcWithBinary(name.get(), xml.get(), block.get(), reply.put(), answer.put()));
    const ULONG size = answer ? answer.get()->rgsabound[0].cElements : 0;
    show("DoRpcWithBinary", text::format("%1 bytes -> %2 bytes, %3", 4096, size, win::bstr_view(reply.get())));
}
