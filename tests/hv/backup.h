#pragma once

#include "tests/hv/session.h"

namespace hv_tests {

// Machines of the lab.
inline constexpr wchar_t vm[] = L"6f8d3c1e-0f5b-4a7e-9a53-0c2f5b1a9d02";  // "web" of the lab
inline constexpr wchar_t all_scripts_vm[] = L"6f8d3c1e-0f5b-4a7e-9a53-0c2f5b1a9d03";
inline constexpr wchar_t specification[] = L"<Snapshot Polls='1'><VM ID='6f8d3c1e-0f5b-4a7e-9a53-0c2f5b1a9d02'/></Snapshot>";

// Everything that a console holds in the middle of a backup, each made by the method that makes it.
struct backup_t {
    explicit backup_t(const win::com_ptr<IKorvaHvIntegrator>& entry) : integrator(entry) {
        EXPECT_EQ(integrator->get_OnhostVss(onhost.put()), S_OK);
        EXPECT_EQ(integrator->get_OffhostVss(offhost.put()), S_OK);
    }

    void take_snapshot() {
        ASSERT_EQ(outcome(onhost->BeginSnapshotCreation(bstr(specification).get(), operation.put())), succeeded());
        finish_snapshot();
    }
    // Once the operation has begun.
    void finish_snapshot(int polls = 1) {
        for (int i = 0; i < polls; ++i)
            ASSERT_EQ(outcome(operation->Refresh()), succeeded());
        ASSERT_EQ(operation->get_OperationID(&operation_id), S_OK);
        ASSERT_EQ(outcome(onhost->GetSnapshotByOpID(operation_id, snapshot.put())), succeeded());
        ASSERT_EQ(snapshot->get_SnapshotID(&snapshot_id), S_OK);
    }
    void import_snapshot() {
        lab::host()->snapshots.polls = 1;
        ASSERT_EQ(outcome(begin_import(import.put())), succeeded());
        ASSERT_EQ(outcome(import->Refresh()), succeeded());
        ASSERT_EQ(import->get_OperationID(&import_id), S_OK);
        ASSERT_EQ(outcome(offhost->GetSnapshotIDByOperationID(import_id, &imported_id)), succeeded());
    }
    HRESULT begin_import(IKorvaHvAsyncOp** import) {
        EXPECT_EQ(snapshot->get_BackupDocument(document.put()), S_OK);
        EXPECT_EQ(snapshot->GetTransportableSnapshotInfo(ids.put()), S_OK);
        exported = lab::value_t("backup_document", document.get()).text + ' ' + lab::value_t("snapshot_ids", ids.get()).text;
        return offhost->BeginSnapshotImport(document.get(), ids.get(), import);
    }

    // Puts this backup's identifiers in the place of their names.
    lines_t filled(lines_t lines) const {
        return fill(std::move(lines), {{"{port}", std::to_string(lab_port())},
                                       {"{operation}", text::guid_text(operation_id)},
                                       {"{snapshot}", text::guid_text(snapshot_id)},
                                       {"{import}", text::guid_text(import_id)},
                                       {"{imported}", text::guid_text(imported_id)},
                                       {"{exported}", exported},
                                       {"{new}", new_id}});
    }

    win::com_ptr<IKorvaHvIntegrator> integrator;
    win::com_ptr<IKorvaHvOnhostVss> onhost;
    win::com_ptr<IKorvaHvOffhostVss> offhost;
    win::com_ptr<IKorvaHvAsyncOp> operation, import;
    win::com_ptr<IKorvaHvVssSnapshot> snapshot;
    win::unique_bstr document, ids;  // that were imported
    std::string exported;            // the same as the lab shows a request
    GUID operation_id{}, snapshot_id{}, import_id{}, imported_id{};
    std::string new_id;  // of the work that the method in question started
};

}  // namespace hv_tests
