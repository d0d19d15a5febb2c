#include "tests/hv/backup.h"
#include "tests/hv/remote_method.h"

namespace hv_tests {
namespace {

using ::testing::ElementsAre;

using method_t = remote_method_t<backup_t>;

HRESULT started(backup_t& backup, HRESULT result, win::com_ptr<IKorvaHvAsyncOp>& operation) {
    GUID id{};
    if (operation && operation->get_OperationID(&id) == S_OK)
        backup.new_id = text::guid_text(id);
    EXPECT_EQ(static_cast<bool>(operation), SUCCEEDED(result));
    return result;
}

method_t reporting(VARIANT_BOOL ok, const std::string& word) {
    const std::string id = text::narrow(vm);
    return {[ok](backup_t& backup) { return backup.snapshot->SetVmBackupStatus(bstr(vm).get(), ok); },
            {"HvSetVmBackupStatus snapshot={snapshot} vm=\"" + id + "\" status=" + (ok ? "1" : "0")},
            {"Notifying proxy VSS about finished backup of VM '" + id + "'. Backup status: '" + word + "'. Proxy: '127.0.0.1'.",
             "VSS notification was delivered."},
            {"Failed to notify proxy VSS about finished backup. VmID: '" + id + "'. Proxy: '127.0.0.1'."}};
}

const method_t methods[] = {
    {[](backup_t& backup) { return backup.integrator->TestConnection(); },
     {"HvTestConnection"},
     {"Checking whether HvIntegration service is available on '127.0.0.1:{port}'.", "Test done."},
     {"Failed to check whether HvIntegration service is available on '127.0.0.1:{port}'."}},

    {[](backup_t& backup) { return backup.operation->Refresh(); },
     {"HvGetAsyncOpStatus operation={operation}"},
     {"Refreshing task state: 'on-host snapshot'. Task ID: '{operation}'. Host: '127.0.0.1'."},
     {"Failed to refresh state of the task 'on-host snapshot'. Task ID: '{operation}'. Host: '127.0.0.1'."}},

    {[](backup_t& backup) { return backup.import->Refresh(); },
     {"HvGetAsyncOpStatus operation={import}"},
     {"Refreshing task state: 'snapshot import'. Task ID: '{import}'. Host: '127.0.0.1'."},
     {"Failed to refresh state of the task 'snapshot import'. Task ID: '{import}'. Host: '127.0.0.1'."}},

    {[](backup_t& backup) {
         win::com_ptr<IKorvaHvAsyncOp> operation;
         const HRESULT result = backup.onhost->BeginSnapshotCreation(bstr(L"<Snapshot Fail='中'/>").get(), operation.put());
         return started(backup, result, operation);
     },
     {"HvBeginSnapshotCreation specification=\"<Snapshot Fail='中'/>\""},
     {"Sending request for onhost snapshot to server '127.0.0.1'. Snapshot spec: '<Snapshot Fail='中'/>'.",
      "Request for onhost snapshot delivered to server '127.0.0.1'."},
     {"Failed to send request for onhost snapshot to server '127.0.0.1'."}},

    {[](backup_t& backup) {
         win::com_ptr<IKorvaHvAsyncOp> operation;
         const HRESULT result = backup.onhost->BeginSnapshotCreationEx(bstr(L"<Snapshot/>").get(), bstr(L"Nightly").get(),
                                                                       bstr(L"console-1").get(), operation.put());
         return started(backup, result, operation);
     },
     {R"(HvBeginSnapshotCreationEx specification="<Snapshot/>" job="Nightly" console="console-1")"},
     {"Sending request for onhost snapshot to server '127.0.0.1'. Snapshot spec: '<Snapshot/>'. Job: 'Nightly'.",
      "Snapshot task was successfully created. Host:'127.0.0.1'. Task ID: '{new}'."},
     {"Failed to send request for onhost snapshot to server '127.0.0.1'."}},

    {[](backup_t& backup) {
         win::com_ptr<IKorvaHvVssSnapshot> snapshot;
         return backup.onhost->GetSnapshotByOpID(backup.operation_id, snapshot.put());
     },
     {"HvGetSnapshotIDByOperationID operation={operation}", "HvGetSnapshotInfo snapshot={snapshot}"},
     {"Getting identifier of the snapshot ID by snapshot task ID ({operation}). Host: '127.0.0.1'.",
      "Getting backup and writer documents for snapshot '{snapshot}'. Host: '127.0.0.1'.", "VSS metadata were received.",
      "Matched snapshot ID: '{snapshot}'."},
     {"Failed to obtain snapshot ID by snapshot task ID '{operation}'."}},

    {[](backup_t& backup) {
         win::com_ptr<IKorvaHvVssSnapshot> snapshot;
         return backup.onhost->GetSnapshotByOpID(backup.operation_id, snapshot.put());
     },
     {"HvGetSnapshotIDByOperationID operation={operation}", "HvGetSnapshotInfo snapshot={snapshot}"},
     {"Getting identifier of the snapshot ID by snapshot task ID ({operation}). Host: '127.0.0.1'.",
      "Getting backup and writer documents for snapshot '{snapshot}'. Host: '127.0.0.1'.", "VSS metadata were received.",
      "Matched snapshot ID: '{snapshot}'."},
     {"Failed to obtain snapshot ID by snapshot task ID '{operation}'.",
      "Failed to obtain VSS metadata for snapshot '{snapshot}'. Host: '127.0.0.1'."},
     2,
     1},

    {[](backup_t& backup) {
         win::unique_bstr files;
         lab::host()->snapshots.files_list_answer = L"<no list";
         const HRESULT result = backup.snapshot->BuildVmFilesXml(bstr(vm).get(), files.put());
         EXPECT_EQ(win::bstr_view(files.get()), SUCCEEDED(result) ? L"<no list" : L"");
         return result;
     },
     {R"(HvGetVMFilesList snapshot={snapshot} vm="6f8d3c1e-0f5b-4a7e-9a53-0c2f5b1a9d02")"},
     {"Listing VM files (VmID: 6f8d3c1e-0f5b-4a7e-9a53-0c2f5b1a9d02). Proxy: '127.0.0.1'.", "VM listing: '<no list'."},
     {"Getting list of VM files. VmID: '6f8d3c1e-0f5b-4a7e-9a53-0c2f5b1a9d02'. Proxy: '127.0.0.1'."}},

    {[](backup_t& backup) {
         SAFEARRAY* files = nullptr;
         lab::host()->snapshots.files_list_answer = L"<FilesList/>";
         const HRESULT result = backup.snapshot->EnumVmFiles(bstr(vm).get(), &files);
         EXPECT_EQ(files != nullptr, SUCCEEDED(result));
         EXPECT_THAT(take_texts(files), ElementsAre());
         return result;
     },
     {R"(HvGetVMFilesList snapshot={snapshot} vm="6f8d3c1e-0f5b-4a7e-9a53-0c2f5b1a9d02")"},
     {"Querying proxy to list VM files (VmID: '6f8d3c1e-0f5b-4a7e-9a53-0c2f5b1a9d02').",
      "Listing VM files (VmID: 6f8d3c1e-0f5b-4a7e-9a53-0c2f5b1a9d02). Proxy: '127.0.0.1'.", "VM listing: '<FilesList/>'.",
      "Number of VM files: [0]"},
     {"Failed to list VM files. VmID: '6f8d3c1e-0f5b-4a7e-9a53-0c2f5b1a9d02'. Proxy: '127.0.0.1'.",
      "Getting list of VM files. VmID: '6f8d3c1e-0f5b-4a7e-9a53-0c2f5b1a9d02'. Proxy: '127.0.0.1'."},
     2},

    reporting(VARIANT_TRUE, "OK"),
    reporting(VARIANT_FALSE, "Fail"),

    {[](backup_t& backup) { return backup.onhost->CloseSnapshot(backup.snapshot_id); },
     {"HvCloseSnapshot snapshot={snapshot}"},
     {"Closing on-host VSS snapshot with  ID '{snapshot}'. Host: '127.0.0.1'.", "Snapshot was successfully closed."},
     {"Failed to close snapshot '{snapshot}'."}},

    {[](backup_t& backup) {
         win::com_ptr<IKorvaHvAsyncOp> operation;
         lab::host()->snapshots = {};  // a proxy that has imported nothing yet
         const HRESULT result = backup.offhost->BeginSnapshotImport(backup.document.get(), backup.ids.get(), operation.put());
         return started(backup, result, operation);
     },
     {"HvBeginSnapshotImport {exported}"},
     {"Sending request to import VSS snapshot. Proxy: '127.0.0.1'.",
      "Request to import VSS snapshot was sent to host '127.0.0.1'."},
     {"Failed to send request to import VSS snapshot. Host: '127.0.0.1'."}},

    {[](backup_t& backup) {
         win::com_ptr<IKorvaHvAsyncOp> operation;
         lab::host()->snapshots = {};
         const HRESULT result = backup.offhost->BeginSnapshotImportEx(
             backup.document.get(), backup.ids.get(), bstr(L"Ночь").get(), bstr(L"console-1").get(), operation.put());
         return started(backup, result, operation);
     },
     {R"(HvBeginSnapshotImportEx {exported} job="Ночь" console="console-1")"},
     {"Sending request to import VSS snapshot. Proxy: '127.0.0.1'. Job: 'Ночь'.",
      "Request to import VSS snapshot was sent to host '127.0.0.1'."},
     {"Failed to send request to import VSS snapshot. Proxy host: '127.0.0.1'."}},

    {[](backup_t& backup) {
         SAFEARRAY* paths = nullptr;
         const HRESULT result = backup.offhost->ConvertOffhostPaths(backup.imported_id, bstr(L"<FilesList/>").get(), &paths);
         EXPECT_EQ(paths != nullptr, SUCCEEDED(result));
         EXPECT_THAT(take_texts(paths), ElementsAre());
         return result;
     },
     {R"(HvConvertOffhostPaths snapshot={imported} paths_xml="<FilesList/>")"},
     {"Getting shadow paths for backups items. Proxy: '127.0.0.1'. Files: '<FilesList/>'.", "Shadow paths were received."},
     {"Failed to obtain shadow paths for backup items. Proxy: '127.0.0.1'."}},

    {[](backup_t& backup) {
         win::unique_bstr xml;
         lab::host()->snapshots.files_list_answer = L"<no list";
         const HRESULT result =
             backup.offhost->ConvertOffhostPathsToXml(backup.imported_id, bstr(L"<FilesList/>").get(), xml.put());
         EXPECT_EQ(win::bstr_view(xml.get()), SUCCEEDED(result) ? L"<no list" : L"") << "a malformed answer is not read";
         return result;
     },
     {R"(HvConvertOffhostPaths snapshot={imported} paths_xml="<FilesList/>")"},
     {"Getting shadow paths for backups items. Proxy: '127.0.0.1'. Files: '<FilesList/>'.", "Shadow paths were received."},
     {"Failed to obtain shadow paths for backup items. Proxy: '127.0.0.1'."}},

    {[](backup_t& backup) {
         GUID id{};
         const HRESULT result = backup.offhost->GetSnapshotIDByOperationID(backup.import_id, &id);
         EXPECT_EQ(id, SUCCEEDED(result) ? backup.imported_id : GUID{});
         return result;
     },
     {"HvGetSnapshotIDByOperationID operation={import}"},
     {"Getting snapshot ID by snapshot import task ID '{import}'.", "Snapshot ID: '{imported}'"},
     {"Failed to obtain snapshot ID by snapshot import task ID '{import}'. Proxy: '127.0.0.1'."}},

    {[](backup_t& backup) { return backup.offhost->CloseSnapshot(backup.imported_id); },
     {"HvCloseSnapshot snapshot={imported}"},
     {"Closing off-host VSS snapshot. Snapshot ID '{imported}'. Proxy: '127.0.0.1'.",
      "Off-host snapshot '{imported}' was closed."},
     {"Failed to close snapshot with ID '{imported}'. Proxy: '127.0.0.1'."}},
};

class SnapshotMethods : public session, public ::testing::WithParamInterface<method_t> {};

TEST_P(SnapshotMethods, SendLogAndFailExactlySo) {
    backup_t backup(new_integrator());
    ASSERT_NO_FATAL_FAILURE(backup.take_snapshot());
    ASSERT_NO_FATAL_FAILURE(backup.import_snapshot());
    const method_t& method = GetParam();
    play(method, backup, log_);

    const std::string& request = method.requests.front();
    const std::size_t begin = request.find("={");
    if (begin == std::string::npos || method.failing != 0)
        return;
    lab::reset();
    lines_t error = method.failure;
    const std::string id = request.substr(begin + 1, request.find('}') - begin);
    error.push_back((id == "{operation}" || id == "{import}" ? "There is no operation '" : "There is no snapshot '") + id +
                    "'.");
    EXPECT_EQ(outcome(method.call(backup)), failed(backup.filled(error))) << "the host knows nothing any more";
}
INSTANTIATE_TEST_SUITE_P(Hv, SnapshotMethods, ::testing::ValuesIn(methods));

}  // namespace
}  // namespace hv_tests
