#include "hv/vss_info.h"

#include "hv/operation.h"
#include "rpc/commands/hv_vss.h"

namespace impl {

std::vector<CVssProviderInfo> CKorvaVssInfo::VSSProviders() {
    win::rpc::CHvVssEnumProvidersMethod command;
    client_->Call(command);
    return command.providers();
}

std::wstring CKorvaVssInfo::IsVolumesSupported(std::vector<win::rpc::volume_request_t> questions) {
    win::rpc::CHvVssIsVolumesSupportedMethod command(std::move(questions));
    client_->Call(command);
    return command.answer_xml();
}

std::wstring CKorvaVssInfo::CollectHvWriterDoc() {
    constexpr hv::operation_t collecting{.start = {}, .failure = "Failed to call 'CollectWriterDoc' on server '%1'."};
    return hv::run(collecting, {client_->host()}, [&] {
        win::rpc::CHvVssCollectWriterDocMethod command;
        client_->Call(command);
        return command.document();
    });
}

}  // namespace impl
