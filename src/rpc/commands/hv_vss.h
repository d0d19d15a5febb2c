#pragma once

#include <string>
#include <vector>

#include "rpc/method.h"
#include "rpc/reply_records.h"
#include "rpc/values.h"

// Commands of the Hyper-V integration service about the host's VSS set-up.
namespace win::rpc {

class CHvVssEnumProvidersMethod final : public CRpcMethodBase {
public:
    CHvVssEnumProvidersMethod() : CRpcMethodBase(command_of(service_t::hv_integration, 37)) {}
    // Throws exc::runtime_exc_t where the reply has no list, or one that is shorter than its count.
    std::vector<vss_provider_t> providers() const;

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    CRpcScopedBuf<hv_provider_list_t> providers_;
};

class CHvVssIsVolumesSupportedMethod final : public CRpcMethodBase {
public:
    explicit CHvVssIsVolumesSupportedMethod(std::vector<volume_request_t> volumes)
        : CRpcMethodBase(command_of(service_t::hv_integration, 38)), volumes_(std::move(volumes)) {}
    std::wstring answer_xml() const { return text_of(answer_xml_.get()); }

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    std::vector<volume_request_t> volumes_;
    CRpcScopedBuf<wchar_t> answer_xml_;
};

class CHvVssCollectWriterDocMethod final : public CRpcMethodBase {
public:
    CHvVssCollectWriterDocMethod() : CRpcMethodBase(command_of(service_t::hv_integration, 39)) {}
    std::wstring document() const { return text_of(document_.get()); }

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    CRpcScopedBuf<wchar_t> document_;
};

}  // namespace win::rpc
