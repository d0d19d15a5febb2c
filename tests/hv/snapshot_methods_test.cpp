#include "tests/hv/backup.h"
#include "tests/hv/remote_method.h"

namespace hv_tests {
namespace {

using method_t = remote_method_t<backup_t>;

template <class Getter>
HRESULT gives_no_texts(Getter getter) {
    SAFEARRAY* texts = nullptr;
    const HRESULT result = getter(&texts);
    EXPECT_EQ(texts != nullptr, SUCCEEDED(result)) << "empty is not null";
    EXPECT_EQ(take_texts(texts).size(), 0u);
    return result;
}

method_t reporting(VARIANT_BOOL ok, const std::string& word) {
    return {[ok](backup_t& backup) { return backup.snapshot->SetVmBackupStatus(bstr(vm).get(), ok); },
            {R"(HvSetVmBackupStatus snapshot={snapshot} vm="{vm}" status=)" + std::string(ok ? "1" : "0")},
            {"Notifying proxy VSS about finished backup of VM '{vm}'. Backup status: '" + word + "'. Proxy: '127.0.0.1'.",
             "VSS notification was delivered."},
            {"Failed to notify proxy VSS about finished backup. VmID: '{vm}'. Proxy: '127.0.0.1'."}};
}

// The first of its requests fails, or the second.
method_t matching(std::size_t failing) {
    lines_t failure{"Failed to obtain snapshot ID by snapshot task ID '{operation}'."};
    if (failing == 1)
        failure.push_back("Failed to obtain VSS metadata for snapshot '{snapshot}'. Host: '127.0.0.1'.");
    return {[](backup_t& backup) {
                return backup.onhost->GetSnapshotByOpID(backup.operation_id, win::com_ptr<IKorvaHvVssSnapshot>().put());
            },
            {"HvGetSnapshotIDByOperationID operation={operation}", "HvGetSnapshotInfo snapshot={snapshot}"},
            {"Getting identifier of the snapshot ID by snapshot task ID ({operation}). Host: '127.0.0.1'.",
             "Getting backup and writer documents for snapshot '{snapshot}'. Host: '127.0.0.1'.", "VSS metadata were received.",
             "Matched snapshot ID: '{snapshot}'."},
            failure,
            failing + 1,
            failing};
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
         return backup.begun(backup.onhost->BeginSnapshotCreation(bstr(L"<Snapshot Fail='中'/>").get(), backup.latest.put()));
     },
     {"HvBeginSnapshotCreation specification=\"<Snapshot Fail='中'/>\""},
     {"Sending request for onhost snapshot to server '127.0.0.1'. Snapshot spec: '<Snapshot Fail='中'/>'.",
      "Request for onhost snapshot delivered to server '127.0.0.1'."},
     {"Failed to send request for onhost snapshot to server '127.0.0.1'."}},

    {[](backup_t& backup) {
         return backup.begun(backup.onhost->BeginSnapshotCreationEx(bstr(L"<Snapshot/>").get(), bstr(L"Nightly").get(),
                                                                    bstr(L"console-1").get(), backup.latest.put()));
     },
     {R"(HvBeginSnapshotCreationEx specification="<Snapshot/>" job="Nightly" console="console-1")"},
     {"Sending request for onhost snapshot to server '127.0.0.1'. Snapshot spec: '<Snapshot/>'. Job: 'Nightly'.",
      "Snapshot task was successfully created. Host:'127.0.0.1'. Task ID: '{latest}'."},
     {"Failed to send request for onhost snapshot to server '127.0.0.1'."}},

    matching(0),
    matching(1),

    {[](backup_t& backup) {
         lab::host()->snapshots.files_list_answer = L"<no list";
         return gives_text(L"<no list", [&](BSTR* files) { return backup.snapshot->BuildVmFilesXml(bstr(vm).get(), files); });
     },
     {R"(HvGetVMFilesList snapshot={snapshot} vm="{vm}")"},
     {"Listing VM files (VmID: {vm}). Proxy: '127.0.0.1'.", "VM listing: '<no list'."},
     {"Getting list of VM files. VmID: '{vm}'. Proxy: '127.0.0.1'."}},

    {[](backup_t& backup) {
         lab::host()->snapshots.files_list_answer = L"<FilesList/>";
         return gives_no_texts([&](SAFEARRAY** files) { return backup.snapshot->EnumVmFiles(bstr(vm).get(), files); });
     },
     {R"(HvGetVMFilesList snapshot={snapshot} vm="{vm}")"},
     {"Querying proxy to list VM files (VmID: '{vm}').", "Listing VM files (VmID: {vm}). Proxy: '127.0.0.1'.",
      "VM listing: '<FilesList/>'.", "Number of VM files: [0]"},
     {"Failed to list VM files. VmID: '{vm}'. Proxy: '127.0.0.1'.",
      "Getting list of VM files. VmID: '{vm}'. Proxy: '127.0.0.1'."},
     2},

    reporting(VARIANT_TRUE, "OK"),
    reporting(VARIANT_FALSE, "Fail"),

    {[](backup_t& backup) { return backup.onhost->CloseSnapshot(backup.snapshot_id); },
     {"HvCloseSnapshot snapshot={snapshot}"},
     {"Closing on-host VSS snapshot with  ID '{snapshot}'. Host: '127.0.0.1'.", "Snapshot was successfully closed."},
     {"Failed to close snapshot '{snapshot}'."}},

    {[](backup_t& backup) {
         lab::host()->snapshots = {};  // a proxy that has imported nothing yet
         return backup.begun(backup.offhost->BeginSnapshotImport(backup.document.get(), backup.ids.get(), backup.latest.put()));
     },
     {"HvBeginSnapshotImport {exported}"},
     {"Sending request to import VSS snapshot. Proxy: '127.0.0.1'.",
      "Request to import VSS snapshot was sent to host '127.0.0.1'."},
     {"Failed to send request to import VSS snapshot. Host: '127.0.0.1'."}},

    {[](backup_t& backup) {
         lab::host()->snapshots = {};
         return backup.begun(backup.offhost->BeginSnapshotImportEx(backup.document.get(), backup.ids.get(), bstr(L"Ночь").get(),
                                                                   bstr(L"console-1").get(), backup.latest.put()));
     },
     {R"(HvBeginSnapshotImportEx {exported} job="Ночь" console="console-1")"},
     {"Sending request to import VSS snapshot. Proxy: '127.0.0.1'. Job: 'Ночь'.",
      "Request to import VSS snapshot was sent to host '127.0.0.1'."},
     {"Failed to send request to import VSS snapshot. Proxy host: '127.0.0.1'."}},

    {[](backup_t& backup) {
         return gives_no_texts([&](SAFEARRAY** paths) {
             return backup.offhost->ConvertOffhostPaths(backup.imported_id, bstr(L"<FilesList/>").get(), paths);
         });
     },
     {R"(HvConvertOffhostPaths snapshot={imported} paths_xml="<FilesList/>")"},
     {"Getting shadow paths for backups items. Proxy: '127.0.0.1'. Files: '<FilesList/>'.", "Shadow paths were received."},
     {"Failed to obtain shadow paths for backup items. Proxy: '127.0.0.1'."}},

    // A malformed answer is not read.
    {[](backup_t& backup) {
         lab::host()->snapshots.files_list_answer = L"<no list";
         return gives_text(L"<no list", [&](BSTR* paths) {
             return backup.offhost->ConvertOffhostPathsToXml(backup.imported_id, bstr(L"<FilesList/>").get(), paths);
         });
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
    play(GetParam(), backup, log_);
}
INSTANTIATE_TEST_SUITE_P(Hv, SnapshotMethods, ::testing::ValuesIn(methods));

}  // namespace
}  // namespace hv_tests
