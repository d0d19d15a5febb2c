#include "rpc/commands/invoker.h"

#include "rpc/remote_call.h"
#include "stubs/invoker.h"

namespace win::rpc {

rpc_call_result_t CDoRpcMethod::DoCall(binding_t binding) {
    return remote_call(::DoRpc, binding, command_.c_str(), input_xml_.c_str(), out(output_xml_));
}

rpc_call_result_t CDoRpcWithBinaryMethod::DoCall(binding_t binding) {
    return remote_call(::DoRpcWithBinary, binding, command_.c_str(), input_xml_.c_str(), static_cast<ULONG>(data_.size()),
                       in_array(data_), out(output_xml_), out(output_size_), out(output_data_));
}

std::span<const unsigned char> CDoRpcWithBinaryMethod::output_data() const {
    check_list(output_data_.get() != nullptr, output_data_.bytes(), output_size_);
    return {output_data_.get(), output_size_};
}

rpc_call_result_t CInvokerTestConnectionMethod::DoCall(binding_t binding) {
    return remote_call(::InvokerTestConnection, binding, version_.c_str());
}

}  // namespace win::rpc
