#pragma once

#include <string>

#include "rpc/method.h"
#include "rpc/reply_records.h"
#include "rpc/values.h"

// Commands of the Hyper-V integration service for change tracking. Accessors that give a record throw exc::runtime_exc_t where
// the reply has none.
namespace win::rpc {

class CHvCtpInitMethod final : public CRpcMethodBase {
public:
    CHvCtpInitMethod() : CRpcMethodBase(command_of(service_t::hv_integration, 19)) {}

private:
    rpc_call_result_t DoCall(binding_t binding) override;
};

class CHvCtpDoneMethod final : public CRpcMethodBase {
public:
    CHvCtpDoneMethod() : CRpcMethodBase(command_of(service_t::hv_integration, 20)) {}

private:
    rpc_call_result_t DoCall(binding_t binding) override;
};

class CHvCtpGetDriverVersionMethod final : public CRpcMethodBase {
public:
    CHvCtpGetDriverVersionMethod() : CRpcMethodBase(command_of(service_t::hv_integration, 21)) {}
    driver_version_t version() const noexcept { return version_; }

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    driver_version_t version_;
};

class CHvCtpGetCTStorePathMethod final : public CRpcMethodBase {
public:
    CHvCtpGetCTStorePathMethod() : CRpcMethodBase(command_of(service_t::hv_integration, 22)) {}
    std::wstring path() const { return text_of(path_.get()); }

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    CRpcScopedBuf<wchar_t> path_;
};

class CHvCtpSetCTStorePathMethod final : public CRpcMethodBase {
public:
    explicit CHvCtpSetCTStorePathMethod(std::wstring path)
        : CRpcMethodBase(command_of(service_t::hv_integration, 23)), path_(std::move(path)) {}

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    std::wstring path_;
};

class CHvCtpAddFileMethod final : public CRpcMethodBase {
public:
    CHvCtpAddFileMethod(std::wstring name, std::uint32_t block_size, std::uint32_t options)
        : CRpcMethodBase(command_of(service_t::hv_integration, 24)),
          name_(std::move(name)),
          block_size_(block_size),
          options_(options) {}
    add_file_result_t added() const;

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    std::wstring name_;
    std::uint32_t block_size_, options_;
    CRpcScopedBuf<hv_add_file_result_t> added_;
};

class CHvCtpGetFileIDMethod final : public CRpcMethodBase {
public:
    explicit CHvCtpGetFileIDMethod(std::wstring name)
        : CRpcMethodBase(command_of(service_t::hv_integration, 25)), name_(std::move(name)) {}
    std::uint32_t file_id() const noexcept { return file_id_; }

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    std::wstring name_;
    std::uint32_t file_id_ = 0;
};

class CHvCtpRemoveFileMethod final : public CRpcMethodBase {
public:
    CHvCtpRemoveFileMethod(std::uint32_t file_id, std::uint32_t options)
        : CRpcMethodBase(command_of(service_t::hv_integration, 26)), file_id_(file_id), options_(options) {}

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    std::uint32_t file_id_, options_;
};

class CHvCtpGetFileNameMethod final : public CRpcMethodBase {
public:
    explicit CHvCtpGetFileNameMethod(std::uint32_t file_id)
        : CRpcMethodBase(command_of(service_t::hv_integration, 27)), file_id_(file_id) {}
    std::wstring name() const { return text_of(name_.get()); }

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    std::uint32_t file_id_;
    CRpcScopedBuf<wchar_t> name_;
};

class CHvCtpGetFileIndexMethod final : public CRpcMethodBase {
public:
    explicit CHvCtpGetFileIndexMethod(std::uint32_t file_id)
        : CRpcMethodBase(command_of(service_t::hv_integration, 28)), file_id_(file_id) {}
    change_index_t index() const;

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    std::uint32_t file_id_;
    CRpcScopedBuf<hv_change_index_t> index_;
};

class CHvCtpSetFileIndexMethod final : public CRpcMethodBase {
public:
    CHvCtpSetFileIndexMethod(std::uint32_t file_id, const change_index_t& index)
        : CRpcMethodBase(command_of(service_t::hv_integration, 29)), file_id_(file_id), index_(index) {}

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    std::uint32_t file_id_;
    change_index_t index_;
};

// Two procedures with the same request and answer: `flush` chooses both the call and the name.
class CHvCtpGetFileStandardInfoOrFlushChangesMethod final : public CRpcMethodBase {
public:
    CHvCtpGetFileStandardInfoOrFlushChangesMethod(std::uint32_t file_id, bool flush)
        : CRpcMethodBase(flush ? command_of(service_t::hv_integration, 31) : command_of(service_t::hv_integration, 30)),
          file_id_(file_id),
          flush_(flush) {}
    file_standard_info_t info() const;

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    std::uint32_t file_id_;
    bool flush_;
    CRpcScopedBuf<hv_file_standard_info_t> info_;
};

class CHvCtpGetFileCacheMethod final : public CRpcMethodBase {
public:
    explicit CHvCtpGetFileCacheMethod(std::uint32_t file_id)
        : CRpcMethodBase(command_of(service_t::hv_integration, 32)), file_id_(file_id) {}
    file_cache_t cache() const;

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    std::uint32_t file_id_;
    CRpcScopedBuf<hv_file_cache_t> cache_;
};

class CHvCtpSetFileCacheMethod final : public CRpcMethodBase {
public:
    CHvCtpSetFileCacheMethod(std::uint32_t file_id, const file_cache_t& cache)
        : CRpcMethodBase(command_of(service_t::hv_integration, 33)), file_id_(file_id), cache_(cache) {}

private:
    rpc_call_result_t DoCall(binding_t binding) override;
    std::uint32_t file_id_;
    file_cache_t cache_;
};

}  // namespace win::rpc
