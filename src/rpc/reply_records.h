#pragma once

#include "rpc/scoped_buf.h"

// The records that replies bring (idl/hv_integration.idl). Those with pointers inside say how these are freed.
struct hv_async_status_t;
struct hv_snapshot_info_t;
struct hv_add_file_result_t;
struct hv_change_index_t;
struct hv_file_standard_info_t;
struct hv_file_cache_t;
struct hv_cluster_volume_list_t;
struct hv_provider_list_t;

namespace win::rpc {

template <>
void reply_members<hv_async_status_t>::free(hv_async_status_t& record) noexcept;
template <>
void reply_members<hv_snapshot_info_t>::free(hv_snapshot_info_t& record) noexcept;
template <>
void reply_members<hv_file_standard_info_t>::free(hv_file_standard_info_t& record) noexcept;
template <>
void reply_members<hv_cluster_volume_list_t>::free(hv_cluster_volume_list_t& record) noexcept;
template <>
void reply_members<hv_provider_list_t>::free(hv_provider_list_t& record) noexcept;

}  // namespace win::rpc
