#pragma once

#include "KorvaProxyClient.h"
#include "com/com_object.h"
#include "hv/offhost_vss.h"

namespace com {

class CCoKorvaHvOffhostVss final : public com_object<IKorvaHvOffhostVss, impl::CKorvaHvOffhostVss> {
public:
    using com_object::com_object;

    STDMETHODIMP BeginSnapshotImport(BSTR backup_document, BSTR snapshot_ids, IKorvaHvAsyncOp** value) override;
    STDMETHODIMP ConvertOffhostPaths(GUID snapshot_id, BSTR paths_xml, SAFEARRAY** value) override;
    STDMETHODIMP GetSnapshotIDByOperationID(GUID operation_id, GUID* value) override;
    STDMETHODIMP CloseSnapshot(GUID snapshot_id) override;
    STDMETHODIMP BeginSnapshotImportEx(BSTR backup_document, BSTR snapshot_ids, BSTR job_name, BSTR backup_console,
                                       IKorvaHvAsyncOp** value) override;
    STDMETHODIMP ConvertOffhostPathsToXml(GUID snapshot_id, BSTR paths_xml, BSTR* value) override;
};

}  // namespace com
