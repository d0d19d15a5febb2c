#include "rpc/commands/hv_restore.h"

#include "rpc/remote_call.h"
#include "stubs/hv_integration.h"

namespace win::rpc {

rpc_call_result_t CHvCreateRestoreSessionMethod::DoCall(binding_t binding) {
    return remote_call(::CreateRestoreSession, binding, out(session_));
}

rpc_call_result_t CHvImportConfig::DoCall(binding_t binding) {
    return remote_call(::HvImportConfig, binding, &session_, in_text(backup_document_), in_text(writer_document_));
}

rpc_call_result_t CHvPreRestoreMethod::DoCall(binding_t binding) {
    return remote_call(::HvPreRestore, binding, &session_, in_text(vm_), in_text(files_xml_), in_text(new_path_));
}

rpc_call_result_t CHvPreRestoreExMethod::DoCall(binding_t binding) {
    return remote_call(::HvPreRestoreEx, binding, &session_, in_text(specification_));
}

rpc_call_result_t CHvGetRestorePathsMethod::DoCall(binding_t binding) {
    return remote_call(::HvGetRestorePaths, binding, &session_, out(paths_xml_));
}

rpc_call_result_t CHvSetRestoreStatusMethod::DoCall(binding_t binding) {
    return remote_call(::HvSetRestoreStatus, binding, &session_, succeeded_ ? 1 : 0);
}

rpc_call_result_t CHvPostRestoreMethod::DoCall(binding_t binding) { return remote_call(::HvPostRestore, binding, &session_); }

rpc_call_result_t CHvCloseRestoreSessionMethod::DoCall(binding_t binding) {
    return remote_call(::HvCloseRestoreSession, binding, &session_);
}

}  // namespace win::rpc
