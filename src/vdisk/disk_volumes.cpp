#include "vdisk/disk_volumes.h"

#include <winioctl.h>

#include <algorithm>

#include "foundation/errors.h"
#include "foundation/format.h"
#include "foundation/handles.h"
#include "logging/write.h"

namespace impl::vdmount {
namespace {

struct volume_search_traits {
    using handle = HANDLE;
    static handle invalid() noexcept { return INVALID_HANDLE_VALUE; }
    static void close(handle h) noexcept { ::FindVolumeClose(h); }
};
using unique_volume_search = win::unique_resource<volume_search_traits>;

// False for what is no partition of a disk, and for what goes away while it is looked at.
bool device_number(std::wstring volume, STORAGE_DEVICE_NUMBER& number) {
    volume.pop_back();  // with its "\" the name is that of the volume's root folder
    const win::unique_file device(
        ::CreateFileW(volume.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr));
    DWORD size = 0;
    return device &&
           ::DeviceIoControl(device.get(), IOCTL_STORAGE_GET_DEVICE_NUMBER, nullptr, 0, &number, sizeof number, &size,
                             nullptr) &&
           number.DeviceType == FILE_DEVICE_DISK;
}

}  // namespace

std::vector<disk_volume_t> find_disk_volumes(DWORD disk_number) {
    std::vector<disk_volume_t> found;
    wchar_t name[MAX_PATH] = {};
    const unique_volume_search search(::FindFirstVolumeW(name, MAX_PATH));
    if (!search)
        exc::throw_last_error("Failed to enumerate volumes.");
    do {
        STORAGE_DEVICE_NUMBER number{};
        if (device_number(name, number) && number.DeviceNumber == disk_number)
            found.push_back({name, number.PartitionNumber});
    } while (::FindNextVolumeW(search.get(), name, MAX_PATH));
    if (::GetLastError() != ERROR_NO_MORE_FILES)
        exc::throw_last_error("Failed to enumerate volumes.");
    std::ranges::sort(found, {}, &disk_volume_t::partition);
    return found;
}

volume_mount_t::volume_mount_t(const mount_point_functions_t& functions, std::wstring path, const disk_volume_t& volume)
    : functions_(functions), path_(std::move(path)) {
    const bool is_drive = path_.size() == 3;
    if (!is_drive) {
        made_folder_ = ::CreateDirectoryW(path_.c_str(), nullptr);
        if (!made_folder_ && ::GetLastError() != ERROR_ALREADY_EXISTS)
            exc::throw_last_error("Failed to create folder '%1'.", path_);
    }
    mounted_ = functions_.set_mount_point(path_.c_str(), volume.name.c_str());
    if (!mounted_) {
        const DWORD error = ::GetLastError();
        remove_folder();
        throw exc::win_sys_exc_t(text::format("Failed to mount volume '%1' at '%2'.", volume.name, path_), error);
    }
}

volume_mount_t::~volume_mount_t() {
    try {
        unmount();
    } catch (const std::exception& error) {
        logging::error_with(error, "A volume stays mounted.");
    }
}

void volume_mount_t::unmount() {
    if (!mounted_)
        return;
    if (!functions_.delete_mount_point(path_.c_str())) {
        const DWORD error = ::GetLastError();
        if (error != ERROR_FILE_NOT_FOUND && error != ERROR_PATH_NOT_FOUND && error != ERROR_NOT_A_REPARSE_POINT)
            throw exc::win_sys_exc_t(text::format("Failed to remove mount point '%1'.", path_), error);
    }
    mounted_ = false;
    remove_folder();
}

void volume_mount_t::remove_folder() noexcept {
    if (made_folder_ && !::RemoveDirectoryW(path_.c_str()))
        logging::warning("Failed to remove folder '%1'. Error code: '%2'.", path_, ::GetLastError());
}

}  // namespace impl::vdmount
