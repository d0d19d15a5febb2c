#include "vdisk/vmdk_mounter.h"

#include "foundation/errors.h"
#include "vdisk/reparse_updater.h"

namespace impl::vdmount {
namespace {

[[noreturn]] void no_driver() {
    throw exc::runtime_exc_t(
        "The virtual disk driver 'VirtualDK' is not available: VMDK disks cannot be mounted or unmounted.");
}

}  // namespace

void CVmdkMounter::Mount(const std::wstring&, std::uint32_t, std::uint32_t) { no_driver(); }

unsigned long CVmdkMounter::MountAtDriveLetter(std::uint32_t, std::uint32_t) { no_driver(); }

void CVmdkMounter::Umount(const std::wstring&) { no_driver(); }

void CVmdkMounter::UmountAll() { no_driver(); }

void CVmdkMounter::UpdateReparsePoints(const std::wstring& volumes_spec, std::uint32_t max_count) {
    update_reparse_points(volumes_spec, max_count, functions_);
}

}  // namespace impl::vdmount
