#include "hv/cluster_manager.h"

#include "logging/write.h"
#include "rpc/commands/hv_cluster.h"

namespace impl {

CKorvaHvClusterManager::CKorvaHvClusterManager(std::shared_ptr<win::rpc::CRpcClientBase> client) : client_(std::move(client)) {
    logging::info("[HvCls]: CKorvaHvClusterManager::CKorvaHvClusterManager");
}

std::shared_ptr<CEnumClusterVolumes> CKorvaHvClusterManager::ClusterVolumes() {
    logging::info("[HvCls]: Enumerating cluster volumes");
    win::rpc::CHvClsEnumClusterVolumesMethod command;
    client_->Call(command);
    return std::make_shared<CEnumClusterVolumes>(command.volumes(), cluster_volumes_texts);
}

std::wstring CKorvaHvClusterManager::GetResourceIDByName(const std::wstring& resource_name) {
    logging::info("[HvCls]: Get resource id by name. Name: [%1]", resource_name);
    win::rpc::CHvClsGetResourceIdByNameMethod command(resource_name);
    client_->Call(command);
    return command.id();
}

void CKorvaHvClusterManager::RefreshVMConfig(const std::wstring& resource_name) {
    logging::info("[HvCls]: Refreshing vm config. ResName: [%1]", resource_name);
    win::rpc::CHvClsRefreshVmConfigMethod command(resource_name);
    client_->Call(command);
}

}  // namespace impl
