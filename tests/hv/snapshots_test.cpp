#include <ostream>

#include "com/conversions.h"
#include "hv/full_paths.h"
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
    lab::requests().take();
    EXPECT_EQ(state_of(operation), (state_t{true, false, L""}));
    EXPECT_THAT(lab::requests().take(), IsEmpty()) << "the getters never talk to the host";

    EXPECT_EQ(outcome(operation->Refresh()), succeeded());
    EXPECT_EQ(state_of(operation), (state_t{false, false, L""}));
    EXPECT_EQ(outcome(operation->Refresh()), succeeded());
    EXPECT_EQ(outcome(operation->Refresh()), succeeded());
    EXPECT_EQ(state_of(operation), (state_t{true, true, L""}));
}

TEST_F(AsyncOp, TellsWhyTheWorkFailed) {
    const backup_t backup(new_integrator());
    const auto operation = begin(backup, L"<Snapshot Polls='1' Fail='Запись 失败 😀'/>");
    ASSERT_TRUE(operation);
    EXPECT_EQ(outcome(operation->Refresh()), succeeded());
    EXPECT_EQ(state_of(operation), (state_t{true, false, L"Запись 失败 😀"}));

    GUID id{};
    ASSERT_EQ(operation->get_OperationID(&id), S_OK);
    win::com_ptr<IKorvaHvVssSnapshot> snapshot;
    const std::string id_text = text::guid_text(id);
    EXPECT_EQ(outcome(backup.onhost->GetSnapshotByOpID(id, snapshot.put())),
              failed({"Failed to obtain snapshot ID by snapshot task ID '" + id_text + "'.",
                      "The operation '" + id_text + "' has failed: Запись 失败 😀"}));
    EXPECT_FALSE(snapshot);
}

TEST_F(AsyncOp, KeepsItsStateWhenARefreshFails) {
    const backup_t backup(new_integrator());
    const auto operation = begin(backup, L"<Snapshot Polls='2'/>");
    ASSERT_TRUE(operation);
    EXPECT_EQ(operation->Refresh(), S_OK);
    lab::set_failure("HvGetAsyncOpStatus", "busy");
    EXPECT_EQ(operation->Refresh(), DISP_E_EXCEPTION);
    EXPECT_EQ(state_of(operation), (state_t{false, false, L""}));
}

class Snapshots : public session {};

TEST_F(Snapshots, HoldTheirDocumentsFromTheBeginning) {
    backup_t backup(new_integrator());
    ASSERT_NO_FATAL_FAILURE(backup.take_snapshot());
    lab::requests().take();
    for (int round = 0; round < 2; ++round) {
        win::unique_bstr document, writers, ids;
        EXPECT_EQ(backup.snapshot->get_BackupDocument(document.put()), S_OK);
        EXPECT_EQ(backup.snapshot->get_WriterDocument(writers.put()), S_OK);
        EXPECT_EQ(backup.snapshot->GetTransportableSnapshotInfo(ids.put()), S_OK);
        EXPECT_TRUE(win::bstr_view(document.get()).starts_with(L"<BackupComponents SnapshotID="));
        EXPECT_TRUE(win::bstr_view(writers.get()).starts_with(L"<WriterMetadata "));
        EXPECT_EQ(win::bstr_view(ids.get()).size(), 36u) << "one volume, one shadow copy";
    }
    EXPECT_THAT(lab::requests().take(), IsEmpty());

    lab::host()->snapshots.null_documents = true;
    win::com_ptr<IKorvaHvVssSnapshot> empty;
    ASSERT_EQ(outcome(backup.onhost->GetSnapshotByOpID(backup.operation_id, empty.put())), succeeded());
    win::unique_bstr document;
    EXPECT_EQ(empty->get_BackupDocument(document.put()), S_OK);
    EXPECT_STREQ(document.get(), L"") << "a null string reads as empty, not as null";
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

std::wstring numbered_list(int count) {
    std::wstring list = L"<FilesList>";
    for (int i = 0; i < count; ++i)
        list += L"<i Path='' Mask='' Recursive='' RelativePath='' FullPath='" + std::to_wstring(i) + L"'/>";
    return list + L"</FilesList>";
}

void expect_numbers(const std::vector<std::wstring>& paths, int count) {
    ASSERT_EQ(paths.size(), static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        ASSERT_EQ(paths[static_cast<std::size_t>(i)], std::to_wstring(i));
}

// Where the reader of a large reply falls behind and the socket buffers fill, the server half of Wine's runtime waits for ever
// for room to send. So the wire gets a list that fits, and the largest one goes only the way from the answer to the array.
TEST_F(Snapshots, ListManyFilesWhole) {
    backup_t backup(new_integrator());
    ASSERT_NO_FATAL_FAILURE(backup.take_snapshot());
    lab::host()->snapshots.files_list_answer = numbered_list(500);
    log_.clear();
    SAFEARRAY* array = nullptr;
    ASSERT_EQ(outcome(backup.snapshot->EnumVmFiles(bstr(vm).get(), &array)), succeeded());
    expect_numbers(take_texts(array), 500);
    EXPECT_TRUE(log_.holds("Number of VM files: [500]"));

    expect_numbers(take_texts(com::to_safe_array(hv::full_paths(numbered_list(100'000))).release()), 100'000);
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
    EXPECT_EQ(outcome(backup.snapshot->EnumVmFiles(bstr(vm).get(), &array)), failed(listing));
    EXPECT_EQ(array, nullptr);

    lines_t converting{"Failed to obtain shadow paths for backup items. Proxy: '127.0.0.1'.",
                       "Failed to de-serialize XML to the items list."};
    std::ranges::copy(GetParam().causes, std::back_inserter(converting));
    EXPECT_EQ(outcome(backup.offhost->ConvertOffhostPaths(backup.imported_id, bstr(L"<FilesList/>").get(), &array)),
              failed(converting));
    EXPECT_EQ(array, nullptr);
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

TEST_F(Snapshots, AreRefusedWhereTheHostDoesNotKnowThemOrTheOrderIsWrong) {
    backup_t backup(new_integrator());
    ASSERT_EQ(backup.onhost->BeginSnapshotCreation(bstr(L"<Snapshot/>").get(), backup.operation.put()), S_OK);
    ASSERT_EQ(backup.operation->get_OperationID(&backup.operation_id), S_OK);
    const std::string operation = text::guid_text(backup.operation_id);
    win::com_ptr<IKorvaHvVssSnapshot> none;
    EXPECT_EQ(outcome(backup.onhost->GetSnapshotByOpID(backup.operation_id, none.put())),
              failed({"Failed to obtain snapshot ID by snapshot task ID '" + operation + "'.",
                      "The operation '" + operation + "' has not completed."}));
    const std::string nobody = "00000000-0000-0000-0000-000000000000";
    EXPECT_EQ(outcome(backup.onhost->GetSnapshotByOpID(GUID{}, none.put())),
              failed({"Failed to obtain snapshot ID by snapshot task ID '" + nobody + "'.",
                      "There is no operation '" + nobody + "'."}));
    EXPECT_EQ(outcome(backup.onhost->CloseSnapshot(GUID{})),
              failed({"Failed to close snapshot '" + nobody + "'.", "There is no snapshot '" + nobody + "'."}));

    ASSERT_EQ(backup.operation->Refresh(), S_OK);
    ASSERT_NO_FATAL_FAILURE(backup.finish_snapshot());
    SAFEARRAY* array = nullptr;
    EXPECT_EQ(backup.offhost->ConvertOffhostPaths(backup.snapshot_id, bstr(L"<FilesList/>").get(), &array), DISP_E_EXCEPTION)
        << "not imported";
    EXPECT_EQ(backup.snapshot->SetVmBackupStatus(nullptr, VARIANT_TRUE), DISP_E_EXCEPTION) << "no such machine";
    EXPECT_TRUE(log_.holds("Notifying proxy VSS about finished backup of VM ''.")) << "a null text reads as empty";
    ASSERT_EQ(backup.onhost->CloseSnapshot(backup.snapshot_id), S_OK);
    EXPECT_EQ(backup.snapshot->EnumVmFiles(bstr(vm).get(), &array), DISP_E_EXCEPTION) << "closed";
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
    EXPECT_EQ(backup.snapshot->get_SnapshotID(nullptr), E_POINTER);
    EXPECT_EQ(backup.offhost->BeginSnapshotImport(nullptr, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(backup.offhost->ConvertOffhostPathsToXml(GUID{}, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(backup.offhost->GetSnapshotIDByOperationID(backup.operation_id, nullptr), E_POINTER);
    EXPECT_EQ(backup.operation->get_ErrDescription(nullptr), E_POINTER);
    EXPECT_EQ(backup.integrator->get_OnhostVss(nullptr), E_POINTER);
    EXPECT_THAT(log_.texts(), IsEmpty());
    EXPECT_THAT(lab::requests().take(), IsEmpty());
}

}  // namespace
}  // namespace hv_tests
