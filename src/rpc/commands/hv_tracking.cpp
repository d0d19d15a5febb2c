#include "rpc/commands/hv_tracking.h"

#include "rpc/remote_call.h"
#include "stubs/hv_integration.h"

namespace win::rpc {

rpc_call_result_t CHvCtpInitMethod::DoCall(binding_t binding) { return remote_call(::HvCtpInit, binding); }

rpc_call_result_t CHvCtpDoneMethod::DoCall(binding_t binding) { return remote_call(::HvCtpDone, binding); }

rpc_call_result_t CHvCtpGetDriverVersionMethod::DoCall(binding_t binding) {
    hv_driver_version_t version{};
    auto result = remote_call(::HvCtpGetDriverVersion, binding, out(version));
    version_ = {version.compatible, version.current};
    return result;
}

rpc_call_result_t CHvCtpGetCTStorePathMethod::DoCall(binding_t binding) {
    return remote_call(::HvCtpGetCTStorePath, binding, out(path_));
}

rpc_call_result_t CHvCtpSetCTStorePathMethod::DoCall(binding_t binding) {
    return remote_call(::HvCtpSetCTStorePath, binding, in_text(path_));
}

rpc_call_result_t CHvCtpAddFileMethod::DoCall(binding_t binding) {
    const hv_add_file_request_t request{in_text(name_), block_size_, options_};
    return remote_call(::HvCtpAddFile, binding, &request, out(added_));
}

add_file_result_t CHvCtpAddFileMethod::added() const {
    const hv_add_file_result_t& record = required(added_);
    return {record.file_id, {record.index.generation_id, record.index.current_index}};
}

rpc_call_result_t CHvCtpGetFileIDMethod::DoCall(binding_t binding) {
    return remote_call(::HvCtpGetFileID, binding, in_text(name_), out(file_id_));
}

rpc_call_result_t CHvCtpRemoveFileMethod::DoCall(binding_t binding) {
    return remote_call(::HvCtpRemoveFile, binding, file_id_, options_);
}

rpc_call_result_t CHvCtpGetFileNameMethod::DoCall(binding_t binding) {
    return remote_call(::HvCtpGetFileName, binding, file_id_, out(name_));
}

rpc_call_result_t CHvCtpGetFileIndexMethod::DoCall(binding_t binding) {
    return remote_call(::HvCtpGetFileIndex, binding, file_id_, out(index_));
}

change_index_t CHvCtpGetFileIndexMethod::index() const {
    const hv_change_index_t& record = required(index_);
    return {record.generation_id, record.current_index};
}

rpc_call_result_t CHvCtpSetFileIndexMethod::DoCall(binding_t binding) {
    const hv_change_index_t index{index_.generation_id, index_.current_index};
    return remote_call(::HvCtpSetFileIndex, binding, file_id_, &index);
}

rpc_call_result_t CHvCtpGetFileStandardInfoOrFlushChangesMethod::DoCall(binding_t binding) {
    return remote_call(flush_ ? ::HvCtpFlushFileChanges : ::HvCtpGetFileStandardInfo, binding, file_id_, out(info_));
}

file_standard_info_t CHvCtpGetFileStandardInfoOrFlushChangesMethod::info() const {
    const hv_file_standard_info_t& record = required(info_);
    return {{record.generation_id, record.current_index}, record.block_size, record.options, text_of(record.name)};
}

rpc_call_result_t CHvCtpGetFileCacheMethod::DoCall(binding_t binding) {
    return remote_call(::HvCtpGetFileCache, binding, file_id_, out(cache_));
}

file_cache_t CHvCtpGetFileCacheMethod::cache() const {
    const hv_file_cache_t& record = required(cache_);
    return {record.max_flat_size, record.max_indirect_size};
}

rpc_call_result_t CHvCtpSetFileCacheMethod::DoCall(binding_t binding) {
    const hv_file_cache_t cache{cache_.max_flat_size, cache_.max_indirect_size};
    return remote_call(::HvCtpSetFileCache, binding, file_id_, &cache);
}

}  // namespace win::rpc
