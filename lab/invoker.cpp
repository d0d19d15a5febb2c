// The generic invoker: a command is answered by its name and its input,
//
//   <LabReply Command="NAME">INPUT</LabReply>
//
// (the name escaped, the input as it came), and a byte block by the block twice. Names that begin with "Lab." control the lab:
//
//   Lab.Fail         this call fails with the input as its text
//   Lab.SetFailure   the input is PROCEDURE=TEXT: from now on that procedure fails with TEXT; an empty TEXT ends it
//   Lab.Reset        the host is as the lab has it without options, and nothing fails
//   Lab.Sleep        answers after as many milliseconds as the input says (at most 60000)
#include "stubs/invoker.h"

#include <vector>

#include "foundation/convert.h"
#include "foundation/errors.h"
#include "foundation/numbers.h"
#include "lab/failures.h"
#include "lab/host_model.h"
#include "lab/serve.h"
#include "lab/xml_text.h"

namespace {

std::wstring reply_to(std::wstring_view command, std::wstring_view input_xml) {
    return L"<LabReply" + lab::attribute_text(L"Command", command) + L">" + std::wstring(input_xml) + L"</LabReply>";
}

std::wstring run(std::wstring_view command, const wchar_t* input) {
    if (command == L"Lab.Fail")
        throw exc::runtime_exc_t(text::narrow(input));
    if (command == L"Lab.SetFailure")
        lab::set_failure(text::narrow(input));
    else if (command == L"Lab.Reset")
        lab::reset();
    else if (command == L"Lab.Sleep")
        ::Sleep(text::read_number("Lab.Sleep", input, 0, 60000));
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
