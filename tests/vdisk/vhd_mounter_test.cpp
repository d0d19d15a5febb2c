#include "vdisk/vhd_mounter.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <thread>

#include "foundation/convert.h"
#include "foundation/errors.h"
#include "logging/memory_receiver.h"
#include "tests/foundation/thrown.h"
#include "vdisk/mount_manager.h"

using namespace impl::vdmount;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

// The platform's virtual disks: which files are attached and what is mounted where, and one failure on demand.
struct model_host_t {
    std::wstring fail_at;                           // a step's name, or a mount path
    std::vector<std::size_t> arriving = {0, 1, 2};  // how many volumes each look finds; the last for ever
    std::vector<std::string> steps;
    std::map<std::wstring, std::wstring> mounts;
    std::size_t looks = 0;
    std::size_t waits = 0;
    bool attached = false;
    HANDLE handle = nullptr;
    DWORD drives = 0b1101;  // A, C, D

    bool fails(std::wstring_view step) {
        ::SetLastError(ERROR_ACCESS_DENIED);
        return fail_at == step;
    }
    bool handle_is_open() const {
        DWORD flags;
        return handle && ::GetHandleInformation(handle, &flags);
    }
};
model_host_t* host = nullptr;

DWORD WINAPI open_disk(PVIRTUAL_STORAGE_TYPE type, PCWSTR path, VIRTUAL_DISK_ACCESS_MASK access, OPEN_VIRTUAL_DISK_FLAG flags,
                       POPEN_VIRTUAL_DISK_PARAMETERS, PHANDLE handle) {
    if (host->fails(L"open") || type->DeviceId != 0 || access != 0x000E0000 || flags != 0 ||
        !std::wstring_view(path).ends_with(L".vhd"))
        return ERROR_ACCESS_DENIED;
    *handle = host->handle = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
    return 0;
}

DWORD WINAPI attach_disk(HANDLE disk, PSECURITY_DESCRIPTOR, ATTACH_VIRTUAL_DISK_FLAG flags, ULONG,
                         PATTACH_VIRTUAL_DISK_PARAMETERS parameters, LPOVERLAPPED overlapped) {
    if (host->fails(L"attach") || disk != host->handle || flags != 2 || parameters->Version != 1 || overlapped)
        return ERROR_ACCESS_DENIED;
    host->attached = true;
    return 0;
}

DWORD WINAPI physical_path(HANDLE, PULONG size, PWSTR path) {
    if (host->fails(L"path"))
        return ERROR_ACCESS_DENIED;
    const std::wstring text = host->fail_at == L"odd path" ? L"\\\\.\\PhysicalDrive" : L"\\\\.\\PhysicalDrive12";
    if (*size < (text.size() + 1) * 2)
        return ERROR_INSUFFICIENT_BUFFER;
    text.copy(path, text.size());
    path[text.size()] = 0;
    return 0;
}

DWORD WINAPI detach_disk(HANDLE disk, DETACH_VIRTUAL_DISK_FLAG, ULONG) {
    if (host->fails(L"detach") || disk != host->handle || !host->mounts.empty())
        return ERROR_ACCESS_DENIED;
    host->attached = false;
    return 0;
}

std::vector<disk_volume_t> find_volumes(DWORD disk) {
    if (disk != 12)
        return {};
    const std::size_t look = std::min(host->looks++, host->arriving.size() - 1);
    std::vector<disk_volume_t> volumes{{L"\\\\?\\Volume{1}\\", 1}, {L"\\\\?\\Volume{3}\\", 3}};
    volumes.resize(host->arriving[look]);
    return volumes;
}

BOOL WINAPI set_mount_point(LPCWSTR path, LPCWSTR volume) {
    if (host->fails(path))
        return FALSE;
    host->mounts[path] = volume;
    if (path[1] == L':' && path[3] == 0)
        host->drives |= 1u << (path[0] - L'A');
    return TRUE;
}

BOOL WINAPI delete_mount_point(LPCWSTR path) {
    if (host->fails(L"delete"))
        return FALSE;
    ::SetLastError(ERROR_FILE_NOT_FOUND);
    return host->mounts.erase(path) == 1;
}

vhd_platform_t platform() {
    vhd_platform_t result;
    result.load_library = [] {
        return virtual_disk_functions_t{&open_disk, &attach_disk, &physical_path, &detach_disk, nullptr};
    };
    result.take_privilege = [](const win::privilege_t& privilege) {
        if (host->fails(L"privilege") || privilege.name != std::wstring_view(L"SeManageVolumePrivilege"))
            throw exc::win_sys_exc_t("Refused.", ERROR_NOT_ALL_ASSIGNED);
        return win::held_privilege_t();
    };
    result.mount_points = {&find_volumes, &set_mount_point, &delete_mount_point, [] { return host->drives; }};
    result.volumes.wait = [](std::uint32_t) { ++host->waits; };
    return result;
}

struct VhdMounter : testing::Test {
    VhdMounter() {
        host = &model;
        std::filesystem::create_directories(root);
    }
    ~VhdMounter() override {
        EXPECT_TRUE(std::filesystem::is_empty(root));
        std::filesystem::remove_all(root);
    }
    void expect_failure(const std::string& cause, const std::function<void()>& call) {
        EXPECT_THAT(thrown_text(call), HasSubstr(cause));
    }
    void expect_nothing_left() {
        EXPECT_FALSE(model.attached);
        EXPECT_FALSE(model.handle_is_open());
        EXPECT_THAT(model.mounts, IsEmpty());
        EXPECT_TRUE(std::filesystem::is_empty(root));
    }

    model_host_t model;
    const std::filesystem::path root = std::filesystem::temp_directory_path() / "korva_vhd_test";
    logging::captured_log_t log;
};

TEST_F(VhdMounter, EachVolumeGetsAFolderUntilTheDiskIsUnmounted) {
    CVhdMounter mounter(platform());
    mounter.Mount(L"C:\\a.vhd", root.wstring());
    EXPECT_TRUE(model.attached);
    EXPECT_EQ(model.mounts.at(root.wstring() + L"\\Volume1\\"), L"\\\\?\\Volume{1}\\");
    EXPECT_EQ(model.mounts.at(root.wstring() + L"\\Volume3\\"), L"\\\\?\\Volume{3}\\");
    EXPECT_TRUE(std::filesystem::is_directory(root / "Volume3"));
    EXPECT_EQ(model.waits, 7u) << "none, one, two, and five looks that find no more";
    EXPECT_THROW(mounter.Mount(L"c:\\A.VHD", root.wstring()), exc::runtime_exc_t) << "mounted already";
    model.mounts.erase(root.wstring() + L"\\Volume1\\");  // by somebody else
    mounter.Umount(L"c:\\A.vhd");
    EXPECT_EQ(log.texts().back(), "Virtual disk 'C:\\a.vhd' is unmounted.");
    expect_nothing_left();
    EXPECT_THROW(mounter.Umount(L"C:\\a.vhd"), exc::runtime_exc_t) << "not mounted any more";
}

TEST_F(VhdMounter, EachVolumeGetsAFreeLetter) {
    CVhdMounter mounter(platform());
    EXPECT_EQ(mounter.MountAtDriveLetter(L"C:\\a.vhd"), 0b110000u);
    EXPECT_TRUE(model.mounts.contains(L"E:\\"));
    EXPECT_TRUE(model.mounts.contains(L"F:\\"));
    mounter.UmountAll();
    expect_nothing_left();
    for (const auto& [drives, cause] : std::map<DWORD, const char*>{{0x3FFFFFF, "There is no free drive letter."},
                                                                    {0, "Failed to get the drive letters in use."}}) {
        model.drives = drives;
        expect_failure(cause, [&] { mounter.MountAtDriveLetter(L"C:\\a.vhd"); });
        expect_nothing_left();
    }
}

TEST_F(VhdMounter, AFailureInTheMiddleUndoesEverything) {
    CVhdMounter mounter(platform());
    const std::wstring second = root.wstring() + L"\\Volume3\\";
    struct row_t {
        std::wstring fail_at;
        const char* cause;
        std::wstring folder = {};
        std::vector<std::size_t> arriving = {2};
    };
    for (const auto& row : {row_t{L"privilege", "Refused."}, row_t{L"open", "Failed to open virtual disk."},
                            row_t{L"attach", "Failed to attach virtual disk."},
                            row_t{L"path", "Failed to get the physical path"}, row_t{L"odd path", "Unexpected physical path"},
                            row_t{second, "Failed to mount volume"}, row_t{L"", "Failed to create folder", L"\\no such folder"},
                            row_t{L"", "No volume of disk 12 has arrived in time.", L"", {0}}}) {
        model.fail_at = row.fail_at;
        model.arriving = row.arriving;
        expect_failure(row.cause, [&] { mounter.Mount(L"C:\\a.vhd", root.wstring() + row.folder); });
        expect_nothing_left();
    }
}

TEST_F(VhdMounter, ARootThatIsNoFullPathIsRefused) {
    CVhdMounter mounter(platform());
    for (const wchar_t* folder : {L"", L"\\", L"\\Mnt", L"Mnt", L"C:", L"C:Mnt", L"C:/Mnt", L"\\\\server\\share"})
        expect_failure("is not a full path.", [&] { mounter.Mount(L"C:\\a.vhd", folder); });
    EXPECT_EQ(model.handle, nullptr) << "nothing is opened before";
    expect_failure("Failed to create folder '\\\\?\\C:\\none\\Volume1\\'.",
                   [&] { mounter.Mount(L"C:\\a.vhd", L"\\\\?\\C:\\none"); });
}

TEST_F(VhdMounter, WhatCannotBeUnmountedStaysKnown) {
    CVhdMounter mounter(platform());
    mounter.Mount(L"C:\\a.vhd", root.wstring());
    for (const auto& [step, cause] : std::map<std::wstring, const char*>{{L"delete", "Failed to remove mount point"},
                                                                         {L"detach", "Failed to detach virtual disk."}}) {
        model.fail_at = step;
        expect_failure(cause, [&] { mounter.Umount(L"C:\\a.vhd"); });
        expect_failure(cause, [&] { mounter.UmountAll(); });
        EXPECT_TRUE(model.attached);
        EXPECT_EQ(model.mounts.empty(), step == L"detach");
    }
    model.fail_at.clear();
    mounter.UmountAll();
    expect_nothing_left();
}

TEST_F(VhdMounter, WhatIsMountedEndsWithTheMounter) {
    CVhdMounter(platform()).Mount(L"C:\\a.vhd", root.wstring());
    expect_nothing_left();
    model.fail_at = L"delete";
    CVhdMounter(platform()).Mount(L"C:\\a.vhd", root.wstring());
    EXPECT_FALSE(model.handle_is_open());
    EXPECT_THAT(log.texts(), Contains("ERR |A volume stays mounted.").Times(2));
    for (const auto& [path, volume] : std::exchange(model.mounts, {}))
        std::filesystem::remove(path);
}

TEST_F(VhdMounter, ThePlatformsLibraryIsLoadedWithAllItsFunctions) {
    const auto functions = load_virtual_disk_library();
    const HMODULE library = ::GetModuleHandleW(L"virtdisk.dll");
    const std::pair<const char*, FARPROC> rows[] = {
        {"OpenVirtualDisk", reinterpret_cast<FARPROC>(functions.open)},
        {"AttachVirtualDisk", reinterpret_cast<FARPROC>(functions.attach)},
        {"GetVirtualDiskPhysicalPath", reinterpret_cast<FARPROC>(functions.physical_path)},
        {"DetachVirtualDisk", reinterpret_cast<FARPROC>(functions.detach)}};
    for (const auto& [name, function] : rows)
        EXPECT_EQ(function, ::GetProcAddress(library, name)) << name;
    for (const auto& [name, code] : std::map<const wchar_t*, DWORD>{{L"korva_no_such_library.dll", ERROR_MOD_NOT_FOUND},
                                                                    {L"kernel32.dll", ERROR_PROC_NOT_FOUND}}) {
        EXPECT_EQ(thrown_code([&] { load_virtual_disk_library(name); }), code);
    }
}

// The first disk of this machine has the volume of the system's drive.
TEST_F(VhdMounter, TheVolumesOfADiskAreFoundByItsNumber) {
    wchar_t system[MAX_PATH] = {};
    ASSERT_TRUE(::GetVolumeNameForVolumeMountPointW(L"C:\\", system, MAX_PATH));
    const auto volumes = find_disk_volumes(0);
    EXPECT_THAT(volumes, Contains(testing::Field(&disk_volume_t::name, system)));
    EXPECT_TRUE(std::ranges::is_sorted(volumes, {}, &disk_volume_t::partition));
    EXPECT_THAT(find_disk_volumes(0xFFFFFFF0), IsEmpty());
}

using MountManager = VhdMounter;

TEST_F(MountManager, AMounterThatCannotBeCreatedIsTriedAgain) {
    static bool there;
    there = false;
    impl::mount_platform_t mount_platform;
    mount_platform.vhd.load_library = [] {
        return load_virtual_disk_library(there ? L"virtdisk.dll" : L"korva_no_such_library.dll");
    };
    impl::CVDiskMountManager manager(mount_platform);
    EXPECT_THROW(manager.VhdMounter(), exc::win_sys_exc_t);
    EXPECT_FALSE(manager.IsSupportedVhdMount());
    there = true;
    EXPECT_NE(manager.VhdMounter(), nullptr);
}

TEST_F(MountManager, ALockThatIsNotHadInTimeSaysSo) {
    static impl::CVDiskMountManager* locked;
    impl::mount_platform_t mount_platform;
    EXPECT_EQ(mount_platform.lock_limit_ms, 20000u);
    mount_platform.lock_limit_ms = 1;
    mount_platform.vhd.load_library = [] {
        std::jthread([] { EXPECT_EQ(thrown_code([] { locked->VmdkMounter(); }), 258u); }).join();
        return load_virtual_disk_library();
    };
    impl::CVDiskMountManager manager(mount_platform);
    locked = &manager;
    EXPECT_NE(manager.VhdMounter(), nullptr);
    EXPECT_NE(manager.VmdkMounter(), nullptr);
}

}  // namespace
