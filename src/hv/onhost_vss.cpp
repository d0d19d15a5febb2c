#include "hv/onhost_vss.h"

#include "hv/operation.h"
#include "rpc/commands/hv_snapshots.h"

namespace impl {
namespace {

constexpr wchar_t task_name[] = L"on-host snapshot";

constexpr hv::operation_t requesting{
    .start = "Sending request for onhost snapshot to server '%1'. Snapshot spec: '%2'.",
    .failure = "Failed to send request for onhost snapshot to server '%1'.",
    .done = "Request for onhost snapshot delivered to server '%1'.",
};
constexpr hv::operation_t requesting_for_job{
    .start = "Sending request for onhost snapshot to server '%1'. Snapshot spec: '%2'. Job: '%3'.",
    .failure = requesting.failure,
};
constexpr hv::operation_t matching{
    .start = "Getting identifier of the snapshot ID by snapshot task ID (%1). Host: '%2'.",
    .failure = "Failed to obtain snapshot ID by snapshot task ID '%1'.",
};
constexpr hv::operation_t closing{
    .start = "Closing on-host VSS snapshot with  ID '%1'. Host: '%2'.",
    .failure = "Failed to close snapshot '%1'.",
    .done = "Snapshot was successfully closed.",
};

}  // namespace

void CKorvaHvOnhostVss::BeginSnapshotCreation(const std::wstring& specification,
                                              const hand_over_t<CKorvaHvAsyncOp>& hand_over) {
    hv::run(requesting, {client_->host(), specification}, [&] {
        win::rpc::CHvBeginSnapshotCreationMethod command(specification);
        client_->Call(command);
        hand_over(std::make_shared<CKorvaHvAsyncOp>(task_name, client_, command.operation()));
    });
}

void CKorvaHvOnhostVss::BeginSnapshotCreationEx(const std::wstring& specification, const std::wstring& job_name,
                                                const std::wstring& backup_console,
                                                const hand_over_t<CKorvaHvAsyncOp>& hand_over) {
    const std::wstring host = client_->host();
    hv::run(requesting_for_job, {host, specification, job_name}, [&] {
        win::rpc::CHvBeginSnapshotCreationExMethod command(specification, job_name, backup_console);
        client_->Call(command);
        hand_over(std::make_shared<CKorvaHvAsyncOp>(task_name, client_, command.operation()));
        logging::info("Snapshot task was successfully created. Host:'%1'. Task ID: '%2'.", host, command.operation());
    });
}

void CKorvaHvOnhostVss::GetSnapshotByOpID(const GUID& operation_id, const hand_over_t<CKorvaHvVssSnapshot>& hand_over) {
    hv::run(matching, {operation_id, client_->host()}, [&] {
        win::rpc::CHvGetSnapshotIDByOperationIDMethod command(operation_id);
        client_->Call(command);
        hand_over(std::make_shared<CKorvaHvVssSnapshot>(client_, command.snapshot()));
        logging::info("Matched snapshot ID: '%1'.", command.snapshot());
    });
}

void CKorvaHvOnhostVss::CloseSnapshot(const GUID& snapshot_id) {
    hv::run(closing, {snapshot_id, client_->host()}, [&] {
        win::rpc::CHvCloseSnapshotMethod command(snapshot_id);
        client_->Call(command);
    });
}

}  // namespace impl
