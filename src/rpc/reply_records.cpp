#include "rpc/reply_records.h"

#include "rpc/reply_list.h"
#include "stubs/hv_integration.h"

namespace win::rpc {

// The sizes that both sides' stubs agree on; the widest member aligns.
static_assert(sizeof(::rpc_call_result_t) == 16);
static_assert(sizeof(hv_async_status_t) == 16);
static_assert(sizeof(hv_snapshot_info_t) == 24);
static_assert(sizeof(hv_import_request_t) == 16);
static_assert(sizeof(hv_driver_version_t) == 4);
static_assert(sizeof(hv_add_file_request_t) == 16);
static_assert(sizeof(hv_change_index_t) == 20);
static_assert(sizeof(hv_add_file_result_t) == 24);
static_assert(sizeof(hv_file_standard_info_t) == 40);
static_assert(sizeof(hv_file_cache_t) == 16);
static_assert(sizeof(hv_cluster_volume_t) == 16);
static_assert(sizeof(hv_cluster_volume_list_t) == 16);
static_assert(sizeof(hv_provider_t) == 56);
static_assert(sizeof(hv_provider_list_t) == 16);
static_assert(sizeof(hv_volume_t) == 24);

template <>
void reply_members<hv_async_status_t>::free(hv_async_status_t& record) noexcept {
    free_rpc_buffer(record.error);
}

template <>
void reply_members<hv_snapshot_info_t>::free(hv_snapshot_info_t& record) noexcept {
    free_rpc_buffer(record.backup_document);
    free_rpc_buffer(record.writer_document);
    free_rpc_buffer(record.transportable_info);
}

template <>
void reply_members<hv_file_standard_info_t>::free(hv_file_standard_info_t& record) noexcept {
    free_rpc_buffer(record.name);
}

template <>
void reply_members<hv_cluster_volume_list_t>::free(hv_cluster_volume_list_t& record) noexcept {
    for (hv_cluster_volume_t& entry : entries_of(record))
        free_rpc_buffer(entry.mount_point);
    free_rpc_buffer(record.entries);
}

template <>
void reply_members<hv_provider_list_t>::free(hv_provider_list_t& record) noexcept {
    for (hv_provider_t& entry : entries_of(record)) {
        free_rpc_buffer(entry.name);
        free_rpc_buffer(entry.version);
    }
    free_rpc_buffer(record.entries);
}

}  // namespace win::rpc
