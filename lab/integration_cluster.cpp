// The integration service: cluster volumes and clustered machines.

#include "lab/host_model.h"
#include "lab/serve.h"
#include "stubs/hv_integration.h"

void s_HvClsEnumClusterVolumes(handle_t, hv_cluster_volume_list_t** volumes, rpc_call_result_t* result) {
    lab::serve(result, "HvClsEnumClusterVolumes", {}, [&] {
        const auto model = lab::host();
        const lab::cluster_t& cluster = model->cluster;
        auto* const list = *volumes = lab::allocate<hv_cluster_volume_list_t>();
        if (cluster.volumes_missing) {
            list->count = *cluster.volumes_missing;
            return;
        }
        list->entries = lab::allocate<hv_cluster_volume_t>(cluster.volumes.size());
        for (const auto& [mount_point, is_csv] : cluster.volumes) {
            hv_cluster_volume_t& entry = list->entries[list->count++];
            entry.mount_point = lab::copy_text(mount_point);
            entry.is_csv = is_csv;
        }
    });
}

void s_HvClsGetResourceIdByName(handle_t, const wchar_t* name, wchar_t** id, rpc_call_result_t* result) {
    lab::serve(result, "HvClsGetResourceIdByName", {{"name", name}}, [&] {
        const auto model = lab::host();
        *id = lab::copy_text(model->cluster.resource(name).id);
    });
}

void s_HvClsRefreshVmConfig(handle_t, const wchar_t* name, rpc_call_result_t* result) {
    lab::serve(result, "HvClsRefreshVmConfig", {{"name", name}}, [&] {
        const auto model = lab::host();
        ++model->cluster.resource(name).refreshes;
    });
}
