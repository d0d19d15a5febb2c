#include "foundation/errors.h"
#include "hv/offhost_vss.h"
#include "hv/onhost_vss.h"
#include "lab/failures.h"
#include "tests/foundation/thrown.h"
#include "tests/hv/backup.h"

namespace hv_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// An operation: whether it is completed, whether it succeeded, why not.
using state_t = std::tuple<bool, bool, std::wstring>;
state_t state_of(IKorvaHvAsyncOp& operation) {
    return {given(operation, &IKorvaHvAsyncOp::get_IsCompleted) == VARIANT_TRUE,
            given(operation, &IKorvaHvAsyncOp::get_IsSucceeded) == VARIANT_TRUE,
            given_text(operation, &IKorvaHvAsyncOp::get_ErrDescription)};
}

class Snapshots : public session {
protected:
    backup_t backup_{new_integrator()};
};

TEST_F(Snapshots, ReadCompletedAndNotSucceededUntilTheyAreRefreshed) {
    ASSERT_NO_FATAL_FAILURE(backup_.begin(L"<Snapshot Polls='3'/>"));
    IKorvaHvAsyncOp& operation = *backup_.operation.get();
    EXPECT_EQ(state_of(operation), state_t(true, false, L""));
    for (const bool done : {false, false, true}) {
        EXPECT_EQ(outcome(operation.Refresh()), succeeded());
        EXPECT_EQ(state_of(operation), state_t(done, done, L""));
    }
    lab::set_failure("HvGetAsyncOpStatus", "busy");
    EXPECT_EQ(outcome(operation.Refresh()).lines.back(), "busy");
    EXPECT_EQ(state_of(operation), state_t(true, true, L"")) << "as it was";
    EXPECT_EQ(lab::requests().take().size(), 5u) << "the getters ask nobody";
}

TEST_F(Snapshots, TellWhyTheirWorkFailed) {
    ASSERT_NO_FATAL_FAILURE(backup_.begin(L"<Snapshot Polls='1' Fail='Запись 失败 😀'/>"));
    EXPECT_EQ(outcome(backup_.operation->Refresh()), succeeded());
    EXPECT_EQ(state_of(*backup_.operation.get()), state_t(true, false, L"Запись 失败 😀"));
    EXPECT_EQ(outcome(backup_.onhost->GetSnapshotByOpID(backup_.operation_id, backup_.snapshot.put())),
              failed(backup_.filled({"Failed to obtain snapshot ID by snapshot task ID '{operation}'.",
                                     "The operation '{operation}' has failed: Запись 失败 😀"})));
}

TEST_F(Snapshots, HoldTheirDocumentsFromTheBeginning) {
    ASSERT_NO_FATAL_FAILURE(backup_.take_snapshot());
    lab::requests().take();
    win::unique_bstr document, writers, ids, files;
    const auto read = [&] {
        EXPECT_EQ(backup_.snapshot->get_BackupDocument(document.put()), S_OK);
        EXPECT_EQ(backup_.snapshot->get_WriterDocument(writers.put()), S_OK);
        EXPECT_EQ(backup_.snapshot->GetTransportableSnapshotInfo(ids.put()), S_OK);
    };
    read();
    EXPECT_TRUE(win::bstr_view(document.get()).starts_with(L"<BackupComponents SnapshotID="));
    EXPECT_TRUE(win::bstr_view(writers.get()).starts_with(L"<WriterMetadata "));
    EXPECT_EQ(win::bstr_view(ids.get()).size(), 36u) << "one volume, one shadow copy";
    EXPECT_THAT(lab::requests().take(), IsEmpty());

    lab::host()->snapshots.null_documents = true;
    lab::host()->snapshots.files_list_answer = L"";  // sent as null
    ASSERT_NO_FATAL_FAILURE(backup_.finish_snapshot(0));
    read();
    EXPECT_EQ(outcome(backup_.snapshot->BuildVmFilesXml(bstr(vm).get(), files.put())), succeeded());
    for (const BSTR text : {document.get(), writers.get(), ids.get(), files.get()})
        EXPECT_STREQ(text, L"") << "a null string reads as empty, not as null";
}

TEST_F(Snapshots, AreReadOnTheHostAndOnTheProxyInAnyScript) {
    ASSERT_NO_FATAL_FAILURE(backup_.begin(L"<Snapshot Polls='1'/>"));
    ASSERT_NO_FATAL_FAILURE(backup_.finish_snapshot());
    ASSERT_NO_FATAL_FAILURE(backup_.import_snapshot());
    log_.clear();
    const auto expect_files = [](SAFEARRAY* files, const std::wstring& device) {
        const std::wstring folder = LR"(\\?\GLOBALROOT\Device\)" + device + LR"(\vm\отчёты\)";
        EXPECT_THAT(take_texts(files), ElementsAre(folder + L"отчёты.xml", folder + L"数据库.vhdx", folder + L"😀 & co.vhdx"));
    };
    SAFEARRAY* files = nullptr;
    ASSERT_EQ(outcome(backup_.snapshot->EnumVmFiles(bstr(all_scripts_vm).get(), &files)), succeeded());
    expect_files(files, L"HarddiskVolumeShadowCopy1");
    EXPECT_TRUE(log_.holds("\\vm\\отчёты\\数据库.vhdx"));
    EXPECT_TRUE(log_.holds("😀 &amp; "));

    win::unique_bstr list;
    ASSERT_EQ(outcome(backup_.snapshot->BuildVmFilesXml(bstr(all_scripts_vm).get(), list.put())), succeeded());
    ASSERT_EQ(outcome(backup_.offhost->ConvertOffhostPaths(backup_.imported_id, list.get(), &files)), succeeded());
    expect_files(files, L"HarddiskVolumeShadowCopy2");
}

TEST_F(Snapshots, FailTheirOperationWhereTheyCannotBeHandedOver) {
    ASSERT_NO_FATAL_FAILURE(backup_.take_snapshot());
    ASSERT_NO_FATAL_FAILURE(backup_.import_snapshot());
    const auto client = win::rpc::make_integration_client();
    client->SetEndpoint(L"127.0.0.1", lab_port());
    client->SetAccount(L"LAB", L"backup", L"secret");
    impl::CKorvaHvOnhostVss onhost(client);
    impl::CKorvaHvOffhostVss offhost(client);
    const auto refuse = [](const auto&) { throw exc::runtime_exc_t("no object"); };
    const std::pair<const char*, std::function<void()>> rows[] = {
        {"Failed to send request for onhost snapshot to server '127.0.0.1'.",
         [&] { onhost.BeginSnapshotCreation(L"<Snapshot/>", refuse); }},
        {"Failed to send request for onhost snapshot to server '127.0.0.1'.",
         [&] { onhost.BeginSnapshotCreationEx(L"<Snapshot/>", L"", L"", refuse); }},
        {"Failed to obtain snapshot ID by snapshot task ID '{operation}'.",
         [&] { onhost.GetSnapshotByOpID(backup_.operation_id, refuse); }},
        {"Failed to send request to import VSS snapshot. Host: '127.0.0.1'.",
         [&] { offhost.BeginSnapshotImport(backup_.document.get(), backup_.ids.get(), refuse); }},
        {"Failed to send request to import VSS snapshot. Proxy host: '127.0.0.1'.",
         [&] { offhost.BeginSnapshotImportEx(backup_.document.get(), backup_.ids.get(), L"", L"", refuse); }},
    };
    log_.clear();
    for (const auto& [failure, call] : rows) {
        if (std::string_view(failure).find("import VSS") != std::string_view::npos)
            lab::host()->snapshots = {};  // nothing is imported twice
        EXPECT_EQ(thrown(call), backup_.filled({failure, "no object"}));
    }
    for (const char* done : {"delivered to", "successfully created", "Matched snapshot", "was sent to"})
        EXPECT_FALSE(log_.holds(done)) << done;
}

TEST_F(Snapshots, AListThatCannotBeReadFailsTheOperation) {
    ASSERT_NO_FATAL_FAILURE(backup_.take_snapshot());
    ASSERT_NO_FATAL_FAILURE(backup_.import_snapshot());
    const struct {
        const wchar_t* answer;
        lines_t causes;
    } rows[] = {
        {L"", {" Error code: 0x00000001", "Failed to load XML document ''."}},  // sent as null
        {L"<Files/>", {"There is no child node with the specified name 'FilesList'."}},
    };
    for (const auto& row : rows) {
        const auto expect_failure = [&](HRESULT result, const std::string& failure) {
            lines_t lines = backup_.filled({failure, "Failed to de-serialize XML to the items list."});
            std::ranges::copy(row.causes, std::back_inserter(lines));
            EXPECT_EQ(outcome(result), failed(lines));
        };
        SAFEARRAY* none = nullptr;
        lab::host()->snapshots.files_list_answer = row.answer;
        log_.clear();
        expect_failure(backup_.snapshot->EnumVmFiles(bstr(vm).get(), &none),
                       "Failed to list VM files. VmID: '{vm}'. Proxy: '127.0.0.1'.");
        expect_failure(backup_.offhost->ConvertOffhostPaths(backup_.imported_id, bstr(L"<FilesList/>").get(), &none),
                       "Failed to obtain shadow paths for backup items. Proxy: '127.0.0.1'.");
        EXPECT_FALSE(log_.holds("Number of VM files") || log_.holds("Shadow paths were received"));
    }
}

TEST_F(Snapshots, AreRefusedWhereTheOrderIsWrongOrNothingIsKnown) {
    const auto refused = [&](HRESULT result, lines_t lines) { EXPECT_EQ(outcome(result), failed(backup_.filled(lines))); };
    const char* const not_matched = "Failed to obtain snapshot ID by snapshot task ID '{operation}'.";
    refused(backup_.onhost->GetSnapshotByOpID(GUID{}, backup_.snapshot.put()),
            {not_matched, "There is no operation '{operation}'."});
    refused(backup_.onhost->CloseSnapshot(GUID{}),
            {"Failed to close snapshot '{snapshot}'.", "There is no snapshot '{snapshot}'."});
    ASSERT_NO_FATAL_FAILURE(backup_.begin(L"<Snapshot/>"));
    refused(backup_.onhost->GetSnapshotByOpID(backup_.operation_id, backup_.snapshot.put()),
            {not_matched, "The operation '{operation}' has not completed."});
    ASSERT_NO_FATAL_FAILURE(backup_.finish_snapshot(2));
    SAFEARRAY* none = nullptr;
    refused(
        backup_.offhost->ConvertOffhostPaths(backup_.snapshot_id, bstr(L"<FilesList/>").get(), &none),
        {"Failed to obtain shadow paths for backup items. Proxy: '127.0.0.1'.", "The snapshot '{snapshot}' was not imported."});
    refused(backup_.snapshot->SetVmBackupStatus(nullptr, VARIANT_TRUE),
            {"Failed to notify proxy VSS about finished backup. VmID: ''. Proxy: '127.0.0.1'.",
             "There is no virtual machine '' in the snapshot '{snapshot}'."});
    ASSERT_EQ(backup_.onhost->CloseSnapshot(backup_.snapshot_id), S_OK);
    refused(backup_.snapshot->EnumVmFiles(bstr(L"web").get(), &none),
            {"Failed to list VM files. VmID: 'web'. Proxy: '127.0.0.1'.",
             "Getting list of VM files. VmID: 'web'. Proxy: '127.0.0.1'.", "The snapshot '{snapshot}' is closed."});
}

}  // namespace
}  // namespace hv_tests
