#pragma once

#include <span>
#include <string>
#include <vector>

#include "rpc/method.h"

// Commands of the generic invoker service.
namespace win::rpc {

class CDoRpcMethod : public CRpcMethodBase {
public:
    CDoRpcMethod(std::wstring command, std::wstring input_xml)
        : CRpcMethodBase(command_of(service_t::invoker, 0)), command_(std::move(command)), input_xml_(std::move(input_xml)) {}
    std::wstring output_xml() const { return text_of(output_xml_.get()); }

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    std::wstring command_, input_xml_;
    CRpcScopedBuf<wchar_t> output_xml_;
};

class CDoRpcWithBinaryMethod final : public CRpcMethodBase {
public:
    // The bytes are not copied: they must outlive the call.
    CDoRpcWithBinaryMethod(std::wstring command, std::wstring input_xml, std::span<const unsigned char> data)
        : CRpcMethodBase(command_of(service_t::invoker, 1)),
          command_(std::move(command)),
          input_xml_(std::move(input_xml)),
          data_(data) {}
    std::wstring output_xml() const { return text_of(output_xml_.get()); }
    // The returned bytes, owned by this object. Throws exc::runtime_exc_t where the reply's size is more than it brought.
    std::span<const unsigned char> output_data() const;

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    std::wstring command_, input_xml_;
    std::span<const unsigned char> data_;
    CRpcScopedBuf<wchar_t> output_xml_;
    std::uint32_t output_size_ = 0;
    CRpcScopedBuf<unsigned char> output_data_;
};

class CInvokerTestConnectionMethod final : public CRpcMethodBase {
public:
    explicit CInvokerTestConnectionMethod(std::wstring version)
        : CRpcMethodBase(command_of(service_t::invoker, 2)), version_(std::move(version)) {}
    bool CanRetry() const override { return false; }

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    std::wstring version_;
};

}  // namespace win::rpc
