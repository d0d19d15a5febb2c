#include "hv/restore_manager.h"

#include "hv/operation.h"
#include "rpc/commands/hv_restore.h"

namespace impl {
namespace {

// One row for each method; the first argument of every text is the session.
constexpr hv::operation_t creating{
    .start = "Creating Hyper-V restore session.",
    .failure = "Failed to create Hyper-V restore session.",
};
constexpr hv::operation_t importing{
    .start = "Importing Hyper-V backup configuration.",
    .failure = "Failed to import Hyper-V backup configuration.",
    .done = "Backup configuration was imported.",
};
constexpr hv::operation_t preparing{
    .start = "Performing pre-restore. Session ID: '%1'. VMID: '%2'.",
    .failure = "Failed to perform pre-restore.",
    .done = "Pre-restore completed.",
};
constexpr hv::operation_t preparing_by_spec{
    .start = "Performing pre-restore. Session ID: '%1'.",
    .failure = "Failed to perform pre-restore.",
    .done = "Pre-restore completed.",
};
constexpr hv::operation_t listing_paths{
    .start = "Obtaining list of restore paths. Session ID: '%1'.",
    .failure = "Failed to retrieve restore paths.",
    .done = "List of restore paths was obtained.",
};
constexpr hv::operation_t setting_status{
    .start = "Updating VM restore status. Session ID: '%1'. Succeeded: '%2'.",
    .failure = "Failed to update VM restore status.",
    .done = "VM restore status was updated.",
};
constexpr hv::operation_t finishing{
    .start = "Performing VM post-restore steps. Session ID: '%1'.",
    .failure = "Failed to perform post-restore steps.",
    .done = "Post restore steps were performed. Session ID: '%1'.",
};
constexpr hv::operation_t closing{
    .start = "Closing VM restore session. Session ID: '%1'.",
    .failure = "Failed to close restore session.",
    .done = "VM restore session was closed.",
};

}  // namespace

GUID CKorvaHvRestoreMngr::CreateSession() {
    return hv::run(creating, {}, [&] {
        win::rpc::CHvCreateRestoreSessionMethod command;
        client_->Call(command);
        logging::info("Session was created. Session ID: '%1'.", command.session());
        return command.session();
    });
}

void CKorvaHvRestoreMngr::ImportConfig(const GUID& session, const std::wstring& backup_document,
                                       const std::wstring& writer_document) {
    hv::run(importing, {session}, [&] {
        win::rpc::CHvImportConfig command(session, backup_document, writer_document);
        client_->Call(command);
    });
}

void CKorvaHvRestoreMngr::PreRestore(const GUID& session, const std::wstring& vm_id, const std::wstring& files_list_xml,
                                     const std::wstring& new_destination_path) {
    hv::run(preparing, {session, vm_id}, [&] {
        win::rpc::CHvPreRestoreMethod command(session, vm_id, files_list_xml, new_destination_path);
        client_->Call(command);
    });
}

void CKorvaHvRestoreMngr::PreRestoreEx(const GUID& session, const std::wstring& restore_spec) {
    hv::run(preparing_by_spec, {session}, [&] {
        win::rpc::CHvPreRestoreExMethod command(session, restore_spec);
        client_->Call(command);
    });
}

std::wstring CKorvaHvRestoreMngr::GetRestorePathsXml(const GUID& session) {
    return hv::run(listing_paths, {session}, [&] {
        win::rpc::CHvGetRestorePathsMethod command(session);
        client_->Call(command);
        return command.paths_xml();
    });
}

void CKorvaHvRestoreMngr::SetRestoreStatus(const GUID& session, bool succeeded) {
    hv::run(setting_status, {session, succeeded}, [&] {
        win::rpc::CHvSetRestoreStatusMethod command(session, succeeded);
        client_->Call(command);
    });
}

void CKorvaHvRestoreMngr::PostRestore(const GUID& session) {
    hv::run(finishing, {session}, [&] {
        win::rpc::CHvPostRestoreMethod command(session);
        client_->Call(command);
    });
}

void CKorvaHvRestoreMngr::CloseSession(const GUID& session) {
    hv::run(closing, {session}, [&] {
        win::rpc::CHvCloseRestoreSessionMethod command(session);
        client_->Call(command);
    });
}

}  // namespace impl
