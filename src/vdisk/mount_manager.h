#pragma once

#include <memory>

#include "foundation/handles.h"
#include "vdisk/vhd_mounter.h"
#include "vdisk/vmdk_mounter.h"

namespace impl {

// What the mount manager and its mounters work with.
struct mount_platform_t {
    DWORD lock_limit_ms = 20000;
    vdmount::volume_functions_t volume;
    vdmount::vhd_platform_t vhd;
};

// The entry to the mounting of virtual disks on this machine. Each mounter is created when it is first asked for and shared by
// all who ask. Any thread may call.
class CVDiskMountManager {
public:
    explicit CVDiskMountManager(mount_platform_t platform = {});

    // Throw exc::win_sys_exc_t where the lock is not had in time (258).
    std::shared_ptr<vdmount::CVmdkMounter> VmdkMounter();
    // Also throws where this machine cannot mount VHD files; the next call tries again.
    std::shared_ptr<vdmount::CVhdMounter> VhdMounter();

    // Whether VhdMounter() succeeds; why it does not, the log says at debug level.
    bool IsSupportedVhdMount();

private:
    template <class Mounter, class Platform>
    std::shared_ptr<Mounter> get_or_create(std::shared_ptr<Mounter>& mounter, const Platform& platform);

    const mount_platform_t platform_;
    win::unique_handle lock_;
    std::shared_ptr<vdmount::CVmdkMounter> vmdk_mounter_;
    std::shared_ptr<vdmount::CVhdMounter> vhd_mounter_;
};

}  // namespace impl
