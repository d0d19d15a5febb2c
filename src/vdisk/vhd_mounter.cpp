#include "vdisk/vhd_mounter.h"

#include "foundation/errors.h"
#include "foundation/format.h"
#include "foundation/nesting.h"
#include "logging/write.h"
#include "vdisk/fold_case.h"

namespace impl::vdmount {
namespace {

wchar_t free_drive_letter(const mount_point_functions_t& functions) {
    const DWORD used = functions.logical_drives();
    for (wchar_t letter = L'D'; letter <= L'Z'; ++letter)
        if ((used & (1u << (letter - L'A'))) == 0)
            return letter;
    throw exc::runtime_exc_t("There is no free drive letter.");
}

}  // namespace

struct CVhdMounter::mounted_disk_t {
    mounted_disk_t(const virtual_disk_functions_t& library, const std::wstring& path) : disk(library, path) {}

    attached_disk_t disk;
    std::deque<volume_mount_t> mounts;  // go before the disk does
};

CVhdMounter::CVhdMounter(vhd_platform_t platform) : platform_(std::move(platform)), library_(platform_.load_library()) {}

CVhdMounter::~CVhdMounter() = default;

void CVhdMounter::Mount(const std::wstring& vhd_path, const std::wstring& mount_folder_root) {
    const std::wstring root = mount_folder_root.ends_with(L'\\') ? mount_folder_root : mount_folder_root + L'\\';
    mount_volumes(vhd_path,
                  [&](const disk_volume_t& volume) { return root + L"Volume" + std::to_wstring(volume.partition) + L'\\'; });
}

unsigned long CVhdMounter::MountAtDriveLetter(const std::wstring& vhd_path) {
    unsigned long letters = 0;
    mount_volumes(vhd_path, [&](const disk_volume_t&) {
        const wchar_t letter = free_drive_letter(platform_.mount_points);
        letters |= 1ul << (letter - L'A');
        return std::wstring{letter, L':', L'\\'};
    });
    return letters;
}

void CVhdMounter::mount_volumes(const std::wstring& vhd_path,
                                const std::function<std::wstring(const disk_volume_t&)>& mount_path) {
    const auto fail = [&] { return text::format("Failed to mount virtual disk '%1'.", vhd_path); };
    exc::wrap_errors(fail, [&] {
        const auto scope = logging::scoped("Mounting virtual disk '%1'.", vhd_path);
        const std::lock_guard guard(lock_);
        const std::wstring key = fold_case(vhd_path);
        if (disks_.contains(key))
            throw exc::runtime_exc_t("It is mounted already.");
        const auto privilege = platform_.take_privilege(win::manage_volume_privilege);
        auto mounted = std::make_unique<mounted_disk_t>(library_, vhd_path);
        for (const auto& volume : wait_for_volumes(mounted->disk.disk_number())) {
            const std::wstring path = mount_path(volume);
            mounted->mounts.emplace_back(platform_.mount_points, path, volume);
            logging::info("Volume '%1' is mounted at '%2'.", volume.name, path);
        }
        disks_.emplace(key, std::move(mounted));
    });
}

std::vector<disk_volume_t> CVhdMounter::wait_for_volumes(DWORD disk_number) const {
    // Complete when a second look finds no more than the first.
    std::size_t known = 0;
    for (std::uint32_t attempt = 0; attempt < platform_.volumes.attempts; ++attempt) {
        if (attempt > 0)
            platform_.volumes.wait(platform_.volumes.interval_ms);
        auto volumes = platform_.mount_points.find_disk_volumes(disk_number);
        if (!volumes.empty() && (volumes.size() == known || attempt + 1 == platform_.volumes.attempts))
            return volumes;
        known = volumes.size();
    }
    throw exc::runtime_exc_t(text::format("No volume of disk %1 has arrived in time.", disk_number));
}

void CVhdMounter::unmount(disks_t::value_type& disk) {
    disk.second->mounts.clear();
    disk.second->disk.detach();
    logging::info("Virtual disk '%1' is unmounted.", disk.first);
}

void CVhdMounter::Umount(const std::wstring& vhd_path) {
    const auto fail = [&] { return text::format("Failed to unmount virtual disk '%1'.", vhd_path); };
    exc::wrap_errors(fail, [&] {
        const std::lock_guard guard(lock_);
        const auto disk = disks_.find(fold_case(vhd_path));
        if (disk == disks_.end())
            throw exc::runtime_exc_t("It is not mounted.");
        unmount(*disk);
        disks_.erase(disk);
    });
}

void CVhdMounter::UmountAll() {
    exc::wrap_errors("Failed to unmount all virtual disks.", [&] {
        const std::lock_guard guard(lock_);
        std::exception_ptr first_failure;
        for (auto disk = disks_.begin(); disk != disks_.end();) {
            try {
                unmount(*disk);
                disk = disks_.erase(disk);
            } catch (const std::exception& error) {
                logging::error_with(error, "Failed to unmount virtual disk '%1'.", disk->first);
                if (!first_failure)
                    first_failure = std::current_exception();
                ++disk;
            }
        }
        if (first_failure)
            std::rethrow_exception(first_failure);
    });
}

}  // namespace impl::vdmount
