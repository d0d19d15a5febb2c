#include "rpc/commands/invoker.h"

#include "rpc/remote_call.h"
#include "stubs/invoker.h"

namespace win::rpc {

rpc_call_result_t CDoRpcMethod::DoCall(binding_t binding) {
    return remote_call(::DoRpc, binding, in_text(command_), in_text(input_xml_), out(output_xml_));
}

rpc_call_result_t CDoRpcWithBinaryMethod::DoCall(binding_t binding) {
    return remote_call(::DoRpcWithBinary, binding, in_text(command_), in_text(input_xml_), static_cast<ULONG>(data_.size()),
                       in_array(data_), out(output_xml_), out(output_size_), out(output_data_));
}

std::span<const unsigned char> CDoRpcWithBinaryMethod::output_data() const {
    check_list(output_data_.get() != nullptr, output_data_.bytes(), output_size_);
    return {output_data_.get(), output_size_};
}

rpc_call_result_t CInvokerTestConnectionMethod::DoCall(binding_t binding) {
    return remote_call(::InvokerTestConnection, binding, in_text(version_));
}

}  // namespace win::rpc
