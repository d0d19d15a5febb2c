#include "rpc/commands/hv_vss.h"

#include "rpc/remote_call.h"
#include "rpc/reply_list.h"
#include "stubs/hv_integration.h"

namespace win::rpc {

rpc_call_result_t CHvVssEnumProvidersMethod::DoCall(binding_t binding) {
    return remote_call(::HvVssEnumProviders, binding, out(providers_));
}

std::vector<vss_provider_t> CHvVssEnumProvidersMethod::providers() const {
    const hv_provider_list_t& list = required(providers_);
    check_list(list.entries, entries_of(list).size(), list.count);
    std::vector<vss_provider_t> providers;
    for (const hv_provider_t& entry : entries_of(list).first(list.count))
        providers.push_back({entry.id, text_of(entry.name), entry.type, text_of(entry.version), entry.version_id});
    return providers;
}

rpc_call_result_t CHvVssIsVolumesSupportedMethod::DoCall(binding_t binding) {
    std::vector<hv_volume_t> volumes;
    for (const volume_request_t& volume : volumes_)
        volumes.push_back({in_text(volume.name), volume.provider_id});
    return remote_call(::HvVssIsVolumesSupported, binding, static_cast<ULONG>(volumes.size()),
                       in_array(std::span<const hv_volume_t>(volumes)), out(answer_xml_));
}

rpc_call_result_t CHvVssCollectWriterDocMethod::DoCall(binding_t binding) {
    return remote_call(::HvVssCollectWriterDoc, binding, out(document_));
}

}  // namespace win::rpc
