#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace impl::vdmount {

struct disk_volume_t {
    std::wstring name;  // "\\?\Volume{GUID}\"
    DWORD partition;    // from 1

    bool operator==(const disk_volume_t&) const = default;
};

// The volumes that the platform has on a disk by now, by partition. Volumes of a disk just attached arrive one by one.
std::vector<disk_volume_t> find_disk_volumes(DWORD disk_number);

// The platform calls that mount a volume at a folder or a drive letter.
struct mount_point_functions_t {
    std::vector<disk_volume_t> (*find_disk_volumes)(DWORD disk_number) = &vdmount::find_disk_volumes;
    decltype(&::SetVolumeMountPointW) set_mount_point = &::SetVolumeMountPointW;
    decltype(&::DeleteVolumeMountPointW) delete_mount_point = &::DeleteVolumeMountPointW;
    decltype(&::GetLogicalDrives) logical_drives = &::GetLogicalDrives;
};

// A volume mounted at a path that ends in "\", until this goes.
class volume_mount_t {
public:
    // A folder that is not there is made (the one above it must be there) and removed in the end. `functions` must outlive
    // this.
    volume_mount_t(const mount_point_functions_t& functions, std::wstring path, const disk_volume_t& volume);
    // Logs what unmount() throws.
    ~volume_mount_t();
    volume_mount_t(const volume_mount_t&) = delete;
    volume_mount_t& operator=(const volume_mount_t&) = delete;

    // Throws exc::win_sys_exc_t where the volume stays mounted; it may be called again. A mount point that somebody else has
    // removed is no failure.
    void unmount();

private:
    void remove_folder() noexcept;

    const mount_point_functions_t& functions_;
    std::wstring path_;
    bool made_folder_ = false;
    bool mounted_ = false;
};

}  // namespace impl::vdmount
