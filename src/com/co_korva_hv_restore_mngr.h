#pragma once

#include "KorvaProxyClient.h"
#include "com/com_object.h"
#include "hv/restore_manager.h"

namespace com {

class CCoKorvaHvRestoreMngr final : public com_object<IKorvaHvRestoreMngr, impl::CKorvaHvRestoreMngr> {
public:
    using com_object::com_object;

    STDMETHODIMP CreateSession(GUID* pVal) override;
    STDMETHODIMP ImportConfig(GUID sessId, BSTR backupDoc, BSTR writerDoc) override;
    STDMETHODIMP PreRestore(GUID sessId, BSTR VMID, BSTR filesListXml, BSTR newDestPath) override;
    STDMETHODIMP PreRestoreEx(GUID sessId, BSTR restoreSpec) override;
    STDMETHODIMP GetRestorePathsXml(GUID sessId, BSTR* pVal) override;
    STDMETHODIMP SetRestoreStatus(GUID sessId, VARIANT_BOOL bSucceeded) override;
    STDMETHODIMP PostRestore(GUID sessId) override;
    STDMETHODIMP CloseSession(GUID sessId) override;
};

}  // namespace com
