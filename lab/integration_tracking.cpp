// The integration service: change tracking of virtual disk files.
#include "stubs/hv_integration.h"

#include "lab/serve.h"

void s_HvCtpInit(handle_t, rpc_call_result_t* result) { lab::decline(result, "HvCtpInit", {}); }

void s_HvCtpDone(handle_t, rpc_call_result_t* result) { lab::decline(result, "HvCtpDone", {}); }

void s_HvCtpGetDriverVersion(handle_t, hv_driver_version_t*, rpc_call_result_t* result) {
    lab::decline(result, "HvCtpGetDriverVersion", {});
}

void s_HvCtpGetCTStorePath(handle_t, wchar_t**, rpc_call_result_t* result) { lab::decline(result, "HvCtpGetCTStorePath", {}); }

void s_HvCtpSetCTStorePath(handle_t, const wchar_t* path, rpc_call_result_t* result) {
    lab::decline(result, "HvCtpSetCTStorePath", {{"path", path}});
}

void s_HvCtpAddFile(handle_t, const hv_add_file_request_t* request, hv_add_file_result_t**, rpc_call_result_t* result) {
    lab::decline(result, "HvCtpAddFile",
                 {{"name", request->name}, {"block_size", request->block_size}, {"options", request->options}});
}

void s_HvCtpGetFileID(handle_t, const wchar_t* name, ULONG*, rpc_call_result_t* result) {
    lab::decline(result, "HvCtpGetFileID", {{"name", name}});
}

void s_HvCtpRemoveFile(handle_t, ULONG file, ULONG options, rpc_call_result_t* result) {
    lab::decline(result, "HvCtpRemoveFile", {{"file", file}, {"options", options}});
}

void s_HvCtpGetFileName(handle_t, ULONG file, wchar_t**, rpc_call_result_t* result) {
    lab::decline(result, "HvCtpGetFileName", {{"file", file}});
}

void s_HvCtpGetFileIndex(handle_t, ULONG file, hv_change_index_t**, rpc_call_result_t* result) {
    lab::decline(result, "HvCtpGetFileIndex", {{"file", file}});
}

void s_HvCtpSetFileIndex(handle_t, ULONG file, const hv_change_index_t* index, rpc_call_result_t* result) {
    lab::decline(result, "HvCtpSetFileIndex",
                 {{"file", file}, {"generation_id", index->generation_id}, {"current_index", index->current_index}});
}

void s_HvCtpGetFileStandardInfo(handle_t, ULONG file, hv_file_standard_info_t**, rpc_call_result_t* result) {
    lab::decline(result, "HvCtpGetFileStandardInfo", {{"file", file}});
}

void s_HvCtpFlushFileChanges(handle_t, ULONG file, hv_file_standard_info_t**, rpc_call_result_t* result) {
    lab::decline(result, "HvCtpFlushFileChanges", {{"file", file}});
}

void s_HvCtpGetFileCache(handle_t, ULONG file, hv_file_cache_t**, rpc_call_result_t* result) {
    lab::decline(result, "HvCtpGetFileCache", {{"file", file}});
}

void s_HvCtpSetFileCache(handle_t, ULONG file, const hv_file_cache_t* cache, rpc_call_result_t* result) {
    lab::decline(result, "HvCtpSetFileCache",
                 {{"file", file}, {"max_flat_size", cache->max_flat_size}, {"max_indirect_size", cache->max_indirect_size}});
}
