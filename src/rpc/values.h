#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

// What commands take and give where one number or text is not enough.
namespace win::rpc {

struct async_status_t {
    bool completed = false;
    bool succeeded = false;
    std::wstring error;  // empty where the service sent none
};

struct snapshot_info_t {
    std::wstring backup_document;
    std::wstring writer_document;
    std::wstring transportable_info;
};

struct driver_version_t {
    std::uint16_t compatible = 0;
    std::uint16_t current = 0;
};

struct change_index_t {
    GUID generation_id{};
    std::uint16_t current_index = 0;
};

struct add_file_result_t {
    std::uint32_t file_id = 0;
    change_index_t index;
};

struct file_standard_info_t {
    change_index_t index;
    std::uint32_t block_size = 0;
    std::uint32_t options = 0;
    std::wstring name;  // of the change-tracking file
};

struct file_cache_t {
    std::uint64_t max_flat_size = 0;
    std::uint64_t max_indirect_size = 0;
};

struct cluster_volume_t {
    std::wstring mount_point;
    bool is_csv = false;  // a cluster shared volume
};

struct vss_provider_t {
    GUID id{};
    std::wstring name;
    std::uint32_t type = 0;  // 0 system, 1 hardware, 2 software
    std::wstring version;
    GUID version_id{};
};

// Can this volume (or the volume of this file) be snapshotted by this provider?
struct volume_request_t {
    std::wstring name;
    GUID provider_id{};
};

// The two halves of a file version, as VS_FIXEDFILEINFO holds them.
struct dll_version_t {
    std::uint32_t high = 0;
    std::uint32_t low = 0;
};

}  // namespace win::rpc
