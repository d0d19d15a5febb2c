#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "hv/cluster_volumes.h"
#include "rpc/client.h"

namespace impl {

// A cluster node's view of its failover cluster, over a connection of its own. Errors pass through as the connection and the
// commands throw them.
class CKorvaHvClusterManager {
public:
    explicit CKorvaHvClusterManager(std::shared_ptr<win::rpc::CRpcClientBase> client = win::rpc::make_integration_client());

    void SetEndpoint(std::wstring_view host, std::uint32_t port) { client_->SetEndpoint(host, port); }
    // The name is split as every account is; nobody is logged on.
    void SetAccount(std::wstring_view user_name, std::wstring_view password) { client_->SetAccount(user_name, password); }
    void SetRpcTimeout(std::int32_t seconds) { client_->SetRpcTimeout(seconds); }

    std::shared_ptr<CEnumClusterVolumes> ClusterVolumes();
    std::wstring GetResourceIDByName(const std::wstring& resource_name);
    // For a machine that a restore has changed behind the cluster's back.
    void RefreshVMConfig(const std::wstring& resource_name);

private:
    const std::shared_ptr<win::rpc::CRpcClientBase> client_;
};

}  // namespace impl
