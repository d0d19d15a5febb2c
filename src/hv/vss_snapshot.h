#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <vector>

#include "rpc/client.h"
#include "rpc/values.h"

namespace impl {

// One snapshot on a host, with its documents as they were when the object was made. The snapshot itself stays on the host when
// the object goes. Every method that talks to the host throws exc::runtime_exc_t with its own text above the error that it met.
class CKorvaHvVssSnapshot {
public:
    // Fetches the documents from the host.
    CKorvaHvVssSnapshot(std::shared_ptr<win::rpc::CRpcClientBase> client, const GUID& snapshot_id);

    const GUID& SnapshotID() const noexcept { return snapshot_id_; }
    const std::wstring& BackupDocument() const noexcept { return documents_.backup_document; }
    const std::wstring& WriterDocument() const noexcept { return documents_.writer_document; }
    // The list of snapshot identifiers by which a proxy imports the snapshot.
    const std::wstring& GetTransportableSnapshotInfo() const noexcept { return documents_.transportable_info; }

    // The machine's files inside the snapshot: the host's "FilesList" XML as it is, or the full path of each item in it.
    std::wstring BuildVmFilesXml(const std::wstring& vm_id);
    std::vector<std::wstring> EnumVmFiles(const std::wstring& vm_id);

    // Tells the host whether the machine's backup succeeded.
    void SetVmBackupStatus(const std::wstring& vm_id, bool ok);

private:
    const std::shared_ptr<win::rpc::CRpcClientBase> client_;
    const GUID snapshot_id_;
    const win::rpc::snapshot_info_t documents_;
};

}  // namespace impl
