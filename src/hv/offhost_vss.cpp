#include "hv/offhost_vss.h"

#include "hv/full_paths.h"
#include "hv/operation.h"
#include "rpc/commands/hv_snapshots.h"

namespace impl {
namespace {

constexpr wchar_t task_name[] = L"snapshot import";

constexpr hv::operation_t importing{
    .start = "Sending request to import VSS snapshot. Proxy: '%1'.",
    .failure = "Failed to send request to import VSS snapshot. Host: '%1'.",
    .done = "Request to import VSS snapshot was sent to host '%1'.",
};
// The two forms word their failure differently.
constexpr hv::operation_t importing_for_job{
    .start = "Sending request to import VSS snapshot. Proxy: '%1'. Job: '%2'.",
    .failure = "Failed to send request to import VSS snapshot. Proxy host: '%1'.",
    .done = importing.done,
};
constexpr hv::operation_t matching{
    .start = "Getting snapshot ID by snapshot import task ID '%1'.",
    .failure = "Failed to obtain snapshot ID by snapshot import task ID '%1'. Proxy: '%2'.",
};
constexpr hv::operation_t converting{
    .start = "Getting shadow paths for backups items. Proxy: '%1'. Files: '%2'.",
    .failure = "Failed to obtain shadow paths for backup items. Proxy: '%1'.",
    .done = "Shadow paths were received.",
};
constexpr hv::operation_t closing{
    .start = "Closing off-host VSS snapshot. Snapshot ID '%1'. Proxy: '%2'.",
    .failure = "Failed to close snapshot with ID '%1'. Proxy: '%2'.",
    .done = "Off-host snapshot '%1' was closed.",
};

std::wstring convert(win::rpc::CRpcClientBase& client, const GUID& snapshot_id, const std::wstring& paths_xml) {
    win::rpc::CHvConvertOffhostPathsMethod command(snapshot_id, paths_xml);
    client.Call(command);
    return command.files_xml();
}

}  // namespace

void CKorvaHvOffhostVss::BeginSnapshotImport(const std::wstring& backup_document, const std::wstring& snapshot_ids,
                                             const hand_over_t<CKorvaHvAsyncOp>& hand_over) {
    hv::run(importing, {client_->host()}, [&] {
        win::rpc::CHvBeginSnapshotImportMethod command(backup_document, snapshot_ids);
        client_->Call(command);
        hand_over(std::make_shared<CKorvaHvAsyncOp>(task_name, client_, command.operation()));
    });
}

void CKorvaHvOffhostVss::BeginSnapshotImportEx(const std::wstring& backup_document, const std::wstring& snapshot_ids,
                                               const std::wstring& job_name, const std::wstring& backup_console,
                                               const hand_over_t<CKorvaHvAsyncOp>& hand_over) {
    hv::run(importing_for_job, {client_->host(), job_name}, [&] {
        win::rpc::CHvBeginSnapshotImportExMethod command(backup_document, snapshot_ids, job_name, backup_console);
        client_->Call(command);
        hand_over(std::make_shared<CKorvaHvAsyncOp>(task_name, client_, command.operation()));
    });
}

GUID CKorvaHvOffhostVss::GetSnapshotIDByOperationID(const GUID& operation_id) {
    return hv::run(matching, {operation_id, client_->host()}, [&] {
        win::rpc::CHvGetSnapshotIDByOperationIDMethod command(operation_id);
        client_->Call(command);
        logging::info("Snapshot ID: '%1'", command.snapshot());
        return command.snapshot();
    });
}

std::vector<std::wstring> CKorvaHvOffhostVss::ConvertOffhostPaths(const GUID& snapshot_id, const std::wstring& paths_xml) {
    return hv::run(converting, {client_->host(), paths_xml},
                   [&] { return hv::full_paths(convert(*client_, snapshot_id, paths_xml)); });
}

std::wstring CKorvaHvOffhostVss::ConvertOffhostPathsToXml(const GUID& snapshot_id, const std::wstring& paths_xml) {
    return hv::run(converting, {client_->host(), paths_xml}, [&] { return convert(*client_, snapshot_id, paths_xml); });
}

void CKorvaHvOffhostVss::CloseSnapshot(const GUID& snapshot_id) {
    hv::run(closing, {snapshot_id, client_->host()}, [&] {
        win::rpc::CHvCloseSnapshotMethod command(snapshot_id);
        client_->Call(command);
    });
}

}  // namespace impl
