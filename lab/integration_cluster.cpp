// The integration service: cluster volumes.
#include "stubs/hv_integration.h"

#include "lab/serve.h"

void s_HvClsEnumClusterVolumes(handle_t, hv_cluster_volume_list_t**, rpc_call_result_t* result) {
    lab::decline(result, "HvClsEnumClusterVolumes", {});
}

void s_HvClsGetResourceIdByName(handle_t, const wchar_t* name, wchar_t**, rpc_call_result_t* result) {
    lab::decline(result, "HvClsGetResourceIdByName", {{"name", name}});
}

void s_HvClsRefreshVmConfig(handle_t, const wchar_t* name, rpc_call_result_t* result) {
    lab::decline(result, "HvClsRefreshVmConfig", {{"name", name}});
}
