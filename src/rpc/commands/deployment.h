#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "rpc/method.h"
#include "rpc/remote_file.h"
#include "rpc/values.h"

// Commands of the installer service.
namespace win::rpc {

class CGetSvcVersionMethod final : public CRpcMethodBase {
public:
    // `can_retry`: whether the client may repeat the call (a ping is not repeated). It does not travel.
    explicit CGetSvcVersionMethod(bool can_retry)
        : CRpcMethodBase(command_of(service_t::deployment, 0)), can_retry_(can_retry) {}
    bool CanRetry() const override { return can_retry_; }
    std::int32_t version() const noexcept { return static_cast<std::int32_t>(version_); }

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    bool can_retry_;
    std::uint32_t version_ = 0;
};

class CSureUploadFolderExistsMethod final : public CRpcMethodBase {
public:
    CSureUploadFolderExistsMethod() : CRpcMethodBase(command_of(service_t::deployment, 1)) {}
    // The upload folder as the remote host names it.
    std::wstring folder() const { return text_of(folder_.get()); }

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    CRpcScopedBuf<wchar_t> folder_;
};

// The numbers are those of CreateFileW.
class CFcCreateFileMethod final : public CRpcMethodBase {
public:
    CFcCreateFileMethod(std::wstring path, std::uint32_t desired_access, std::uint32_t share_mode,
                        std::uint32_t creation_disposition, std::uint32_t flags_and_attributes)
        : CRpcMethodBase(command_of(service_t::deployment, 2)),
          path_(std::move(path)),
          desired_access_(desired_access),
          share_mode_(share_mode),
          creation_disposition_(creation_disposition),
          flags_and_attributes_(flags_and_attributes) {}
    // Hands the new remote file over. One that nobody takes is given up locally, as when the connection was lost.
    unique_remote_file take_file() noexcept { return std::move(file_); }

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    std::wstring path_;
    std::uint32_t desired_access_, share_mode_, creation_disposition_, flags_and_attributes_;
    unique_remote_file file_;
};

class CFcWriteFileMethod final : public CRpcMethodBase {
public:
    // The block is not copied (uploads send half a megabyte at a time): it must outlive the call. Nor is the file taken over.
    CFcWriteFileMethod(const unique_remote_file& file, std::span<const unsigned char> data)
        : CRpcMethodBase(command_of(service_t::deployment, 3)), file_(file.get()), data_(data) {}
    std::uint32_t written() const noexcept { return written_; }

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    void* file_;
    std::span<const unsigned char> data_;
    std::uint32_t written_ = 0;
};

class CFcCloseFileMethod final : public CRpcMethodBase {
public:
    // Takes the file over: whatever becomes of the call, the local side is given up with this object at the latest.
    explicit CFcCloseFileMethod(unique_remote_file file)
        : CRpcMethodBase(command_of(service_t::deployment, 4)), file_(std::move(file)) {}

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    unique_remote_file file_;
};

class CGetSvcDllVersionMethod final : public CRpcMethodBase {
public:
    CGetSvcDllVersionMethod() : CRpcMethodBase(command_of(service_t::deployment, 5)) {}
    dll_version_t version() const noexcept { return version_; }

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    dll_version_t version_;
};

class CUpgradeSvcDllMethod final : public CRpcMethodBase {
public:
    // The path of the new DLL on the remote host.
    explicit CUpgradeSvcDllMethod(std::wstring path)
        : CRpcMethodBase(command_of(service_t::deployment, 6)), path_(std::move(path)) {}

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    std::wstring path_;
};

}  // namespace win::rpc
