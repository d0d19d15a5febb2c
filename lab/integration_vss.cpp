// The integration service: VSS providers, supported volumes, the Hyper-V writer's document.
#include <span>
#include <string>

#include "foundation/convert.h"
#include "lab/host_model.h"
#include "lab/serve.h"
#include "lab/snapshot_documents.h"
#include "lab/xml_text.h"
#include "stubs/hv_integration.h"

namespace {

std::wstring name_of(const hv_volume_t& volume) { return volume.name ? volume.name : L""; }

}  // namespace

void s_HvVssEnumProviders(handle_t, hv_provider_list_t** providers, rpc_call_result_t* result) {
    lab::serve(result, "HvVssEnumProviders", {}, [&] {
        const auto model = lab::host();
        const lab::vss_t& vss = model->vss;
        auto* const list = *providers = lab::allocate<hv_provider_list_t>();
        if (vss.providers_missing) {
            list->count = *vss.providers_missing;
            return;
        }
        list->entries = lab::allocate<hv_provider_t>(vss.providers.size());
        for (const lab::vss_provider_t& provider : vss.providers) {
            hv_provider_t& entry = list->entries[list->count++];
            entry.id = provider.id;
            entry.name = lab::copy_text(provider.name);
            entry.type = provider.type;
            entry.version = lab::copy_text(provider.version);
            entry.version_id = provider.version_id;
        }
    });
}

// Answers <Volumes><Volume Name="..." ProviderID="..." Supported="true"/>...</Volumes>, one for each question, in their order.
void s_HvVssIsVolumesSupported(handle_t, ULONG count, const hv_volume_t* volumes, wchar_t** answer_xml,
                               rpc_call_result_t* result) {
    const std::span questions(volumes, count);
    std::wstring asked;
    for (const hv_volume_t& volume : questions)
        asked += (asked.empty() ? L"" : L"; ") + name_of(volume) + L" by " + text::widen(text::guid_text(volume.provider_id));
    lab::serve(result, "HvVssIsVolumesSupported", {{"count", count}, {"volumes", asked.c_str()}}, [&] {
        const auto model = lab::host();
        std::wstring xml = L"<Volumes>";
        for (const hv_volume_t& volume : questions)
            xml += L"<Volume" + lab::attribute_text(L"Name", name_of(volume)) +
                   lab::attribute_text(L"ProviderID", volume.provider_id) +
                   lab::attribute_text(L"Supported",
                                       model->vss.supports(name_of(volume), volume.provider_id) ? L"true" : L"false") +
                   L"/>";
        *answer_xml = lab::copy_text(model->vss.volumes_answer.value_or(xml + L"</Volumes>"));
    });
}

void s_HvVssCollectWriterDoc(handle_t, wchar_t** document, rpc_call_result_t* result) {
    lab::serve(result, "HvVssCollectWriterDoc", {}, [&] {
        const auto model = lab::host();
        *document = lab::copy_text(model->vss.document.value_or(lab::writer_document(model->machines)));
    });
}
