#include "com/co_hv_vss_snapshot.h"

#include "com/conversions.h"

namespace com {

STDMETHODIMP CCoHvVssSnapshot::get_SnapshotID(GUID* value) {
    return guarded(out(value), [&] { *value = impl().SnapshotID(); });
}

STDMETHODIMP CCoHvVssSnapshot::get_BackupDocument(BSTR* value) {
    return guarded(out(value), [&] { *value = to_bstr(impl().BackupDocument()); });
}

STDMETHODIMP CCoHvVssSnapshot::get_WriterDocument(BSTR* value) {
    return guarded(out(value), [&] { *value = to_bstr(impl().WriterDocument()); });
}

STDMETHODIMP CCoHvVssSnapshot::BuildVmFilesXml(BSTR vm_id, BSTR* value) {
    return guarded(out(value), [&] { *value = to_bstr(impl().BuildVmFilesXml(win::bstr_text(vm_id))); });
}

STDMETHODIMP CCoHvVssSnapshot::EnumVmFiles(BSTR vm_id, SAFEARRAY** value) {
    return guarded(out(value), [&] { *value = to_safe_array(impl().EnumVmFiles(win::bstr_text(vm_id))).release(); });
}

STDMETHODIMP CCoHvVssSnapshot::GetTransportableSnapshotInfo(BSTR* value) {
    return guarded(out(value), [&] { *value = to_bstr(impl().GetTransportableSnapshotInfo()); });
}

STDMETHODIMP CCoHvVssSnapshot::SetVmBackupStatus(BSTR vm_id, VARIANT_BOOL ok) {
    return guarded([&] { impl().SetVmBackupStatus(win::bstr_text(vm_id), ok != VARIANT_FALSE); });
}

}  // namespace com
