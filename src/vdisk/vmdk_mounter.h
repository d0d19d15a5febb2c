#pragma once

#include <cstdint>
#include <string>

#include "vdisk/volume_functions.h"

namespace impl::vdmount {

// Mounts VMDK disks through the virtual disk driver. The driver is no part of this system yet: the methods that mount or
// unmount say so by an error. Reparse points are updated in volumes that somebody else mounted.
class CVmdkMounter {
public:
    explicit CVmdkMounter(volume_functions_t functions = {}) : functions_(functions) {}

    void Mount(const std::wstring& mount_folder, std::uint32_t disk, std::uint32_t partition);
    unsigned long MountAtDriveLetter(std::uint32_t disk, std::uint32_t partition);
    void Umount(const std::wstring& mount_folder);
    void UmountAll();

    // See update_reparse_points.
    void UpdateReparsePoints(const std::wstring& volumes_spec, std::uint32_t max_count);

private:
    const volume_functions_t functions_;
};

}  // namespace impl::vdmount
