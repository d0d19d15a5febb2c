// The integration service: connection test, asynchronous operations, on-host and off-host snapshots.
#include "stubs/hv_integration.h"

#include "lab/serve.h"

void s_HvTestConnection(handle_t, rpc_call_result_t* result) {
    lab::serve(result, "HvTestConnection", {}, [] {});
}

void s_HvGetAsyncOpStatus(handle_t, const GUID* operation, hv_async_status_t**, rpc_call_result_t* result) {
    lab::decline(result, "HvGetAsyncOpStatus", {{"operation", *operation}});
}

void s_HvGetSnapshotInfo(handle_t, const GUID* snapshot, hv_snapshot_info_t**, rpc_call_result_t* result) {
    lab::decline(result, "HvGetSnapshotInfo", {{"snapshot", *snapshot}});
}

void s_HvGetVMFilesList(handle_t, const GUID* snapshot, const wchar_t* vm, wchar_t**, rpc_call_result_t* result) {
    lab::decline(result, "HvGetVMFilesList", {{"snapshot", *snapshot}, {"vm", vm}});
}

void s_HvSetVmBackupStatus(handle_t, const GUID* snapshot, const wchar_t* vm, ULONG status, rpc_call_result_t* result) {
    lab::decline(result, "HvSetVmBackupStatus", {{"snapshot", *snapshot}, {"vm", vm}, {"status", status}});
}

void s_HvBeginSnapshotCreation(handle_t, const wchar_t* specification, GUID*, rpc_call_result_t* result) {
    lab::decline(result, "HvBeginSnapshotCreation", {{"specification", specification}});
}

void s_HvGetSnapshotIDByOperationID(handle_t, const GUID* operation, GUID*, rpc_call_result_t* result) {
    lab::decline(result, "HvGetSnapshotIDByOperationID", {{"operation", *operation}});
}

void s_HvCloseSnapshot(handle_t, const GUID* snapshot, rpc_call_result_t* result) {
    lab::decline(result, "HvCloseSnapshot", {{"snapshot", *snapshot}});
}

void s_HvBeginSnapshotImport(handle_t, const hv_import_request_t* request, GUID*, rpc_call_result_t* result) {
    lab::decline(result, "HvBeginSnapshotImport",
                 {{"backup_document", request->backup_document}, {"snapshot_ids", request->snapshot_ids}});
}

void s_HvConvertOffhostPaths(handle_t, const GUID* snapshot, const wchar_t* paths_xml, wchar_t**, rpc_call_result_t* result) {
    lab::decline(result, "HvConvertOffhostPaths", {{"snapshot", *snapshot}, {"paths_xml", paths_xml}});
}

void s_HvReleaseOperationID(handle_t, const GUID* operation, rpc_call_result_t* result) {
    lab::decline(result, "HvReleaseOperationID", {{"operation", *operation}});
}

void s_HvBeginSnapshotCreationEx(handle_t, const wchar_t* specification, const wchar_t* job, const wchar_t* console, GUID*,
                                 rpc_call_result_t* result) {
    lab::decline(result, "HvBeginSnapshotCreationEx", {{"specification", specification}, {"job", job}, {"console", console}});
}

void s_HvBeginSnapshotImportEx(handle_t, const hv_import_request_t* request, const wchar_t* job, const wchar_t* console, GUID*,
                               rpc_call_result_t* result) {
    lab::decline(result, "HvBeginSnapshotImportEx",
                 {{"backup_document", request->backup_document},
                  {"snapshot_ids", request->snapshot_ids},
                  {"job", job},
                  {"console", console}});
}
