// The generic invoker: a command is answered by its name and its input,
//
//   <LabReply Command="NAME">INPUT</LabReply>
//
// (the name escaped, the input as it came), and a byte block by the block twice. Names that begin with "Lab." control the lab:
//
//   Lab.Fail         this call fails with the input as its text
//   Lab.SetFailure   the input is PROCEDURE=TEXT: from now on that procedure fails with TEXT; an empty TEXT ends it
//   Lab.Reset        the host and all failures are as at the start
//   Lab.Sleep        answers after as many milliseconds as the input says (at most 60000)
#include "stubs/invoker.h"

#include <algorithm>
#include <map>
#include <vector>

#include "foundation/convert.h"
#include "foundation/errors.h"
#include "lab/failures.h"
#include "lab/host_model.h"
#include "lab/serve.h"

namespace {

std::wstring reply_to(std::wstring_view command, std::wstring_view input_xml) {
    static const std::map<wchar_t, std::wstring_view> escapes = {
        {L'&', L"&amp;"}, {L'<', L"&lt;"}, {L'>', L"&gt;"}, {L'"', L"&quot;"}};
    std::wstring reply = L"<LabReply Command=\"";
    for (const wchar_t c : command) {
        const auto escape = escapes.find(c);
        reply += escape == escapes.end() ? std::wstring(1, c) : std::wstring(escape->second);
    }
    reply += L"\">";
    reply += input_xml;
    return reply + L"</LabReply>";
}

std::wstring run(std::wstring_view command, const wchar_t* input) {
    if (command == L"Lab.Fail")
        throw exc::runtime_exc_t(text::narrow(input));
    if (command == L"Lab.SetFailure")
        lab::set_failure(text::narrow(input));
    else if (command == L"Lab.Reset")
        lab::reset();
    else if (command == L"Lab.Sleep")
        ::Sleep(std::clamp(::_wtoi(input), 0, 60000));
    return reply_to(command, input);
}

}  // namespace

void s_DoRpc(handle_t, const wchar_t* command, const wchar_t* input_xml, wchar_t** output_xml, rpc_call_result_t* result) {
    lab::serve(result, "DoRpc", {{"command", command}, {"input_xml", input_xml}},
               [&] { *output_xml = lab::copy_text(run(command, input_xml)); });
}

void s_DoRpcWithBinary(handle_t, const wchar_t* command, const wchar_t* input_xml, ULONG size, const byte* data,
                       wchar_t** output_xml, ULONG* output_size, byte** output_data, rpc_call_result_t* result) {
    const std::span block(data, size);
    lab::serve(result, "DoRpcWithBinary", {{"command", command}, {"input_xml", input_xml}, {"data", block}}, [&] {
        const std::wstring reply = run(command, input_xml);
        std::vector<byte> twice(block.begin(), block.end());
        twice.insert(twice.end(), block.begin(), block.end());

        *output_xml = lab::copy_text(reply);
        *output_data = lab::copy_bytes(twice);
        *output_size = static_cast<ULONG>(twice.size());
    });
}

void s_InvokerTestConnection(handle_t, const wchar_t* version, rpc_call_result_t* result) {
    lab::serve(result, "InvokerTestConnection", {{"version", version}}, [] {});
}
