// The integration service: change tracking of virtual disk files.
#include "lab/host_model.h"
#include "lab/serve.h"
#include "stubs/hv_integration.h"

namespace {

// An output record, or null where the lab is told to answer so.
template <class Record>
void answer(const lab::change_tracking_t& tracking, Record** output, const Record& record) {
    if (!tracking.null_records)
        *(*output = lab::allocate<Record>()) = record;
}

hv_change_index_t index_of(const lab::tracked_file_t& file) { return {file.generation_id, file.current_index}; }

void answer_standard_info(lab::change_tracking_t& tracking, ULONG file_id, hv_file_standard_info_t** info) {
    const lab::tracked_file_t& file = tracking.file(file_id);
    hv_file_standard_info_t record{};
    record.generation_id = file.generation_id;
    record.current_index = file.current_index;
    record.block_size = file.block_size;
    record.options = file.options;
    if (!tracking.null_records)
        record.name = lab::copy_text(tracking.tracking_file_of(file));
    answer(tracking, info, record);
}

}  // namespace

void s_HvCtpInit(handle_t, rpc_call_result_t* result) {
    lab::serve(result, "HvCtpInit", {}, [&] { lab::host()->tracking.init(); });
}

void s_HvCtpDone(handle_t, rpc_call_result_t* result) {
    lab::serve(result, "HvCtpDone", {}, [&] { lab::host()->tracking.done(); });
}

void s_HvCtpGetDriverVersion(handle_t, hv_driver_version_t* version, rpc_call_result_t* result) {
    lab::serve(result, "HvCtpGetDriverVersion", {}, [&] {
        const auto model = lab::host();
        *version = {model->tracking.compatible_version, model->tracking.current_version};
    });
}

void s_HvCtpGetCTStorePath(handle_t, wchar_t** path, rpc_call_result_t* result) {
    lab::serve(result, "HvCtpGetCTStorePath", {}, [&] { *path = lab::copy_text(lab::host()->tracking.store_path); });
}

void s_HvCtpSetCTStorePath(handle_t, const wchar_t* path, rpc_call_result_t* result) {
    lab::serve(result, "HvCtpSetCTStorePath", {{"path", path}}, [&] { lab::host()->tracking.store_path = path; });
}

void s_HvCtpAddFile(handle_t, const hv_add_file_request_t* request, hv_add_file_result_t** added, rpc_call_result_t* result) {
    lab::serve(result, "HvCtpAddFile",
               {{"name", request->name}, {"block_size", request->block_size}, {"options", request->options}}, [&] {
                   const auto model = lab::host();
                   const lab::tracked_file_t& file =
                       model->tracking.add(request->name ? request->name : L"", request->block_size, request->options);
                   answer(model->tracking, added, {file.id, index_of(file)});
               });
}

void s_HvCtpGetFileID(handle_t, const wchar_t* name, ULONG* file, rpc_call_result_t* result) {
    lab::serve(result, "HvCtpGetFileID", {{"name", name}}, [&] { *file = lab::host()->tracking.file(name).id; });
}

void s_HvCtpRemoveFile(handle_t, ULONG file, ULONG options, rpc_call_result_t* result) {
    lab::serve(result, "HvCtpRemoveFile", {{"file", file}, {"options", options}}, [&] { lab::host()->tracking.remove(file); });
}

void s_HvCtpGetFileName(handle_t, ULONG file, wchar_t** name, rpc_call_result_t* result) {
    lab::serve(result, "HvCtpGetFileName", {{"file", file}},
               [&] { *name = lab::copy_text(lab::host()->tracking.file(file).name); });
}

void s_HvCtpGetFileIndex(handle_t, ULONG file, hv_change_index_t** index, rpc_call_result_t* result) {
    lab::serve(result, "HvCtpGetFileIndex", {{"file", file}}, [&] {
        const auto model = lab::host();
        answer(model->tracking, index, index_of(model->tracking.file(file)));
    });
}

void s_HvCtpSetFileIndex(handle_t, ULONG file, const hv_change_index_t* index, rpc_call_result_t* result) {
    lab::serve(result, "HvCtpSetFileIndex",
               {{"file", file}, {"generation_id", index->generation_id}, {"current_index", index->current_index}}, [&] {
                   const auto model = lab::host();
                   lab::tracked_file_t& tracked = model->tracking.file(file);
                   tracked.generation_id = index->generation_id;
                   tracked.current_index = index->current_index;
               });
}

void s_HvCtpGetFileStandardInfo(handle_t, ULONG file, hv_file_standard_info_t** info, rpc_call_result_t* result) {
    lab::serve(result, "HvCtpGetFileStandardInfo", {{"file", file}},
               [&] { answer_standard_info(lab::host()->tracking, file, info); });
}

void s_HvCtpFlushFileChanges(handle_t, ULONG file, hv_file_standard_info_t** info, rpc_call_result_t* result) {
    lab::serve(result, "HvCtpFlushFileChanges", {{"file", file}}, [&] {
        const auto model = lab::host();
        model->tracking.flush(file);
        answer_standard_info(model->tracking, file, info);
    });
}

void s_HvCtpGetFileCache(handle_t, ULONG file, hv_file_cache_t** cache, rpc_call_result_t* result) {
    lab::serve(result, "HvCtpGetFileCache", {{"file", file}}, [&] {
        const auto model = lab::host();
        const lab::tracked_file_t& tracked = model->tracking.file(file);
        answer(model->tracking, cache, {tracked.max_flat_size, tracked.max_indirect_size});
    });
}

void s_HvCtpSetFileCache(handle_t, ULONG file, const hv_file_cache_t* cache, rpc_call_result_t* result) {
    lab::serve(result, "HvCtpSetFileCache",
               {{"file", file}, {"max_flat_size", cache->max_flat_size}, {"max_indirect_size", cache->max_indirect_size}}, [&] {
                   const auto model = lab::host();
                   lab::tracked_file_t& tracked = model->tracking.file(file);
                   tracked.max_flat_size = cache->max_flat_size;
                   tracked.max_indirect_size = cache->max_indirect_size;
               });
}
