#include "rpc/commands/hv_cluster.h"

#include "rpc/remote_call.h"
#include "rpc/reply_list.h"
#include "stubs/hv_integration.h"

namespace win::rpc {

rpc_call_result_t CHvClsEnumClusterVolumesMethod::DoCall(binding_t binding) {
    return remote_call(::HvClsEnumClusterVolumes, binding, out(volumes_));
}

std::vector<cluster_volume_t> CHvClsEnumClusterVolumesMethod::volumes() const {
    const hv_cluster_volume_list_t& list = required(volumes_);
    check_list(list.entries, entries_of(list).size(), list.count);
    std::vector<cluster_volume_t> volumes;
    for (const hv_cluster_volume_t& entry : entries_of(list).first(list.count))
        volumes.push_back({text_of(entry.mount_point), entry.is_csv != 0});
    return volumes;
}

rpc_call_result_t CHvClsGetResourceIdByNameMethod::DoCall(binding_t binding) {
    return remote_call(::HvClsGetResourceIdByName, binding, in_text(name_), out(id_));
}

rpc_call_result_t CHvClsRefreshVmConfigMethod::DoCall(binding_t binding) {
    return remote_call(::HvClsRefreshVmConfig, binding, in_text(name_));
}

}  // namespace win::rpc
