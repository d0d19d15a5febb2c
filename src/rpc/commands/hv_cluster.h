#pragma once

#include <string>
#include <vector>

#include "rpc/method.h"
#include "rpc/reply_records.h"
#include "rpc/values.h"

// Commands of the Hyper-V integration service of a cluster node.
namespace win::rpc {

class CHvClsEnumClusterVolumesMethod final : public CRpcMethodBase {
public:
    CHvClsEnumClusterVolumesMethod() : CRpcMethodBase(command_of(service_t::hv_integration, 34)) {}
    // Throws exc::runtime_exc_t where the reply has no list, or one that is shorter than its count.
    std::vector<cluster_volume_t> volumes() const;

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    CRpcScopedBuf<hv_cluster_volume_list_t> volumes_;
};

class CHvClsGetResourceIdByNameMethod final : public CRpcMethodBase {
public:
    explicit CHvClsGetResourceIdByNameMethod(std::wstring name)
        : CRpcMethodBase(command_of(service_t::hv_integration, 35)), name_(std::move(name)) {}
    std::wstring id() const { return text_of(id_.get()); }

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    std::wstring name_;
    CRpcScopedBuf<wchar_t> id_;
};

class CHvClsRefreshVmConfigMethod final : public CRpcMethodBase {
public:
    // The name of the machine's cluster resource.
    explicit CHvClsRefreshVmConfigMethod(std::wstring name)
        : CRpcMethodBase(command_of(service_t::hv_integration, 36)), name_(std::move(name)) {}

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    std::wstring name_;
};

}  // namespace win::rpc
