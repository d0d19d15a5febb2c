#include "vdisk/vhd_mounter.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <thread>

#include "foundation/convert.h"
#include "foundation/errors.h"
#include "logging/memory_receiver.h"
#include "vdisk/mount_manager.h"

using namespace impl::vdmount;
using testing::ElementsAre;
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

BOOL WINAPI delete_mount_point(LPCWSTR path) { return host->mounts.erase(path) == 1; }

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
    EXPECT_EQ(model.waits, 3u) << "none, one, two, and a look that finds no more";
    EXPECT_THROW(mounter.Mount(L"c:\\A.VHD", root.wstring()), exc::runtime_exc_t) << "mounted already";
    mounter.Umount(L"c:\\A.vhd");
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
    model.drives = 0x3FFFFFF;
    EXPECT_THROW(mounter.MountAtDriveLetter(L"C:\\a.vhd"), exc::runtime_exc_t);
    expect_nothing_left();
}

TEST_F(VhdMounter, AFailureInTheMiddleUndoesEverything) {
    CVhdMounter mounter(platform());
    const std::wstring second = root.wstring() + L"\\Volume3\\";
    for (const std::wstring& step : {std::wstring(L"privilege"), std::wstring(L"open"), std::wstring(L"attach"),
                                     std::wstring(L"path"), std::wstring(L"odd path"), second}) {
        SCOPED_TRACE(text::narrow(step));
        model.fail_at = step;
        try {
            mounter.Mount(L"C:\\a.vhd", root.wstring());
            ADD_FAILURE();
        } catch (const exc::runtime_exc_t& error) {
            EXPECT_EQ(error.lines()[0], "Failed to mount virtual disk 'C:\\a.vhd'.");
        }
        expect_nothing_left();
    }
    model.fail_at.clear();
    EXPECT_THROW(mounter.Mount(L"C:\\a.vhd", root.wstring() + L"\\no such folder"), exc::runtime_exc_t);
    expect_nothing_left();
    model.arriving = {0};
    EXPECT_THROW(mounter.Mount(L"C:\\a.vhd", root.wstring()), exc::runtime_exc_t) << "no volume ever arrives";
    expect_nothing_left();
}

TEST_F(VhdMounter, ADiskThatCannotBeDetachedMayBeTriedAgain) {
    CVhdMounter mounter(platform());
    mounter.Mount(L"C:\\a.vhd", root.wstring());
    model.fail_at = L"detach";
    EXPECT_THROW(mounter.Umount(L"C:\\a.vhd"), exc::runtime_exc_t);
    EXPECT_THROW(mounter.UmountAll(), exc::runtime_exc_t);
    model.fail_at.clear();
    mounter.UmountAll();
    expect_nothing_left();
}

TEST_F(VhdMounter, WhatIsMountedEndsWithTheMounter) {
    CVhdMounter(platform()).Mount(L"C:\\a.vhd", root.wstring());
    expect_nothing_left();
}

TEST_F(VhdMounter, ThePlatformsLibraryIsLoadedWithAllItsFunctions) {
    EXPECT_NE(load_virtual_disk_library().detach, nullptr);
    for (const auto& [library, code] : std::map<const wchar_t*, DWORD>{{L"korva_no_such_library.dll", ERROR_MOD_NOT_FOUND},
                                                                       {L"kernel32.dll", ERROR_PROC_NOT_FOUND}}) {
        try {
            load_virtual_disk_library(library);
            ADD_FAILURE();
        } catch (const exc::win_sys_exc_t& error) {
            EXPECT_EQ(error.code(), code);
        }
    }
}

TEST_F(VhdMounter, TheSearchForVolumesRunsOnThisMachine) { EXPECT_THAT(find_disk_volumes(0xFFFFFFF0), IsEmpty()); }

using MountManager = VhdMounter;

TEST_F(MountManager, EachMounterIsCreatedOnceAndShared) {
    impl::mount_platform_t mount_platform;
    mount_platform.vhd = platform();
    impl::CVDiskMountManager manager(mount_platform);
    const auto vmdk = manager.VmdkMounter();
    EXPECT_EQ(manager.VmdkMounter(), vmdk);
    EXPECT_EQ(manager.VhdMounter(), manager.VhdMounter());
    EXPECT_NE(impl::CVDiskMountManager(mount_platform).VhdMounter(), manager.VhdMounter());
}

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
    static win::unique_handle creating;
    static win::unique_handle go_on;
    creating = win::unique_handle(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    go_on = win::unique_handle(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    impl::mount_platform_t mount_platform;
    EXPECT_EQ(mount_platform.lock_limit_ms, 20000u);
    mount_platform.lock_limit_ms = 1;
    mount_platform.vhd.load_library = [] {
        ::SetEvent(creating.get());
        ::WaitForSingleObject(go_on.get(), 30000);
        return load_virtual_disk_library();
    };
    impl::CVDiskMountManager manager(mount_platform);
    std::jthread other([&] { manager.VhdMounter(); });
    ::WaitForSingleObject(creating.get(), 30000);
    try {
        manager.VmdkMounter();
        ADD_FAILURE();
    } catch (const exc::win_sys_exc_t& error) {
        EXPECT_EQ(error.code(), 258u);
    }
    ::SetEvent(go_on.get());
    other.join();
    EXPECT_NE(manager.VmdkMounter(), nullptr);
}

TEST(VmdkMounter, MountingSaysThatTheDriverIsNotThere) {
    CVmdkMounter mounter;
    const std::function<void()> calls[] = {[&] { mounter.Mount(L"C:\\m", 0, 1); }, [&] { mounter.MountAtDriveLetter(0, 1); },
                                           [&] { mounter.Umount(L"C:\\m"); }, [&] { mounter.UmountAll(); }};
    for (const auto& call : calls) {
        try {
            call();
            ADD_FAILURE();
        } catch (const exc::runtime_exc_t& error) {
            EXPECT_THAT(error.what(), HasSubstr("'VirtualDK' is not available"));
        }
    }
}

}  // namespace
