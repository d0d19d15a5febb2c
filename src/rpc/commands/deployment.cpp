#include "rpc/commands/deployment.h"

#include "rpc/remote_call.h"
#include "stubs/deployment.h"

namespace win::rpc {

rpc_call_result_t CGetSvcVersionMethod::DoCall(binding_t binding) {
    return remote_call(::GetSvcVersion, binding, out(version_));
}

rpc_call_result_t CSureUploadFolderExistsMethod::DoCall(binding_t binding) {
    return remote_call(::SureUploadFolderExists, binding, out(folder_));
}

rpc_call_result_t CFcCreateFileMethod::DoCall(binding_t binding) {
    return remote_call(::FcCreateFile, binding, in_text(path_), desired_access_, share_mode_, creation_disposition_,
                       flags_and_attributes_, out(file_));
}

rpc_call_result_t CFcWriteFileMethod::DoCall(binding_t binding) {
    return remote_call(::FcWriteFile, binding, file_, static_cast<ULONG>(data_.size()), in_array(data_), out(written_));
}

rpc_call_result_t CFcCloseFileMethod::DoCall(binding_t binding) { return remote_call(::FcCloseFile, binding, in_out(file_)); }

rpc_call_result_t CGetSvcDllVersionMethod::DoCall(binding_t binding) {
    return remote_call(::GetSvcDllVersion, binding, out(version_.high), out(version_.low));
}

rpc_call_result_t CUpgradeSvcDllMethod::DoCall(binding_t binding) {
    return remote_call(::UpgradeSvcDll, binding, in_text(path_));
}

}  // namespace win::rpc
