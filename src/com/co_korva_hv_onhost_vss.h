#pragma once

#include "KorvaProxyClient.h"
#include "com/com_object.h"
#include "hv/onhost_vss.h"

namespace com {

class CCoKorvaHvOnhostVss final : public com_object<IKorvaHvOnhostVss, impl::CKorvaHvOnhostVss> {
public:
    using com_object::com_object;

    STDMETHODIMP BeginSnapshotCreation(BSTR specification, IKorvaHvAsyncOp** value) override;
    STDMETHODIMP GetSnapshotByOpID(GUID operation_id, IKorvaHvVssSnapshot** value) override;
    STDMETHODIMP CloseSnapshot(GUID snapshot_id) override;
    STDMETHODIMP BeginSnapshotCreationEx(BSTR specification, BSTR job_name, BSTR backup_console,
                                         IKorvaHvAsyncOp** value) override;
};

}  // namespace com
