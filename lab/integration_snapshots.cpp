// The integration service: connection test, asynchronous operations, on-host and off-host snapshots.
#include "stubs/hv_integration.h"

#include "foundation/errors.h"
#include "lab/host_model.h"
#include "lab/serve.h"
#include "lab/snapshot_documents.h"

namespace {

// A text of a record, which may be null.
std::wstring text_or_empty(const wchar_t* text) { return text ? text : L""; }

// A list of files goes out as the model has it, unless a hostile answer stands in its place.
wchar_t* files_answer(const lab::snapshots_t& snapshots, const std::wstring& list) {
    const std::wstring answer = snapshots.files_list_answer.value_or(list);
    return answer.empty() ? nullptr : lab::copy_text(answer);
}

}  // namespace

void s_HvTestConnection(handle_t, rpc_call_result_t* result) {
    lab::serve(result, "HvTestConnection", {}, [] {});
}

void s_HvGetAsyncOpStatus(handle_t, const GUID* operation, hv_async_status_t** status, rpc_call_result_t* result) {
    lab::serve(result, "HvGetAsyncOpStatus", {{"operation", *operation}}, [&] {
        const lab::operation_status_t now = lab::host()->snapshots.refresh(*operation);
        *status = lab::allocate<hv_async_status_t>();
        (*status)->completed = now.completed;
        (*status)->succeeded = now.succeeded;
        if (!now.error.empty())
            (*status)->error = lab::copy_text(now.error);
    });
}

void s_HvGetSnapshotInfo(handle_t, const GUID* snapshot, hv_snapshot_info_t** info, rpc_call_result_t* result) {
    lab::serve(result, "HvGetSnapshotInfo", {{"snapshot", *snapshot}}, [&] {
        const auto host = lab::host();
        const lab::snapshot_t& found = host->snapshots.on_host(*snapshot);
        *info = lab::allocate<hv_snapshot_info_t>();
        if (host->snapshots.null_documents)
            return;
        (*info)->backup_document = lab::copy_text(lab::backup_document(found));
        (*info)->writer_document = lab::copy_text(lab::writer_document(found.machines));
        (*info)->transportable_info = lab::copy_text(lab::transportable_info(found));
    });
}

void s_HvGetVMFilesList(handle_t, const GUID* snapshot, const wchar_t* vm, wchar_t** files_xml, rpc_call_result_t* result) {
    lab::serve(result, "HvGetVMFilesList", {{"snapshot", *snapshot}, {"vm", vm}}, [&] {
        const auto host = lab::host();
        *files_xml = files_answer(host->snapshots, lab::files_list(host->snapshots.on_host(*snapshot), vm));
    });
}

void s_HvSetVmBackupStatus(handle_t, const GUID* snapshot, const wchar_t* vm, ULONG status, rpc_call_result_t* result) {
    lab::serve(result, "HvSetVmBackupStatus", {{"snapshot", *snapshot}, {"vm", vm}, {"status", status}},
               [&] { lab::host()->snapshots.report_backup(*snapshot, vm, status != 0); });
}

void s_HvBeginSnapshotCreation(handle_t, const wchar_t* specification, GUID* operation, rpc_call_result_t* result) {
    lab::serve(result, "HvBeginSnapshotCreation", {{"specification", specification}}, [&] {
        const auto host = lab::host();
        *operation = host->snapshots.begin_creation(host->machines, specification, L"", L"");
    });
}

void s_HvGetSnapshotIDByOperationID(handle_t, const GUID* operation, GUID* snapshot, rpc_call_result_t* result) {
    lab::serve(result, "HvGetSnapshotIDByOperationID", {{"operation", *operation}},
               [&] { *snapshot = lab::host()->snapshots.snapshot_of(*operation); });
}

void s_HvCloseSnapshot(handle_t, const GUID* snapshot, rpc_call_result_t* result) {
    lab::serve(result, "HvCloseSnapshot", {{"snapshot", *snapshot}}, [&] { lab::host()->snapshots.close(*snapshot); });
}

void s_HvBeginSnapshotImport(handle_t, const hv_import_request_t* request, GUID* operation, rpc_call_result_t* result) {
    lab::serve(result, "HvBeginSnapshotImport",
               {{"backup_document", request->backup_document}, {"snapshot_ids", request->snapshot_ids}}, [&] {
                   *operation = lab::host()->snapshots.begin_import(text_or_empty(request->backup_document),
                                                                    text_or_empty(request->snapshot_ids), L"", L"");
               });
}

void s_HvConvertOffhostPaths(handle_t, const GUID* snapshot, const wchar_t* paths_xml, wchar_t** files_xml,
                             rpc_call_result_t* result) {
    lab::serve(result, "HvConvertOffhostPaths", {{"snapshot", *snapshot}, {"paths_xml", paths_xml}}, [&] {
        const auto host = lab::host();
        *files_xml = files_answer(host->snapshots, lab::converted_list(host->snapshots.on_proxy(*snapshot), paths_xml));
    });
}

void s_HvReleaseOperationID(handle_t, const GUID* operation, rpc_call_result_t* result) {
    lab::serve(result, "HvReleaseOperationID", {{"operation", *operation}},
               [] { throw exc::runtime_exc_t("not available in this lab"); });
}

void s_HvBeginSnapshotCreationEx(handle_t, const wchar_t* specification, const wchar_t* job, const wchar_t* console,
                                 GUID* operation, rpc_call_result_t* result) {
    lab::serve(result, "HvBeginSnapshotCreationEx", {{"specification", specification}, {"job", job}, {"console", console}},
               [&] {
                   const auto host = lab::host();
                   *operation = host->snapshots.begin_creation(host->machines, specification, job, console);
               });
}

void s_HvBeginSnapshotImportEx(handle_t, const hv_import_request_t* request, const wchar_t* job, const wchar_t* console,
                               GUID* operation, rpc_call_result_t* result) {
    lab::serve(result, "HvBeginSnapshotImportEx",
               {{"backup_document", request->backup_document},
                {"snapshot_ids", request->snapshot_ids},
                {"job", job},
                {"console", console}},
               [&] {
                   *operation = lab::host()->snapshots.begin_import(text_or_empty(request->backup_document),
                                                                    text_or_empty(request->snapshot_ids), job, console);
               });
}
