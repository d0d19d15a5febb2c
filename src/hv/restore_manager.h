#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <utility>

#include "rpc/client.h"

namespace impl {

// Takes the Hyper-V writer of a host through a restore. The host keeps the session and its order (CreateSession, ImportConfig,
// PreRestore or PreRestoreEx, GetRestorePathsXml, SetRestoreStatus, PostRestore, CloseSession); nothing is kept or checked
// here, and no session is closed by itself. Documents, lists and specifications pass through unread. Every method throws
// exc::runtime_exc_t with its own text above the error that it met.
class CKorvaHvRestoreMngr {
public:
    explicit CKorvaHvRestoreMngr(std::shared_ptr<win::rpc::CRpcClientBase> client) : client_(std::move(client)) {}

    GUID CreateSession();
    void ImportConfig(const GUID& session, const std::wstring& backup_document, const std::wstring& writer_document);
    void PreRestore(const GUID& session, const std::wstring& vm_id, const std::wstring& files_list_xml,
                    const std::wstring& new_destination_path);
    void PreRestoreEx(const GUID& session, const std::wstring& restore_spec);
    std::wstring GetRestorePathsXml(const GUID& session);
    void SetRestoreStatus(const GUID& session, bool succeeded);
    void PostRestore(const GUID& session);
    void CloseSession(const GUID& session);

private:
    const std::shared_ptr<win::rpc::CRpcClientBase> client_;
};

}  // namespace impl
