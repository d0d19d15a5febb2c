#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "hv/async_op.h"
#include "hv/hand_over.h"
#include "rpc/client.h"

namespace impl {

// Transportable VSS snapshots of a Hyper-V host, imported on a backup proxy. The proxy keeps them, by their identifiers, until
// CloseSnapshot, and rejects what comes out of order. Every method throws exc::runtime_exc_t with its own text above the error
// that it met.
class CKorvaHvOffhostVss {
public:
    explicit CKorvaHvOffhostVss(std::shared_ptr<win::rpc::CRpcClientBase> client) : client_(std::move(client)) {}

    // Both texts are the host's: the snapshot's backup document and its transportable snapshot information.
    void BeginSnapshotImport(const std::wstring& backup_document, const std::wstring& snapshot_ids,
                             const hand_over_t<CKorvaHvAsyncOp>& hand_over);
    void BeginSnapshotImportEx(const std::wstring& backup_document, const std::wstring& snapshot_ids,
                               const std::wstring& job_name, const std::wstring& backup_console,
                               const hand_over_t<CKorvaHvAsyncOp>& hand_over);

    // The imported snapshot of a finished operation.
    GUID GetSnapshotIDByOperationID(const GUID& operation_id);

    // Paths of the host as paths inside the imported snapshot: the full path of each item, or the proxy's XML as it is.
    std::vector<std::wstring> ConvertOffhostPaths(const GUID& snapshot_id, const std::wstring& paths_xml);
    std::wstring ConvertOffhostPathsToXml(const GUID& snapshot_id, const std::wstring& paths_xml);

    void CloseSnapshot(const GUID& snapshot_id);

private:
    const std::shared_ptr<win::rpc::CRpcClientBase> client_;
};

}  // namespace impl
