#include "com/co_korva_hv_onhost_vss.h"

#include "com/co_hv_async_op.h"
#include "com/co_hv_vss_snapshot.h"
#include "com/create_internal.h"
#include "foundation/automation.h"

namespace com {

STDMETHODIMP CCoKorvaHvOnhostVss::BeginSnapshotCreation(BSTR specification, IKorvaHvAsyncOp** value) {
    return guarded(out(value), [&] {
        create_within<CCoHvAsyncOp>(
            value, [&](const auto& hand_over) { impl().BeginSnapshotCreation(win::bstr_text(specification), hand_over); });
    });
}

STDMETHODIMP CCoKorvaHvOnhostVss::GetSnapshotByOpID(GUID operation_id, IKorvaHvVssSnapshot** value) {
    return guarded(out(value), [&] {
        create_within<CCoHvVssSnapshot>(value,
                                        [&](const auto& hand_over) { impl().GetSnapshotByOpID(operation_id, hand_over); });
    });
}

STDMETHODIMP CCoKorvaHvOnhostVss::CloseSnapshot(GUID snapshot_id) {
    return guarded([&] { impl().CloseSnapshot(snapshot_id); });
}

STDMETHODIMP CCoKorvaHvOnhostVss::BeginSnapshotCreationEx(BSTR specification, BSTR job_name, BSTR backup_console,
                                                          IKorvaHvAsyncOp** value) {
    return guarded(out(value), [&] {
        create_within<CCoHvAsyncOp>(value, [&](const auto& hand_over) {
            impl().BeginSnapshotCreationEx(win::bstr_text(specification), win::bstr_text(job_name),
                                           win::bstr_text(backup_console), hand_over);
        });
    });
}

}  // namespace com
