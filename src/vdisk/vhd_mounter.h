#pragma once

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "foundation/lock.h"
#include "foundation/names.h"
#include "foundation/poll_policy.h"
#include "vdisk/disk_volumes.h"
#include "vdisk/privilege.h"
#include "vdisk/virtual_disk.h"

namespace impl::vdmount {

// What the VHD mounter works with.
struct vhd_platform_t {
    virtual_disk_functions_t (*load_library)() = [] { return load_virtual_disk_library(); };
    win::held_privilege_t (*take_privilege)(const win::privilege_t&) = &win::take_privilege;
    mount_point_functions_t mount_points;
    // How long the volumes of a disk just attached may take to arrive. They come one by one, and the platform never says that
    // it is done: they are complete when so many looks in a row found the same.
    win::poll_policy_t volumes{.attempts = 150, .interval_ms = 200};
    std::uint32_t looks_without_change = 5;
};

// Mounts VHD files of this machine. What is mounted stays so until it is unmounted or the mounter goes. Any thread may call;
// one call at a time works. Paths of files are compared as they are given, without regard to case.
class CVhdMounter {
public:
    // Throws where the platform's virtual disk library is not there.
    explicit CVhdMounter(vhd_platform_t platform = {});
    ~CVhdMounter();

    // Mounts each volume of the disk at the folder "Volume" and its partition's number below `mount_folder_root`, which must
    // exist and be a full path ("C:\Mnt"). Where anything fails, nothing stays mounted.
    void Mount(const std::wstring& vhd_path, const std::wstring& mount_folder_root);

    // Mounts each volume of the disk at a free drive letter; the result has the bit of each letter set, bit 0 for A.
    unsigned long MountAtDriveLetter(const std::wstring& vhd_path);

    // A disk that cannot be detached, or of which a mount point cannot be removed, stays known; Umount may be tried again.
    void Umount(const std::wstring& vhd_path);

    // Tries all; the first failure is thrown in the end.
    void UmountAll();

private:
    struct mounted_disk_t;
    using disks_t = std::map<std::wstring, std::unique_ptr<mounted_disk_t>, win::name_less_t>;

    // Attaches the disk and mounts each volume at the path that `mount_path` gives for it.
    void mount_volumes(const std::wstring& vhd_path, const std::function<std::wstring(const disk_volume_t&)>& mount_path);
    std::vector<disk_volume_t> wait_for_volumes(DWORD disk_number) const;
    static void unmount(mounted_disk_t& disk);

    const vhd_platform_t platform_;
    const virtual_disk_functions_t library_;
    win::lock_t lock_;
    disks_t disks_;
};

}  // namespace impl::vdmount
