#pragma once

#include <string>

#include "rpc/method.h"
#include "rpc/reply_records.h"
#include "rpc/values.h"

// Commands of the Hyper-V integration service around snapshots and asynchronous operations.
namespace win::rpc {

class CHvTestConnectionMethod final : public CRpcMethodBase {
public:
    CHvTestConnectionMethod() : CRpcMethodBase(command_of(service_t::hv_integration, 0)) {}
    bool CanRetry() const override { return false; }

private:
    rpc_call_result_t DoCall(binding_t binding) override;
};

class CHvGetAsyncOpStatusMethod final : public CRpcMethodBase {
public:
    explicit CHvGetAsyncOpStatusMethod(const GUID& operation)
        : CRpcMethodBase(command_of(service_t::hv_integration, 1)), operation_(operation) {}
    // Throws exc::runtime_exc_t where the reply has no record.
    async_status_t status() const;

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    GUID operation_;
    CRpcScopedBuf<hv_async_status_t> status_;
};

class CHvGetSnapshotInfoMethod final : public CRpcMethodBase {
public:
    explicit CHvGetSnapshotInfoMethod(const GUID& snapshot)
        : CRpcMethodBase(command_of(service_t::hv_integration, 2)), snapshot_(snapshot) {}
    // Throws exc::runtime_exc_t where the reply has no record.
    snapshot_info_t info() const;

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    GUID snapshot_;
    CRpcScopedBuf<hv_snapshot_info_t> info_;
};

class CHvGetVMFilesListMethod final : public CRpcMethodBase {
public:
    CHvGetVMFilesListMethod(const GUID& snapshot, std::wstring vm)
        : CRpcMethodBase(command_of(service_t::hv_integration, 3)), snapshot_(snapshot), vm_(std::move(vm)) {}
    std::wstring files_xml() const { return text_of(files_xml_.get()); }

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    GUID snapshot_;
    std::wstring vm_;
    CRpcScopedBuf<wchar_t> files_xml_;
};

class CHvSetVmBackupStatusMethod final : public CRpcMethodBase {
public:
    CHvSetVmBackupStatusMethod(const GUID& snapshot, std::wstring vm, bool ok)
        : CRpcMethodBase(command_of(service_t::hv_integration, 4)), snapshot_(snapshot), vm_(std::move(vm)), ok_(ok) {}

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    GUID snapshot_;
    std::wstring vm_;
    bool ok_;
};

class CHvBeginSnapshotCreationMethod final : public CRpcMethodBase {
public:
    explicit CHvBeginSnapshotCreationMethod(std::wstring specification)
        : CRpcMethodBase(command_of(service_t::hv_integration, 5)), specification_(std::move(specification)) {}
    const GUID& operation() const noexcept { return operation_; }

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    std::wstring specification_;
    GUID operation_{};
};

class CHvBeginSnapshotCreationExMethod final : public CRpcMethodBase {
public:
    CHvBeginSnapshotCreationExMethod(std::wstring specification, std::wstring job, std::wstring console)
        : CRpcMethodBase(command_of(service_t::hv_integration, 40)),
          specification_(std::move(specification)),
          job_(std::move(job)),
          console_(std::move(console)) {}
    const GUID& operation() const noexcept { return operation_; }

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    std::wstring specification_, job_, console_;
    GUID operation_{};
};

class CHvGetSnapshotIDByOperationIDMethod final : public CRpcMethodBase {
public:
    explicit CHvGetSnapshotIDByOperationIDMethod(const GUID& operation)
        : CRpcMethodBase(command_of(service_t::hv_integration, 6)), operation_(operation) {}
    const GUID& snapshot() const noexcept { return snapshot_; }

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    GUID operation_;
    GUID snapshot_{};
};

class CHvCloseSnapshotMethod final : public CRpcMethodBase {
public:
    explicit CHvCloseSnapshotMethod(const GUID& snapshot)
        : CRpcMethodBase(command_of(service_t::hv_integration, 7)), snapshot_(snapshot) {}

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    GUID snapshot_;
};

class CHvBeginSnapshotImportMethod final : public CRpcMethodBase {
public:
    CHvBeginSnapshotImportMethod(std::wstring backup_document, std::wstring snapshot_ids)
        : CRpcMethodBase(command_of(service_t::hv_integration, 8)),
          backup_document_(std::move(backup_document)),
          snapshot_ids_(std::move(snapshot_ids)) {}
    const GUID& operation() const noexcept { return operation_; }

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    std::wstring backup_document_, snapshot_ids_;
    GUID operation_{};
};

class CHvBeginSnapshotImportExMethod final : public CRpcMethodBase {
public:
    CHvBeginSnapshotImportExMethod(std::wstring backup_document, std::wstring snapshot_ids, std::wstring job,
                                   std::wstring console)
        : CRpcMethodBase(command_of(service_t::hv_integration, 41)),
          backup_document_(std::move(backup_document)),
          snapshot_ids_(std::move(snapshot_ids)),
          job_(std::move(job)),
          console_(std::move(console)) {}
    const GUID& operation() const noexcept { return operation_; }

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    std::wstring backup_document_, snapshot_ids_, job_, console_;
    GUID operation_{};
};

class CHvConvertOffhostPathsMethod final : public CRpcMethodBase {
public:
    CHvConvertOffhostPathsMethod(const GUID& snapshot, std::wstring paths_xml)
        : CRpcMethodBase(command_of(service_t::hv_integration, 9)), snapshot_(snapshot), paths_xml_(std::move(paths_xml)) {}
    std::wstring files_xml() const { return text_of(files_xml_.get()); }

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    GUID snapshot_;
    std::wstring paths_xml_;
    CRpcScopedBuf<wchar_t> files_xml_;
};

// Nothing sends this: an operation ID is left for the service to expire.
class CHvReleaseOperationIDMethod final : public CRpcMethodBase {
public:
    explicit CHvReleaseOperationIDMethod(const GUID& operation)
        : CRpcMethodBase(command_of(service_t::hv_integration, 10)), operation_(operation) {}

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    GUID operation_;
};

}  // namespace win::rpc
