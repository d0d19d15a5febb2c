#include <ostream>

#include "foundation/errors.h"
#include "hv/offhost_vss.h"
#include "hv/onhost_vss.h"
#include "lab/failures.h"
#include "tests/hv/backup.h"

namespace hv_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class AsyncOp : public session {
protected:
    struct state_t {
        bool completed, succeeded;
        std::wstring error;
        bool operator==(const state_t&) const = default;
    };
    // Which the getters tell without the host, also after a refresh that fails.
    static void expect_state(const win::com_ptr<IKorvaHvAsyncOp>& operation, const state_t& state) {
        lab::requests().take();
        EXPECT_EQ(state_of(operation), state);
        EXPECT_THAT(lab::requests().take(), IsEmpty());
        lab::set_failure("HvGetAsyncOpStatus", "busy");
        EXPECT_EQ(outcome(operation->Refresh()).lines.back(), "busy");
        EXPECT_EQ(state_of(operation), state);
        lab::clear_failures();
    }
    static state_t state_of(const win::com_ptr<IKorvaHvAsyncOp>& operation) {
        VARIANT_BOOL completed = 7, succeeded = 7;
        win::unique_bstr error;
        EXPECT_EQ(operation->get_IsCompleted(&completed), S_OK);
        EXPECT_EQ(operation->get_IsSucceeded(&succeeded), S_OK);
        EXPECT_EQ(operation->get_ErrDescription(error.put()), S_OK);
        EXPECT_NE(error.get(), nullptr);
        return {completed == VARIANT_TRUE, succeeded == VARIANT_TRUE, win::bstr_text(error.get())};
    }
    static win::com_ptr<IKorvaHvAsyncOp> begin(const backup_t& backup, std::wstring_view specification) {
        win::com_ptr<IKorvaHvAsyncOp> operation;
        EXPECT_EQ(outcome(backup.onhost->BeginSnapshotCreation(bstr(specification).get(), operation.put())), succeeded());
        return operation;
    }
};

TEST_F(AsyncOp, ReadsCompletedAndNotSucceededUntilItIsRefreshed) {
    const backup_t backup(new_integrator());
    const auto operation = begin(backup, L"<Snapshot Polls='3'/>");
    ASSERT_TRUE(operation);
    expect_state(operation, {true, false, L""});
    for (const bool done : {false, false, true}) {
        EXPECT_EQ(outcome(operation->Refresh()), succeeded());
        expect_state(operation, {done, done, L""});
    }
    expect_pointers(*operation.get(), &IKorvaHvAsyncOp::get_IsCompleted, &IKorvaHvAsyncOp::get_IsSucceeded,
                    &IKorvaHvAsyncOp::get_ErrDescription, &IKorvaHvAsyncOp::get_OperationID);
}

TEST_F(AsyncOp, TellsWhyTheWorkFailed) {
    const backup_t backup(new_integrator());
    const auto operation = begin(backup, L"<Snapshot Polls='1' Fail='Запись 失败 😀'/>");
    ASSERT_TRUE(operation);
    EXPECT_EQ(outcome(operation->Refresh()), succeeded());
    expect_state(operation, {true, false, L"Запись 失败 😀"});

    GUID id{};
    ASSERT_EQ(operation->get_OperationID(&id), S_OK);
    win::com_ptr<IKorvaHvVssSnapshot> snapshot;
    const std::string id_text = text::guid_text(id);
    EXPECT_EQ(outcome(backup.onhost->GetSnapshotByOpID(id, snapshot.put())),
              failed({"Failed to obtain snapshot ID by snapshot task ID '" + id_text + "'.",
                      "The operation '" + id_text + "' has failed: Запись 失败 😀"}));
    EXPECT_FALSE(snapshot);
}

class Snapshots : public session {};

TEST_F(Snapshots, HoldTheirDocumentsFromTheBeginning) {
    backup_t backup(new_integrator());
    ASSERT_NO_FATAL_FAILURE(backup.take_snapshot());
    lab::requests().take();
    win::unique_bstr document, writers, ids, files;
    const auto read = [&](IKorvaHvVssSnapshot& snapshot) {
        EXPECT_EQ(snapshot.get_BackupDocument(document.put()), S_OK);
        EXPECT_EQ(snapshot.get_WriterDocument(writers.put()), S_OK);
        EXPECT_EQ(snapshot.GetTransportableSnapshotInfo(ids.put()), S_OK);
    };
    for (int round = 0; round < 2; ++round) {
        read(*backup.snapshot.get());
        EXPECT_TRUE(win::bstr_view(document.get()).starts_with(L"<BackupComponents SnapshotID="));
        EXPECT_TRUE(win::bstr_view(writers.get()).starts_with(L"<WriterMetadata "));
        EXPECT_EQ(win::bstr_view(ids.get()).size(), 36u) << "one volume, one shadow copy";
    }
    EXPECT_THAT(lab::requests().take(), IsEmpty());

    lab::host()->snapshots.null_documents = true;
    lab::host()->snapshots.files_list_answer = L"";  // sent as null
    ASSERT_EQ(outcome(backup.onhost->GetSnapshotByOpID(backup.operation_id, backup.snapshot.put())), succeeded());
    read(*backup.snapshot.get());
    EXPECT_EQ(outcome(backup.snapshot->BuildVmFilesXml(bstr(vm).get(), files.put())), succeeded());
    for (const BSTR text : {document.get(), writers.get(), ids.get(), files.get()})
        EXPECT_STREQ(text, L"") << "a null string reads as empty, not as null";
}

TEST_F(Snapshots, AreReadOnTheHostAndOnTheProxyInAnyScript) {
    backup_t backup(new_integrator());
    ASSERT_EQ(outcome(backup.onhost->BeginSnapshotCreation(bstr(L"<Snapshot Polls='1'/>").get(), backup.operation.put())),
              succeeded());
    ASSERT_NO_FATAL_FAILURE(backup.finish_snapshot());
    ASSERT_NO_FATAL_FAILURE(backup.import_snapshot());
    log_.clear();

    SAFEARRAY* array = nullptr;
    ASSERT_EQ(outcome(backup.snapshot->EnumVmFiles(bstr(all_scripts_vm).get(), &array)), succeeded());
    const std::wstring on_host = LR"(\\?\GLOBALROOT\Device\HarddiskVolumeShadowCopy1\vm\)";
    EXPECT_THAT(take_texts(array), ElementsAre(on_host + L"отчёты\\отчёты.xml", on_host + L"отчёты\\数据库.vhdx",
                                               on_host + L"отчёты\\😀 & co.vhdx"));
    EXPECT_TRUE(log_.holds("\\vm\\отчёты\\数据库.vhdx"));
    EXPECT_TRUE(log_.holds("😀 &amp; "));

    win::unique_bstr list;
    ASSERT_EQ(outcome(backup.snapshot->BuildVmFilesXml(bstr(all_scripts_vm).get(), list.put())), succeeded());
    ASSERT_EQ(outcome(backup.offhost->ConvertOffhostPaths(backup.imported_id, list.get(), &array)), succeeded());
    const std::wstring on_proxy = LR"(\\?\GLOBALROOT\Device\HarddiskVolumeShadowCopy2\vm\)";
    EXPECT_THAT(take_texts(array), ElementsAre(on_proxy + L"отчёты\\отчёты.xml", on_proxy + L"отчёты\\数据库.vhdx",
                                               on_proxy + L"отчёты\\😀 & co.vhdx"));
}

TEST_F(Snapshots, FailTheirOperationWhereTheyCannotBeHandedOver) {
    backup_t backup(new_integrator());
    ASSERT_NO_FATAL_FAILURE(backup.take_snapshot());
    ASSERT_NO_FATAL_FAILURE(backup.import_snapshot());
    const auto client = win::rpc::make_integration_client();
    client->SetEndpoint(L"127.0.0.1", lab_port());
    client->SetAccount(L"LAB", L"backup", L"secret");
    client->Connect(false);
    impl::CKorvaHvOnhostVss onhost(client);
    impl::CKorvaHvOffhostVss offhost(client);
    const auto refuse = [](const auto& object) {
        EXPECT_TRUE(object);
        throw exc::runtime_exc_t("no object");
    };
    const struct {
        std::string_view failure;
        std::size_t lines;  // of the log, none of them about completion
        std::function<void()> call;
    } rows[] = {
        {"Failed to send request for onhost snapshot to server '127.0.0.1'.", 1,
         [&] { onhost.BeginSnapshotCreation(L"<Snapshot/>", refuse); }},
        {"Failed to send request for onhost snapshot to server '127.0.0.1'.", 1,
         [&] { onhost.BeginSnapshotCreationEx(L"<Snapshot/>", L"", L"", refuse); }},
        {"Failed to obtain snapshot ID by snapshot task ID '{operation}'.", 3,
         [&] { onhost.GetSnapshotByOpID(backup.operation_id, refuse); }},
        {"Failed to send request to import VSS snapshot. Host: '127.0.0.1'.", 1,
         [&] { offhost.BeginSnapshotImport(backup.document.get(), backup.ids.get(), refuse); }},
        {"Failed to send request to import VSS snapshot. Proxy host: '127.0.0.1'.", 1,
         [&] { offhost.BeginSnapshotImportEx(backup.document.get(), backup.ids.get(), L"", L"", refuse); }},
    };
    for (const auto& row : rows) {
        if (row.failure.find("import VSS") != std::string_view::npos)
            lab::host()->snapshots = {};  // nothing is imported twice
        log_.clear();
        try {
            row.call();
            ADD_FAILURE() << row.failure;
        } catch (const exc::runtime_exc_t& error) {
            EXPECT_EQ(error.lines(), backup.filled(lines_t{std::string(row.failure), "no object"}));
        }
        EXPECT_EQ(log_.texts().size(), row.lines) << row.failure;
    }
}

struct bad_answer_t {
    const wchar_t* answer;
    lines_t causes;
};
void PrintTo(const bad_answer_t& bad, std::ostream* out) { *out << text::narrow(bad.answer); }

class BadListAnswers : public session, public ::testing::WithParamInterface<bad_answer_t> {};

TEST_P(BadListAnswers, FailWithTheirCauses) {
    backup_t backup(new_integrator());
    ASSERT_NO_FATAL_FAILURE(backup.take_snapshot());
    ASSERT_NO_FATAL_FAILURE(backup.import_snapshot());
    lab::host()->snapshots.files_list_answer = GetParam().answer;

    lines_t listing{"Failed to list VM files. VmID: '6f8d3c1e-0f5b-4a7e-9a53-0c2f5b1a9d02'. Proxy: '127.0.0.1'.",
                    "Failed to de-serialize XML to the items list."};
    std::ranges::copy(GetParam().causes, std::back_inserter(listing));
    SAFEARRAY* array = nullptr;
    log_.clear();
    EXPECT_EQ(outcome(backup.snapshot->EnumVmFiles(bstr(vm).get(), &array)), failed(listing));
    EXPECT_EQ(array, nullptr);
    lines_t log{"Querying proxy to list VM files (VmID: '6f8d3c1e-0f5b-4a7e-9a53-0c2f5b1a9d02').",
                "Listing VM files (VmID: 6f8d3c1e-0f5b-4a7e-9a53-0c2f5b1a9d02). Proxy: '127.0.0.1'.",
                "VM listing: '" + text::narrow(GetParam().answer) + "'."};
    std::ranges::copy(as_logged(listing), std::back_inserter(log));
    EXPECT_EQ(log_.texts(), log) << "no number of files";

    lines_t converting{"Failed to obtain shadow paths for backup items. Proxy: '127.0.0.1'.",
                       "Failed to de-serialize XML to the items list."};
    std::ranges::copy(GetParam().causes, std::back_inserter(converting));
    log_.clear();
    EXPECT_EQ(outcome(backup.offhost->ConvertOffhostPaths(backup.imported_id, bstr(L"<FilesList/>").get(), &array)),
              failed(converting));
    EXPECT_EQ(array, nullptr);
    log = {"Getting shadow paths for backups items. Proxy: '127.0.0.1'. Files: '<FilesList/>'."};
    std::ranges::copy(as_logged(converting), std::back_inserter(log));
    EXPECT_EQ(log_.texts(), log) << "no paths were received";
    EXPECT_EQ(outcome(backup.onhost->CloseSnapshot(backup.snapshot_id)), succeeded()) << "the connection is still good";
}

const bad_answer_t bad_answers[] = {
    {L"", {" Error code: 0x00000001", "Failed to load XML document ''."}},  // sent as null
    {L"<FilesList>", {" Error code: 0x00000001", "Failed to load XML document '<FilesList>'."}},
    {L"<Files/>", {"There is no child node with the specified name 'FilesList'."}},
    {L"<FilesList><!----></FilesList>",
     {"Failed to retrieve children of the XML node.", " Error code: 0x80004002",
      "Failed to convert XMLDOMNode to XMLDOMElement."}},
    {L"<FilesList><i Recursive='' Path=''/></FilesList>",
     {" Error code: 0x00000001", "Failed to get value of the attribute 'Mask'."}},
};
INSTANTIATE_TEST_SUITE_P(Hv, BadListAnswers, ::testing::ValuesIn(bad_answers));

TEST_F(Snapshots, AreRefusedWhereTheOrderIsWrong) {
    backup_t backup(new_integrator());
    ASSERT_EQ(backup.onhost->BeginSnapshotCreation(bstr(L"<Snapshot/>").get(), backup.operation.put()), S_OK);
    ASSERT_EQ(backup.operation->get_OperationID(&backup.operation_id), S_OK);
    const auto refused = [&](HRESULT result, lines_t lines) { EXPECT_EQ(outcome(result), failed(backup.filled(lines))); };
    win::com_ptr<IKorvaHvVssSnapshot> none;
    refused(
        backup.onhost->GetSnapshotByOpID(backup.operation_id, none.put()),
        {"Failed to obtain snapshot ID by snapshot task ID '{operation}'.", "The operation '{operation}' has not completed."});

    ASSERT_EQ(backup.operation->Refresh(), S_OK);
    ASSERT_NO_FATAL_FAILURE(backup.finish_snapshot());
    SAFEARRAY* array = nullptr;
    refused(
        backup.offhost->ConvertOffhostPaths(backup.snapshot_id, bstr(L"<FilesList/>").get(), &array),
        {"Failed to obtain shadow paths for backup items. Proxy: '127.0.0.1'.", "The snapshot '{snapshot}' was not imported."});
    refused(backup.snapshot->SetVmBackupStatus(nullptr, VARIANT_TRUE),
            {"Failed to notify proxy VSS about finished backup. VmID: ''. Proxy: '127.0.0.1'.",
             "There is no virtual machine '' in the snapshot '{snapshot}'."});
    ASSERT_EQ(backup.onhost->CloseSnapshot(backup.snapshot_id), S_OK);
    refused(backup.snapshot->EnumVmFiles(bstr(L"web").get(), &array),
            {"Failed to list VM files. VmID: 'web'. Proxy: '127.0.0.1'.",
             "Getting list of VM files. VmID: 'web'. Proxy: '127.0.0.1'.", "The snapshot '{snapshot}' is closed."});
}

TEST_F(Snapshots, NeedTheirOutputPointersBeforeAnythingIsDone) {
    backup_t backup(new_integrator());
    ASSERT_NO_FATAL_FAILURE(backup.take_snapshot());
    lab::requests().take();
    log_.clear();
    EXPECT_EQ(backup.onhost->BeginSnapshotCreation(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(backup.onhost->BeginSnapshotCreationEx(nullptr, nullptr, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(backup.onhost->GetSnapshotByOpID(backup.operation_id, nullptr), E_POINTER);
    EXPECT_EQ(backup.snapshot->BuildVmFilesXml(bstr(vm).get(), nullptr), E_POINTER);
    EXPECT_EQ(backup.snapshot->EnumVmFiles(bstr(vm).get(), nullptr), E_POINTER);
    expect_pointers(*backup.snapshot.get(), &IKorvaHvVssSnapshot::get_SnapshotID, &IKorvaHvVssSnapshot::get_BackupDocument,
                    &IKorvaHvVssSnapshot::get_WriterDocument, &IKorvaHvVssSnapshot::GetTransportableSnapshotInfo);
    EXPECT_EQ(backup.offhost->BeginSnapshotImport(nullptr, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(backup.offhost->BeginSnapshotImportEx(nullptr, nullptr, nullptr, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(backup.offhost->ConvertOffhostPaths(GUID{}, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(backup.offhost->ConvertOffhostPathsToXml(GUID{}, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(backup.offhost->GetSnapshotIDByOperationID(backup.operation_id, nullptr), E_POINTER);
    EXPECT_THAT(log_.texts(), IsEmpty());
    EXPECT_THAT(lab::requests().take(), IsEmpty());
}

}  // namespace
}  // namespace hv_tests
