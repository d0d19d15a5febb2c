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

    void begin(std::wstring_view snapshot_specification) {
        ASSERT_EQ(outcome(onhost->BeginSnapshotCreation(bstr(snapshot_specification).get(), operation.put())), succeeded());
        operation_id = given(*operation.get(), &IKorvaHvAsyncOp::get_OperationID);
    }
    // Once the operation has begun.
    void finish_snapshot(int polls = 1) {
        for (int i = 0; i < polls; ++i)
            ASSERT_EQ(outcome(operation->Refresh()), succeeded());
        operation_id = given(*operation.get(), &IKorvaHvAsyncOp::get_OperationID);
        ASSERT_EQ(outcome(onhost->GetSnapshotByOpID(operation_id, snapshot.put())), succeeded());
        snapshot_id = given(*snapshot.get(), &IKorvaHvVssSnapshot::get_SnapshotID);
    }
    void take_snapshot() {
        ASSERT_NO_FATAL_FAILURE(begin(specification));
        ASSERT_NO_FATAL_FAILURE(finish_snapshot());
    }
    void import_snapshot() {
        ASSERT_EQ(snapshot->get_BackupDocument(document.put()), S_OK);
        ASSERT_EQ(snapshot->GetTransportableSnapshotInfo(ids.put()), S_OK);
        exported = lab::value_t("backup_document", document.get()).text + ' ' + lab::value_t("snapshot_ids", ids.get()).text;
        lab::host()->snapshots.polls = 1;
        ASSERT_EQ(outcome(offhost->BeginSnapshotImport(document.get(), ids.get(), import.put())), succeeded());
        ASSERT_EQ(outcome(import->Refresh()), succeeded());
        import_id = given(*import.get(), &IKorvaHvAsyncOp::get_OperationID);
        ASSERT_EQ(outcome(offhost->GetSnapshotIDByOperationID(import_id, &imported_id)), succeeded());
    }
    // The result of a method that begins the latest work, whose ID the texts name.
    HRESULT begun(HRESULT result) {
        if (SUCCEEDED(result))
            latest_id = given(*latest.get(), &IKorvaHvAsyncOp::get_OperationID);
        return result;
    }

    // Puts this backup's identifiers in the place of their names.
    lines_t filled(lines_t lines) const {
        return fill(std::move(lines), {{"{port}", std::to_string(lab_port())},
                                       {"{vm}", text::narrow(vm)},
                                       {"{operation}", text::guid_text(operation_id)},
                                       {"{snapshot}", text::guid_text(snapshot_id)},
                                       {"{import}", text::guid_text(import_id)},
                                       {"{imported}", text::guid_text(imported_id)},
                                       {"{exported}", exported},
                                       {"{latest}", text::guid_text(latest_id)}});
    }

    win::com_ptr<IKorvaHvIntegrator> integrator;
    win::com_ptr<IKorvaHvOnhostVss> onhost;
    win::com_ptr<IKorvaHvOffhostVss> offhost;
    win::com_ptr<IKorvaHvAsyncOp> operation, import, latest;
    win::com_ptr<IKorvaHvVssSnapshot> snapshot;
    win::unique_bstr document, ids;  // that were imported
    std::string exported;            // the same as the lab shows a request
    GUID operation_id{}, snapshot_id{}, import_id{}, imported_id{}, latest_id{};
};

}  // namespace hv_tests
