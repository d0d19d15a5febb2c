// The generic command invoker: any command of the remote service, by name, with XML text and a block of bytes.
#include <numeric>

#include "commands.h"
#include "files.h"
#include "integrator.h"
#include "output.h"

namespace {

// 0, 1, 2, ...
win::unique_safe_array make_block(ULONG size) {
    win::unique_safe_array block(::SafeArrayCreateVector(VT_UI1, 0, size));
    if (!block)
        throw std::bad_alloc();
    auto* const bytes = static_cast<unsigned char*>(block.get()->pvData);
    std::iota(bytes, bytes + size, static_cast<unsigned char>(0));
    return block;
}

}  // namespace

void run_invoke(const options_t& options) {
    const std::wstring name = options.arguments.empty() ? L"GetHostInfo" : options.argument(0);
    const std::wstring xml = options.arguments.size() < 2 ? L"<Host/>" : argument_text(options.argument(1));
    const win::unique_bstr version = win::make_bstr(L"6.0"), command = win::make_bstr(name), input = win::make_bstr(xml);

    const auto invoker = create_client<IProxyRpcInvoker>(L"KorvaProxyClientDll.KorvaProxyInvoker", options);
    const char* const connect = options.secure ? "SecureConnect" : "Connect";
    check(connect, options.secure ? invoker->SecureConnect(version.get()) : invoker->Connect(version.get()));
    show(connect, "ok");
    stop_if_asked();
    check("TestConnection", invoker->TestConnection(version.get()));
    show("TestConnection", "ok");
    stop_if_asked();

    win::unique_bstr reply;
    check("DoRpc", invoker->DoRpc(command.get(), input.get(), reply.put()));
    show("DoRpc", text::format("%1 %2 -> %3", name, xml, win::bstr_view(reply.get())),
         {{"Command", name}, {"Input", xml}, {"Reply", win::bstr_view(reply.get())}});
    stop_if_asked();

    constexpr ULONG sent = 4096;
    const win::unique_safe_array block = make_block(sent);
    win::unique_safe_array answer;
    check("DoRpcWithBinary", invoker->DoRpcWithBinary(command.get(), input.get(), block.get(), reply.put(), answer.put()));
    const ULONG received = answer ? answer.get()->rgsabound[0].cElements : 0;
    show("DoRpcWithBinary", text::format("%1 bytes -> %2 bytes, %3", sent, received, win::bstr_view(reply.get())),
         {{"Sent", sent}, {"Received", received}, {"Reply", win::bstr_view(reply.get())}});
}
