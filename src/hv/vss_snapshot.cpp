#include "hv/vss_snapshot.h"

#include <utility>

#include "hv/full_paths.h"
#include "hv/operation.h"
#include "rpc/commands/hv_snapshots.h"

namespace impl {
namespace {

constexpr hv::operation_t fetching{
    .start = "Getting backup and writer documents for snapshot '%1'. Host: '%2'.",
    .failure = "Failed to obtain VSS metadata for snapshot '%1'. Host: '%2'.",
    .done = "VSS metadata were received.",
};
constexpr hv::operation_t listing_as_xml{
    .start = "Listing VM files (VmID: %1). Proxy: '%2'.",
    .failure = "Getting list of VM files. VmID: '%1'. Proxy: '%2'.",
};
constexpr hv::operation_t listing{
    .start = "Querying proxy to list VM files (VmID: '%1').",
    .failure = "Failed to list VM files. VmID: '%1'. Proxy: '%2'.",
};
constexpr hv::operation_t notifying{
    .start = "Notifying proxy VSS about finished backup of VM '%1'. Backup status: '%3'. Proxy: '%2'.",
    .failure = "Failed to notify proxy VSS about finished backup. VmID: '%1'. Proxy: '%2'.",
    .done = "VSS notification was delivered.",
};

win::rpc::snapshot_info_t fetch_documents(win::rpc::CRpcClientBase& client, const GUID& snapshot_id) {
    return hv::run(fetching, {snapshot_id, client.host()}, [&] {
        win::rpc::CHvGetSnapshotInfoMethod command(snapshot_id);
        client.Call(command);
        return command.info();
    });
}

}  // namespace

CKorvaHvVssSnapshot::CKorvaHvVssSnapshot(std::shared_ptr<win::rpc::CRpcClientBase> client, const GUID& snapshot_id)
    : client_(std::move(client)), snapshot_id_(snapshot_id), documents_(fetch_documents(*client_, snapshot_id)) {}

std::wstring CKorvaHvVssSnapshot::BuildVmFilesXml(const std::wstring& vm_id) {
    return hv::run(listing_as_xml, {vm_id, client_->host()}, [&] {
        win::rpc::CHvGetVMFilesListMethod command(snapshot_id_, vm_id);
        client_->Call(command);
        std::wstring files = command.files_xml();
        logging::info("VM listing: '%1'.", files);
        return files;
    });
}

std::vector<std::wstring> CKorvaHvVssSnapshot::EnumVmFiles(const std::wstring& vm_id) {
    return hv::run(listing, {vm_id, client_->host()}, [&] {
        std::vector<std::wstring> paths = hv::full_paths(BuildVmFilesXml(vm_id));
        logging::info("Number of VM files: [%1]", paths.size());
        return paths;
    });
}

void CKorvaHvVssSnapshot::SetVmBackupStatus(const std::wstring& vm_id, bool ok) {
    hv::run(notifying, {vm_id, client_->host(), ok ? "OK" : "Fail"}, [&] {
        win::rpc::CHvSetVmBackupStatusMethod command(snapshot_id_, vm_id, ok);
        client_->Call(command);
    });
}

}  // namespace impl
