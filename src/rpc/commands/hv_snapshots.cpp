#include "rpc/commands/hv_snapshots.h"

#include "rpc/remote_call.h"
#include "stubs/hv_integration.h"

namespace win::rpc {

rpc_call_result_t CHvTestConnectionMethod::DoCall(binding_t binding) { return remote_call(::HvTestConnection, binding); }

rpc_call_result_t CHvGetAsyncOpStatusMethod::DoCall(binding_t binding) {
    return remote_call(::HvGetAsyncOpStatus, binding, &operation_, out(status_));
}

async_status_t CHvGetAsyncOpStatusMethod::status() const {
    const hv_async_status_t& record = required(status_);
    return {record.completed != 0, record.succeeded != 0, text_of(record.error)};
}

rpc_call_result_t CHvGetSnapshotInfoMethod::DoCall(binding_t binding) {
    return remote_call(::HvGetSnapshotInfo, binding, &snapshot_, out(info_));
}

snapshot_info_t CHvGetSnapshotInfoMethod::info() const {
    const hv_snapshot_info_t& record = required(info_);
    return {text_of(record.backup_document), text_of(record.writer_document), text_of(record.transportable_info)};
}

rpc_call_result_t CHvGetVMFilesListMethod::DoCall(binding_t binding) {
    return remote_call(::HvGetVMFilesList, binding, &snapshot_, in_text(vm_), out(files_xml_));
}

rpc_call_result_t CHvSetVmBackupStatusMethod::DoCall(binding_t binding) {
    return remote_call(::HvSetVmBackupStatus, binding, &snapshot_, in_text(vm_), ok_ ? 1 : 0);
}

rpc_call_result_t CHvBeginSnapshotCreationMethod::DoCall(binding_t binding) {
    return remote_call(::HvBeginSnapshotCreation, binding, in_text(specification_), out(operation_));
}

rpc_call_result_t CHvBeginSnapshotCreationExMethod::DoCall(binding_t binding) {
    return remote_call(::HvBeginSnapshotCreationEx, binding, in_text(specification_), in_text(job_), in_text(console_),
                       out(operation_));
}

rpc_call_result_t CHvGetSnapshotIDByOperationIDMethod::DoCall(binding_t binding) {
    return remote_call(::HvGetSnapshotIDByOperationID, binding, &operation_, out(snapshot_));
}

rpc_call_result_t CHvCloseSnapshotMethod::DoCall(binding_t binding) {
    return remote_call(::HvCloseSnapshot, binding, &snapshot_);
}

rpc_call_result_t CHvBeginSnapshotImportMethod::DoCall(binding_t binding) {
    const hv_import_request_t request{in_text(backup_document_), in_text(snapshot_ids_)};
    return remote_call(::HvBeginSnapshotImport, binding, &request, out(operation_));
}

rpc_call_result_t CHvBeginSnapshotImportExMethod::DoCall(binding_t binding) {
    const hv_import_request_t request{in_text(backup_document_), in_text(snapshot_ids_)};
    return remote_call(::HvBeginSnapshotImportEx, binding, &request, in_text(job_), in_text(console_), out(operation_));
}

rpc_call_result_t CHvConvertOffhostPathsMethod::DoCall(binding_t binding) {
    return remote_call(::HvConvertOffhostPaths, binding, &snapshot_, in_text(paths_xml_), out(files_xml_));
}

rpc_call_result_t CHvReleaseOperationIDMethod::DoCall(binding_t binding) {
    return remote_call(::HvReleaseOperationID, binding, &operation_);
}

}  // namespace win::rpc
