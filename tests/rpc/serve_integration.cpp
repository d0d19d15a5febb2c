// The loopback's Hyper-V integration service.
#include <rpc.h>
#include <rpcndr.h>

#include "stubs/hv_integration.h"
#include "tests/rpc/served.h"

using loopback::guid;
using loopback::record;
using loopback::rpc_string;
using loopback::serve;

namespace {

// Entries for a list that counts two; none where the test asks for that.
template <class List, class Entry = std::remove_pointer_t<decltype(List::entries)>>
List* list_of_two() {
    auto* list = record<List>();
    if (list)
        list->count = 2;
    if (list && loopback::served().records == loopback::records_t::whole)
        list->entries = static_cast<Entry*>(MIDL_user_allocate(2 * sizeof(Entry)));
    return list;
}

hv_file_standard_info_t* standard_info() {
    auto* info = record<hv_file_standard_info_t>();
    if (info)
        *info = {guid(30), 0xFFFE, 0, 4096, 513, rpc_string(L"file.ctp")};
    return info;
}

}  // namespace

extern "C" {

void s_HvTestConnection(handle_t, rpc_call_result_t* result) { serve(result, "HvTestConnection"); }

void s_HvGetAsyncOpStatus(handle_t, const GUID* operation, hv_async_status_t** status, rpc_call_result_t* result) {
    serve(result, "HvGetAsyncOpStatus", *operation);
    if ((*status = record<hv_async_status_t>()))
        **status = {-1, 0, operation->Data1 == 1 ? rpc_string(L"why \u4e16") : nullptr};
}

void s_HvGetSnapshotInfo(handle_t, const GUID* snapshot, hv_snapshot_info_t** info, rpc_call_result_t* result) {
    serve(result, "HvGetSnapshotInfo", *snapshot);
    if ((*info = record<hv_snapshot_info_t>()))
        **info = {rpc_string(L"backup"), nullptr, rpc_string(L"transportable")};
}

void s_HvGetVMFilesList(handle_t, const GUID* snapshot, const wchar_t* vm, wchar_t** files, rpc_call_result_t* result) {
    serve(result, "HvGetVMFilesList", *snapshot, vm);
    *files = rpc_string(L"<FilesList/>");
}

void s_HvSetVmBackupStatus(handle_t, const GUID* snapshot, const wchar_t* vm, ULONG status, rpc_call_result_t* result) {
    serve(result, "HvSetVmBackupStatus", *snapshot, vm, status);
}

void s_HvBeginSnapshotCreation(handle_t, const wchar_t* specification, GUID* operation, rpc_call_result_t* result) {
    serve(result, "HvBeginSnapshotCreation", specification);
    *operation = guid(5);
}

void s_HvGetSnapshotIDByOperationID(handle_t, const GUID* operation, GUID* snapshot, rpc_call_result_t* result) {
    serve(result, "HvGetSnapshotIDByOperationID", *operation);
    *snapshot = guid(6);
}

void s_HvCloseSnapshot(handle_t, const GUID* snapshot, rpc_call_result_t* result) {
    serve(result, "HvCloseSnapshot", *snapshot);
}

void s_HvBeginSnapshotImport(handle_t, const hv_import_request_t* request, GUID* operation, rpc_call_result_t* result) {
    serve(result, "HvBeginSnapshotImport", request->backup_document, request->snapshot_ids);
    *operation = guid(8);
}

void s_HvConvertOffhostPaths(handle_t, const GUID* snapshot, const wchar_t* paths, wchar_t** files, rpc_call_result_t* result) {
    serve(result, "HvConvertOffhostPaths", *snapshot, paths);
    *files = rpc_string(L"<shadow/>");
}

void s_HvReleaseOperationID(handle_t, const GUID* operation, rpc_call_result_t* result) {
    serve(result, "HvReleaseOperationID", *operation);
}

void s_CreateRestoreSession(handle_t, GUID* session, rpc_call_result_t* result) {
    serve(result, "CreateRestoreSession");
    *session = guid(11);
}

void s_HvImportConfig(handle_t, const GUID* session, const wchar_t* backup, const wchar_t* writer, rpc_call_result_t* result) {
    serve(result, "HvImportConfig", *session, backup, writer);
}

void s_HvPreRestore(handle_t, const GUID* session, const wchar_t* vm, const wchar_t* files, const wchar_t* path,
                    rpc_call_result_t* result) {
    serve(result, "HvPreRestore", *session, vm, files, path);
}

void s_HvPreRestoreEx(handle_t, const GUID* session, const wchar_t* specification, rpc_call_result_t* result) {
    serve(result, "HvPreRestoreEx", *session, specification);
}

void s_HvGetRestorePaths(handle_t, const GUID* session, wchar_t** paths, rpc_call_result_t* result) {
    serve(result, "HvGetRestorePaths", *session);
    *paths = rpc_string(L"<paths/>");
}

void s_HvSetRestoreStatus(handle_t, const GUID* session, ULONG succeeded, rpc_call_result_t* result) {
    serve(result, "HvSetRestoreStatus", *session, succeeded);
}

void s_HvPostRestore(handle_t, const GUID* session, rpc_call_result_t* result) { serve(result, "HvPostRestore", *session); }

void s_HvCloseRestoreSession(handle_t, const GUID* session, rpc_call_result_t* result) {
    serve(result, "HvCloseRestoreSession", *session);
}

void s_HvCtpInit(handle_t, rpc_call_result_t* result) { serve(result, "HvCtpInit"); }

void s_HvCtpDone(handle_t, rpc_call_result_t* result) { serve(result, "HvCtpDone"); }

void s_HvCtpGetDriverVersion(handle_t, hv_driver_version_t* version, rpc_call_result_t* result) {
    serve(result, "HvCtpGetDriverVersion");
    *version = {0xFFFE, 3};
}

void s_HvCtpGetCTStorePath(handle_t, wchar_t** path, rpc_call_result_t* result) {
    serve(result, "HvCtpGetCTStorePath");
    *path = rpc_string(L"D:\\store");
}

void s_HvCtpSetCTStorePath(handle_t, const wchar_t* path, rpc_call_result_t* result) {
    serve(result, "HvCtpSetCTStorePath", path);
}

void s_HvCtpAddFile(handle_t, const hv_add_file_request_t* request, hv_add_file_result_t** added, rpc_call_result_t* result) {
    serve(result, "HvCtpAddFile", request->name, request->block_size, request->options);
    if ((*added = record<hv_add_file_result_t>()))
        **added = {24, {guid(24), 0xFFFF}};
}

void s_HvCtpGetFileID(handle_t, const wchar_t* name, ULONG* file, rpc_call_result_t* result) {
    serve(result, "HvCtpGetFileID", name);
    *file = 0xFFFFFFFF;
}

void s_HvCtpRemoveFile(handle_t, ULONG file, ULONG options, rpc_call_result_t* result) {
    serve(result, "HvCtpRemoveFile", file, options);
}

void s_HvCtpGetFileName(handle_t, ULONG file, wchar_t** name, rpc_call_result_t* result) {
    serve(result, "HvCtpGetFileName", file);
    *name = rpc_string(L"");
}

void s_HvCtpGetFileIndex(handle_t, ULONG file, hv_change_index_t** index, rpc_call_result_t* result) {
    serve(result, "HvCtpGetFileIndex", file);
    if ((*index = record<hv_change_index_t>()))
        **index = {guid(28), 28};
}

void s_HvCtpSetFileIndex(handle_t, ULONG file, const hv_change_index_t* index, rpc_call_result_t* result) {
    serve(result, "HvCtpSetFileIndex", file, index->generation_id, index->current_index);
}

void s_HvCtpGetFileStandardInfo(handle_t, ULONG file, hv_file_standard_info_t** info, rpc_call_result_t* result) {
    serve(result, "HvCtpGetFileStandardInfo", file);
    *info = standard_info();
}

void s_HvCtpFlushFileChanges(handle_t, ULONG file, hv_file_standard_info_t** info, rpc_call_result_t* result) {
    serve(result, "HvCtpFlushFileChanges", file);
    *info = standard_info();
}

void s_HvCtpGetFileCache(handle_t, ULONG file, hv_file_cache_t** cache, rpc_call_result_t* result) {
    serve(result, "HvCtpGetFileCache", file);
    if ((*cache = record<hv_file_cache_t>()))
        **cache = {0xFFFFFFFFFFFFFFFE, 1};
}

void s_HvCtpSetFileCache(handle_t, ULONG file, const hv_file_cache_t* cache, rpc_call_result_t* result) {
    serve(result, "HvCtpSetFileCache", file, cache->max_flat_size, cache->max_indirect_size);
}

void s_HvClsEnumClusterVolumes(handle_t, hv_cluster_volume_list_t** volumes, rpc_call_result_t* result) {
    serve(result, "HvClsEnumClusterVolumes");
    *volumes = list_of_two<hv_cluster_volume_list_t>();
    if (*volumes && (*volumes)->entries) {
        (*volumes)->entries[0] = {rpc_string(L"C:\\ClusterStorage\\Volume1"), 1};
        (*volumes)->entries[1] = {nullptr, 0};
    }
}

void s_HvClsGetResourceIdByName(handle_t, const wchar_t* name, wchar_t** id, rpc_call_result_t* result) {
    serve(result, "HvClsGetResourceIdByName", name);
    *id = rpc_string(L"id");
}

void s_HvClsRefreshVmConfig(handle_t, const wchar_t* name, rpc_call_result_t* result) {
    serve(result, "HvClsRefreshVmConfig", name);
}

void s_HvVssEnumProviders(handle_t, hv_provider_list_t** providers, rpc_call_result_t* result) {
    serve(result, "HvVssEnumProviders");
    *providers = list_of_two<hv_provider_list_t>();
    if (*providers && (*providers)->entries) {
        (*providers)->entries[0] = {guid(37), rpc_string(L"System"), 0, rpc_string(L"1.0"), guid(38)};
        (*providers)->entries[1] = {guid(39), nullptr, 2, nullptr, guid(40)};
    }
}

void s_HvVssIsVolumesSupported(handle_t, ULONG count, const hv_volume_t* volumes, wchar_t** answer, rpc_call_result_t* result) {
    std::string request = "HvVssIsVolumesSupported";
    for (ULONG i = 0; i < count; ++i)
        request += text::format("|%1|%2", volumes[i].name, volumes[i].provider_id);
    loopback::note(result, request);
    *answer = rpc_string(L"<answer/>");
}

void s_HvVssCollectWriterDoc(handle_t, wchar_t** document, rpc_call_result_t* result) {
    serve(result, "HvVssCollectWriterDoc");
    *document = rpc_string(L"<writer/>");
}

void s_HvBeginSnapshotCreationEx(handle_t, const wchar_t* specification, const wchar_t* job, const wchar_t* console,
                                 GUID* operation, rpc_call_result_t* result) {
    serve(result, "HvBeginSnapshotCreationEx", specification, job, console);
    *operation = guid(40);
}

void s_HvBeginSnapshotImportEx(handle_t, const hv_import_request_t* request, const wchar_t* job, const wchar_t* console,
                               GUID* operation, rpc_call_result_t* result) {
    serve(result, "HvBeginSnapshotImportEx", request->backup_document, request->snapshot_ids, job, console);
    *operation = guid(41);
}

}  // extern "C"
