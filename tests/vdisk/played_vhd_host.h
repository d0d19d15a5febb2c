#pragma once

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "foundation/errors.h"
#include "vdisk/vhd_mounter.h"

// The platform's virtual disks behind the mounter's functions: which file is attached and what is mounted where, and one
// failure on demand. One at a time: the functions are plain ones.
struct played_vhd_host_t {
    played_vhd_host_t() { host = this; }
    played_vhd_host_t(const played_vhd_host_t&) = delete;

    static impl::vdmount::vhd_platform_t platform() {
        impl::vdmount::vhd_platform_t result{.load_library = &library, .mount_points = mount_points()};
        result.take_privilege = [](const win::privilege_t& privilege) {
            if (host->answer(L"privilege", privilege.name == std::wstring_view(L"SeManageVolumePrivilege")) != 0)
                throw exc::win_sys_exc_t("Refused.", ERROR_NOT_ALL_ASSIGNED);
            return win::held_privilege_t();
        };
        result.volumes.wait = [](std::uint32_t) { ++host->waits; };
        return result;
    }
    bool handle_is_open() const {
        DWORD flags;
        return handle && ::GetHandleInformation(handle, &flags);
    }

    std::wstring fail_at;                           // a step's name, or a mount path
    std::vector<std::size_t> arriving = {0, 1, 2};  // how many volumes each look finds; the last for ever
    std::map<std::wstring, std::wstring> mounts;
    std::size_t looks = 0;
    std::size_t waits = 0;
    bool attached = false;
    HANDLE handle = nullptr;
    DWORD drives = 0b1101;  // A, C, D

private:
    static inline played_vhd_host_t* host = nullptr;

    // Of a step whose parameters are right.
    DWORD answer(std::wstring_view step, bool right = true) const {
        ::SetLastError(ERROR_ACCESS_DENIED);
        return right && fail_at != step ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
    }

    static impl::vdmount::virtual_disk_functions_t library() {
        return {.open = [](auto type, auto path, auto access, auto flags, auto, auto handle) -> DWORD {
                    *handle = host->handle = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
                    return host->answer(L"open", type->DeviceId == 0 && access == 0x000E0000 && flags == 0 &&
                                                     std::wstring_view(path).ends_with(L".vhd"));
                },
                .attach = [](auto disk, auto, auto flags, auto, auto parameters, auto overlapped) -> DWORD {
                    const bool right = disk == host->handle && flags == 2 && parameters->Version == 1 && !overlapped;
                    const DWORD error = host->answer(L"attach", right);
                    host->attached = error == 0;
                    return error;
                },
                .physical_path = [](auto, auto size, auto path) -> DWORD {
                    const std::wstring_view text = L"\\\\.\\PhysicalDrive12";
                    path[text.copy(path, host->fail_at == L"odd path" ? text.size() - 2 : *size / 2 - 1)] = 0;
                    return host->answer(L"path");
                },
                .detach = [](auto disk, auto, auto) -> DWORD {
                    const DWORD error = host->answer(L"detach", disk == host->handle && host->mounts.empty());
                    host->attached = error != 0;
                    return error;
                },
                .library = nullptr};
    }

    static impl::vdmount::mount_point_functions_t mount_points() {
        return {
            .find_disk_volumes =
                [](DWORD disk) {
                    const std::size_t look = std::min(host->looks++, host->arriving.size() - 1);
                    std::vector<impl::vdmount::disk_volume_t> volumes{{L"\\\\?\\Volume{1}\\", 1}, {L"\\\\?\\Volume{3}\\", 3}};
                    volumes.resize(disk == 12 ? host->arriving[look] : 0);
                    return volumes;
                },
            .set_mount_point = [](auto path, auto volume) -> BOOL {
                if (host->answer(path) != 0)
                    return FALSE;
                host->mounts[path] = volume;
                if (path[3] == 0)
                    host->drives |= 1u << (path[0] - L'A');
                return TRUE;
            },
            .delete_mount_point = [](auto path) -> BOOL {
                if (host->answer(L"delete") != 0)
                    return FALSE;
                ::SetLastError(ERROR_FILE_NOT_FOUND);
                return host->mounts.erase(path) == 1;
            },
            .logical_drives = [] { return host->drives; }};
    }
};
