#include "com/co_korva_hv_offhost_vss.h"

#include "com/co_hv_async_op.h"
#include "com/conversions.h"
#include "com/create_internal.h"

namespace com {

STDMETHODIMP CCoKorvaHvOffhostVss::BeginSnapshotImport(BSTR backup_document, BSTR snapshot_ids, IKorvaHvAsyncOp** value) {
    return guarded(out(value), [&] {
        create_within<CCoHvAsyncOp>(value, [&](const auto& hand_over) {
            impl().BeginSnapshotImport(win::bstr_text(backup_document), win::bstr_text(snapshot_ids), hand_over);
        });
    });
}

STDMETHODIMP CCoKorvaHvOffhostVss::ConvertOffhostPaths(GUID snapshot_id, BSTR paths_xml, SAFEARRAY** value) {
    return guarded(out(value), [&] {
        *value = to_safe_array(impl().ConvertOffhostPaths(snapshot_id, win::bstr_text(paths_xml))).release();
    });
}

STDMETHODIMP CCoKorvaHvOffhostVss::GetSnapshotIDByOperationID(GUID operation_id, GUID* value) {
    return guarded(out(value), [&] { *value = impl().GetSnapshotIDByOperationID(operation_id); });
}

STDMETHODIMP CCoKorvaHvOffhostVss::CloseSnapshot(GUID snapshot_id) {
    return guarded([&] { impl().CloseSnapshot(snapshot_id); });
}

STDMETHODIMP CCoKorvaHvOffhostVss::BeginSnapshotImportEx(BSTR backup_document, BSTR snapshot_ids, BSTR job_name,
                                                         BSTR backup_console, IKorvaHvAsyncOp** value) {
    return guarded(out(value), [&] {
        create_within<CCoHvAsyncOp>(value, [&](const auto& hand_over) {
            impl().BeginSnapshotImportEx(win::bstr_text(backup_document), win::bstr_text(snapshot_ids),
                                         win::bstr_text(job_name), win::bstr_text(backup_console), hand_over);
        });
    });
}

STDMETHODIMP CCoKorvaHvOffhostVss::ConvertOffhostPathsToXml(GUID snapshot_id, BSTR paths_xml, BSTR* value) {
    return guarded(out(value),
                   [&] { *value = to_bstr(impl().ConvertOffhostPathsToXml(snapshot_id, win::bstr_text(paths_xml))); });
}

}  // namespace com
