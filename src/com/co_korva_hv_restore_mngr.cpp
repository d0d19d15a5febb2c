#include "com/co_korva_hv_restore_mngr.h"

#include "com/conversions.h"

namespace com {

STDMETHODIMP CCoKorvaHvRestoreMngr::CreateSession(GUID* pVal) {
    return guarded(out(pVal), [&] { *pVal = impl().CreateSession(); });
}

STDMETHODIMP CCoKorvaHvRestoreMngr::ImportConfig(GUID sessId, BSTR backupDoc, BSTR writerDoc) {
    return guarded([&] { impl().ImportConfig(sessId, win::bstr_text(backupDoc), win::bstr_text(writerDoc)); });
}

STDMETHODIMP CCoKorvaHvRestoreMngr::PreRestore(GUID sessId, BSTR VMID, BSTR filesListXml, BSTR newDestPath) {
    return guarded(
        [&] { impl().PreRestore(sessId, win::bstr_text(VMID), win::bstr_text(filesListXml), win::bstr_text(newDestPath)); });
}

STDMETHODIMP CCoKorvaHvRestoreMngr::PreRestoreEx(GUID sessId, BSTR restoreSpec) {
    return guarded([&] { impl().PreRestoreEx(sessId, win::bstr_text(restoreSpec)); });
}

STDMETHODIMP CCoKorvaHvRestoreMngr::GetRestorePathsXml(GUID sessId, BSTR* pVal) {
    return guarded(out(pVal), [&] { *pVal = to_bstr(impl().GetRestorePathsXml(sessId)); });
}

STDMETHODIMP CCoKorvaHvRestoreMngr::SetRestoreStatus(GUID sessId, VARIANT_BOOL bSucceeded) {
    return guarded([&] { impl().SetRestoreStatus(sessId, bSucceeded != VARIANT_FALSE); });
}

STDMETHODIMP CCoKorvaHvRestoreMngr::PostRestore(GUID sessId) {
    return guarded([&] { impl().PostRestore(sessId); });
}

STDMETHODIMP CCoKorvaHvRestoreMngr::CloseSession(GUID sessId) {
    return guarded([&] { impl().CloseSession(sessId); });
}

}  // namespace com
