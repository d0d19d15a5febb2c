#pragma once

#include <windows.h>

#include <string>

#include "rpc/method.h"

// Commands of the Hyper-V integration service for restore sessions.
namespace win::rpc {

class CHvCreateRestoreSessionMethod final : public CRpcMethodBase {
public:
    CHvCreateRestoreSessionMethod() : CRpcMethodBase(command_of(service_t::hv_integration, 11)) {}
    const GUID& session() const noexcept { return session_; }

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    GUID session_{};
};

class CHvImportConfig final : public CRpcMethodBase {
public:
    CHvImportConfig(const GUID& session, std::wstring backup_document, std::wstring writer_document)
        : CRpcMethodBase(command_of(service_t::hv_integration, 12)),
          session_(session),
          backup_document_(std::move(backup_document)),
          writer_document_(std::move(writer_document)) {}

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    GUID session_;
    std::wstring backup_document_, writer_document_;
};

class CHvPreRestoreMethod final : public CRpcMethodBase {
public:
    CHvPreRestoreMethod(const GUID& session, std::wstring vm, std::wstring files_xml, std::wstring new_path)
        : CRpcMethodBase(command_of(service_t::hv_integration, 13)),
          session_(session),
          vm_(std::move(vm)),
          files_xml_(std::move(files_xml)),
          new_path_(std::move(new_path)) {}

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    GUID session_;
    std::wstring vm_, files_xml_, new_path_;
};

class CHvPreRestoreExMethod final : public CRpcMethodBase {
public:
    CHvPreRestoreExMethod(const GUID& session, std::wstring specification)
        : CRpcMethodBase(command_of(service_t::hv_integration, 14)),
          session_(session),
          specification_(std::move(specification)) {}

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    GUID session_;
    std::wstring specification_;
};

class CHvGetRestorePathsMethod final : public CRpcMethodBase {
public:
    explicit CHvGetRestorePathsMethod(const GUID& session)
        : CRpcMethodBase(command_of(service_t::hv_integration, 15)), session_(session) {}
    std::wstring paths_xml() const { return text_of(paths_xml_.get()); }

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    GUID session_;
    CRpcScopedBuf<wchar_t> paths_xml_;
};

class CHvSetRestoreStatusMethod final : public CRpcMethodBase {
public:
    CHvSetRestoreStatusMethod(const GUID& session, bool succeeded)
        : CRpcMethodBase(command_of(service_t::hv_integration, 16)), session_(session), succeeded_(succeeded) {}

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    GUID session_;
    bool succeeded_;
};

class CHvPostRestoreMethod final : public CRpcMethodBase {
public:
    explicit CHvPostRestoreMethod(const GUID& session)
        : CRpcMethodBase(command_of(service_t::hv_integration, 17)), session_(session) {}

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    GUID session_;
};

class CHvCloseRestoreSessionMethod final : public CRpcMethodBase {
public:
    explicit CHvCloseRestoreSessionMethod(const GUID& session)
        : CRpcMethodBase(command_of(service_t::hv_integration, 18)), session_(session) {}

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    GUID session_;
};

}  // namespace win::rpc
