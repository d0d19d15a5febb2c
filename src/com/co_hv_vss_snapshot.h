#pragma once

#include "KorvaProxyClient.h"
#include "com/com_object.h"
#include "hv/vss_snapshot.h"

namespace com {

class CCoHvVssSnapshot final : public com_object<IKorvaHvVssSnapshot, impl::CKorvaHvVssSnapshot> {
public:
    using com_object::com_object;

    STDMETHODIMP get_SnapshotID(GUID* value) override;
    STDMETHODIMP get_BackupDocument(BSTR* value) override;
    STDMETHODIMP get_WriterDocument(BSTR* value) override;
    STDMETHODIMP BuildVmFilesXml(BSTR vm_id, BSTR* value) override;
    STDMETHODIMP EnumVmFiles(BSTR vm_id, SAFEARRAY** value) override;
    STDMETHODIMP GetTransportableSnapshotInfo(BSTR* value) override;
    STDMETHODIMP SetVmBackupStatus(BSTR vm_id, VARIANT_BOOL ok) override;
};

}  // namespace com
