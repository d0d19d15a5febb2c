#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <utility>

#include "hv/async_op.h"
#include "hv/hand_over.h"
#include "hv/vss_snapshot.h"
#include "rpc/client.h"

namespace impl {

// VSS snapshots that a Hyper-V host takes of its own volumes. The host keeps them, by their identifiers, until CloseSnapshot.
// Every method throws exc::runtime_exc_t with its own text above the error that it met.
class CKorvaHvOnhostVss {
public:
    explicit CKorvaHvOnhostVss(std::shared_ptr<win::rpc::CRpcClientBase> client) : client_(std::move(client)) {}

    // The specification is XML between the console and the host.
    void BeginSnapshotCreation(const std::wstring& specification, const hand_over_t<CKorvaHvAsyncOp>& hand_over);
    void BeginSnapshotCreationEx(const std::wstring& specification, const std::wstring& job_name,
                                 const std::wstring& backup_console, const hand_over_t<CKorvaHvAsyncOp>& hand_over);

    // The snapshot that a finished operation has made.
    void GetSnapshotByOpID(const GUID& operation_id, const hand_over_t<CKorvaHvVssSnapshot>& hand_over);
    void CloseSnapshot(const GUID& snapshot_id);

private:
    const std::shared_ptr<win::rpc::CRpcClientBase> client_;
};

}  // namespace impl
