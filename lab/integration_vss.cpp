// The integration service: VSS providers and writers.
#include "stubs/hv_integration.h"

#include "lab/serve.h"

void s_HvVssEnumProviders(handle_t, hv_provider_list_t**, rpc_call_result_t* result) {
    lab::decline(result, "HvVssEnumProviders", {});
}

void s_HvVssIsVolumesSupported(handle_t, ULONG count, const hv_volume_t*, wchar_t**, rpc_call_result_t* result) {
    lab::decline(result, "HvVssIsVolumesSupported", {{"count", count}});
}

void s_HvVssCollectWriterDoc(handle_t, wchar_t**, rpc_call_result_t* result) {
    lab::decline(result, "HvVssCollectWriterDoc", {});
}
