#include "vdisk/vhd_mounter.h"

#include <mutex>

#include "foundation/errors.h"
#include "foundation/format.h"
#include "foundation/nesting.h"
#include "logging/write.h"

namespace impl::vdmount {
namespace {

wchar_t free_drive_letter(const mount_point_functions_t& functions) {
    const DWORD used = functions.logical_drives();
    if (used == 0)
        exc::throw_last_error("Failed to get the drive letters in use.");
    for (wchar_t letter = L'D'; letter <= L'Z'; ++letter)
        if ((used & (1u << (letter - L'A'))) == 0)
            return letter;
    throw exc::runtime_exc_t("There is no free drive letter.");
}

// Anything else would mount below the process's current drive or folder.
bool is_full_path(std::wstring_view path) {
    return path.starts_with(L"\\\\?\\") || (path.size() >= 3 && path.substr(1, 2) == L":\\");
}

}  // namespace

struct CVhdMounter::mounted_disk_t {
    mounted_disk_t(const virtual_disk_functions_t& library, std::wstring vhd_path)
        : path(std::move(vhd_path)), disk(library, path) {}

    const std::wstring path;
    attached_disk_t disk;
    std::deque<volume_mount_t> mounts;  // go before the disk does
};

CVhdMounter::CVhdMounter(vhd_platform_t platform) : platform_(std::move(platform)), library_(platform_.load_library()) {}

CVhdMounter::~CVhdMounter() = default;

void CVhdMounter::Mount(const std::wstring& vhd_path, const std::wstring& mount_folder_root) {
    if (!is_full_path(mount_folder_root))
        throw exc::runtime_exc_t(text::format("Failed to mount virtual disk '%1': mount folder root '%2' is not a full path.",
                                              vhd_path, mount_folder_root));
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
        if (disks_.contains(vhd_path))
            throw exc::runtime_exc_t("It is mounted already.");
        const auto privilege = platform_.take_privilege(win::manage_volume_privilege);
        auto mounted = std::make_unique<mounted_disk_t>(library_, vhd_path);
        for (const auto& volume : wait_for_volumes(mounted->disk.disk_number())) {
            const std::wstring path = mount_path(volume);
            mounted->mounts.emplace_back(platform_.mount_points, path, volume);
            logging::info("Volume '%1' is mounted at '%2'.", volume.name, path);
        }
        disks_.emplace(vhd_path, std::move(mounted));
    });
}

std::vector<disk_volume_t> CVhdMounter::wait_for_volumes(DWORD disk_number) const {
    std::vector<disk_volume_t> volumes;
    std::uint32_t unchanged = 0;
    for (std::uint32_t look = 0; look < platform_.volumes.attempts && unchanged < platform_.looks_without_change; ++look) {
        if (look > 0)
            platform_.volumes.wait(platform_.volumes.interval_ms);
        auto found = platform_.mount_points.find_disk_volumes(disk_number);
        unchanged = !found.empty() && found == volumes ? unchanged + 1 : 0;
        volumes = std::move(found);
    }
    if (volumes.empty())
        throw exc::runtime_exc_t(text::format("No volume of disk %1 has arrived in time.", disk_number));
    if (unchanged < platform_.looks_without_change)
        logging::warning("The volumes of disk %1 still change; %2 of them are mounted.", disk_number, volumes.size());
    return volumes;
}

void CVhdMounter::unmount(mounted_disk_t& disk) {
    for (auto& mount : disk.mounts)
        mount.unmount();
    disk.disk.detach();
    logging::info("Virtual disk '%1' is unmounted.", disk.path);
}

void CVhdMounter::Umount(const std::wstring& vhd_path) {
    const auto fail = [&] { return text::format("Failed to unmount virtual disk '%1'.", vhd_path); };
    exc::wrap_errors(fail, [&] {
        const std::lock_guard guard(lock_);
        const auto disk = disks_.find(vhd_path);
        if (disk == disks_.end())
            throw exc::runtime_exc_t("It is not mounted.");
        unmount(*disk->second);
        disks_.erase(disk);
    });
}

void CVhdMounter::UmountAll() {
    exc::wrap_errors("Failed to unmount all virtual disks.", [&] {
        const std::lock_guard guard(lock_);
        std::exception_ptr first_failure;
        for (auto disk = disks_.begin(); disk != disks_.end();) {
            try {
                unmount(*disk->second);
                disk = disks_.erase(disk);
            } catch (const std::exception& error) {
                logging::error_with(error, "Failed to unmount virtual disk '%1'.", disk->second->path);
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
