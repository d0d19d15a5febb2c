#include "vdisk/vhd_mounter.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>
#include <thread>

#include "foundation/convert.h"
#include "foundation/errors.h"
#include "logging/memory_receiver.h"
#include "tests/foundation/thrown.h"
#include "vdisk/mount_manager.h"

using namespace impl::vdmount;
using testing::_;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;

namespace {

// The platform's virtual disks: which file is attached and what is mounted where, and one failure on demand.
struct model_host_t {
    std::wstring fail_at;                           // a step's name, or a mount path
    std::vector<std::size_t> arriving = {0, 1, 2};  // how many volumes each look finds; the last for ever
    std::map<std::wstring, std::wstring> mounts;
    std::size_t looks = 0;
    std::size_t waits = 0;
    bool attached = false;
    HANDLE handle = nullptr;
    DWORD drives = 0b1101;  // A, C, D

    // Of a step whose parameters are right.
    DWORD answer(std::wstring_view step, bool right = true) const {
        ::SetLastError(ERROR_ACCESS_DENIED);
        return right && fail_at != step ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
    }
    bool handle_is_open() const {
        DWORD flags;
        return handle && ::GetHandleInformation(handle, &flags);
    }
};
model_host_t* host = nullptr;

virtual_disk_functions_t played_library() {
    virtual_disk_functions_t library{};
    library.open = [](auto type, auto path, auto access, auto flags, auto, auto handle) -> DWORD {
        *handle = host->handle = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
        return host->answer(
            L"open", type->DeviceId == 0 && access == 0x000E0000 && flags == 0 && std::wstring_view(path).ends_with(L".vhd"));
    };
    library.attach = [](auto disk, auto, auto flags, auto, auto parameters, auto overlapped) -> DWORD {
        const DWORD error =
            host->answer(L"attach", disk == host->handle && flags == 2 && parameters->Version == 1 && !overlapped);
        host->attached = error == 0;
        return error;
    };
    library.physical_path = [](auto, auto size, auto path) -> DWORD {
        const std::wstring text = host->fail_at == L"odd path" ? L"\\\\.\\PhysicalDrive" : L"\\\\.\\PhysicalDrive12";
        path[text.copy(path, *size / 2 - 1)] = 0;
        return host->answer(L"path");
    };
    library.detach = [](auto disk, auto, auto) -> DWORD {
        const DWORD error = host->answer(L"detach", disk == host->handle && host->mounts.empty());
        host->attached = error != 0;
        return error;
    };
    return library;
}

mount_point_functions_t played_mount_points() {
    return {.find_disk_volumes =
                [](DWORD disk) {
                    const std::size_t look = std::min(host->looks++, host->arriving.size() - 1);
                    std::vector<disk_volume_t> volumes{{L"\\\\?\\Volume{1}\\", 1}, {L"\\\\?\\Volume{3}\\", 3}};
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

vhd_platform_t platform() {
    vhd_platform_t result{.load_library = &played_library, .mount_points = played_mount_points()};
    result.take_privilege = [](const win::privilege_t& privilege) {
        if (host->answer(L"privilege", privilege.name == std::wstring_view(L"SeManageVolumePrivilege")) != 0)
            throw exc::win_sys_exc_t("Refused.", ERROR_NOT_ALL_ASSIGNED);
        return win::held_privilege_t();
    };
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
    const std::wstring first = root.wstring() + L"\\Volume1\\", second = root.wstring() + L"\\Volume3\\";
    logging::captured_log_t log;
    CVhdMounter mounter{platform()};
};

TEST_F(VhdMounter, EachVolumeGetsAFolderUntilTheDiskIsUnmounted) {
    mounter.Mount(L"C:\\a.vhd", root.wstring());
    EXPECT_TRUE(model.attached);
    EXPECT_THAT(model.mounts, ElementsAre(Pair(first, L"\\\\?\\Volume{1}\\"), Pair(second, L"\\\\?\\Volume{3}\\")));
    EXPECT_TRUE(std::filesystem::is_directory(second));
    EXPECT_EQ(model.waits, 7u) << "none, one, two, and five looks that find no more";
    expect_failure("It is mounted already.", [&] { mounter.Mount(L"c:\\A.VHD", root.wstring()); });
    model.mounts.erase(first);  // by somebody else
    mounter.Umount(L"c:\\A.vhd");
    EXPECT_EQ(log.texts().back(), "Virtual disk 'C:\\a.vhd' is unmounted.");
    expect_nothing_left();
    expect_failure("It is not mounted.", [&] { mounter.Umount(L"C:\\a.vhd"); });
}

TEST_F(VhdMounter, EachVolumeGetsAFreeLetter) {
    EXPECT_EQ(mounter.MountAtDriveLetter(L"C:\\a.vhd"), 0b110000u);
    EXPECT_THAT(model.mounts, ElementsAre(Pair(L"E:\\", _), Pair(L"F:\\", _)));
    mounter.UmountAll();
    expect_nothing_left();
    for (const auto& [drives, cause] :
         {std::pair{0x3FFFFFFul, "There is no free drive letter."}, {0ul, "Failed to get the drive letters in use."}}) {
        model.drives = drives;
        expect_failure(cause, [&] { mounter.MountAtDriveLetter(L"C:\\a.vhd"); });
        expect_nothing_left();
    }
}

TEST_F(VhdMounter, AFailureInTheMiddleUndoesEverything) {
    const std::pair<std::wstring, const char*> rows[] = {{L"privilege", "Refused."},
                                                         {L"open", "Failed to open virtual disk."},
                                                         {L"attach", "Failed to attach virtual disk."},
                                                         {L"path", "Failed to get the physical path"},
                                                         {L"odd path", "Unexpected physical path"},
                                                         {second, "Failed to mount volume"}};
    for (const auto& [step, cause] : rows) {
        model.fail_at = step;
        expect_failure(cause, [&] { mounter.Mount(L"C:\\a.vhd", root.wstring()); });
        expect_nothing_left();
    }
    model.fail_at.clear();
    expect_failure("Failed to create folder", [&] { mounter.Mount(L"C:\\a.vhd", root.wstring() + L"\\no such folder"); });
    expect_nothing_left();
    model.arriving = {0};
    expect_failure("No volume of disk 12 has arrived in time.", [&] { mounter.Mount(L"C:\\a.vhd", root.wstring()); });
    expect_nothing_left();
}

TEST_F(VhdMounter, ARootThatIsNoFullPathIsRefused) {
    for (const wchar_t* folder : {L"", L"\\", L"\\Mnt", L"Mnt", L"C:", L"C:Mnt", L"C:/Mnt", L"\\\\server\\share"})
        expect_failure("is not a full path.", [&] { mounter.Mount(L"C:\\a.vhd", folder); });
    EXPECT_EQ(model.handle, nullptr) << "nothing is opened before";
    expect_failure("Failed to create folder '\\\\?\\C:\\none\\Volume1\\'.",
                   [&] { mounter.Mount(L"C:\\a.vhd", L"\\\\?\\C:\\none"); });
}

TEST_F(VhdMounter, WhatCannotBeUnmountedStaysKnown) {
    mounter.Mount(L"C:\\a.vhd", root.wstring());
    for (const auto& [step, cause] :
         {std::pair{L"delete", "Failed to remove mount point"}, {L"detach", "Failed to detach virtual disk."}}) {
        model.fail_at = step;
        expect_failure(cause, [&] { mounter.Umount(L"C:\\a.vhd"); });
        expect_failure(cause, [&] { mounter.UmountAll(); });
        EXPECT_TRUE(model.attached);
        EXPECT_EQ(model.mounts.empty(), model.fail_at == L"detach");
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

TEST(VirtualDiskLibrary, IsLoadedWithAllItsFunctions) {
    const auto functions = load_virtual_disk_library();
    const auto expect = [](const char* name, auto function) {
        EXPECT_EQ(reinterpret_cast<FARPROC>(function), ::GetProcAddress(::GetModuleHandleW(L"virtdisk.dll"), name)) << name;
    };
    expect("OpenVirtualDisk", functions.open);
    expect("AttachVirtualDisk", functions.attach);
    expect("GetVirtualDiskPhysicalPath", functions.physical_path);
    expect("DetachVirtualDisk", functions.detach);
    EXPECT_EQ(thrown_code([] { load_virtual_disk_library(L"korva_no_such_library.dll"); }), DWORD{ERROR_MOD_NOT_FOUND});
    EXPECT_EQ(thrown_code([] { load_virtual_disk_library(L"kernel32.dll"); }), DWORD{ERROR_PROC_NOT_FOUND});
}

// The first disk of this machine has the volume of the system's drive.
TEST(DiskVolumes, AreFoundByTheDisksNumber) {
    wchar_t system[MAX_PATH] = {};
    ASSERT_TRUE(::GetVolumeNameForVolumeMountPointW(L"C:\\", system, MAX_PATH));
    const auto volumes = find_disk_volumes(0);
    EXPECT_THAT(volumes, Contains(testing::Field(&disk_volume_t::name, system)));
    EXPECT_TRUE(std::ranges::is_sorted(volumes, {}, &disk_volume_t::partition));
    EXPECT_THAT(find_disk_volumes(0xFFFFFFF0), IsEmpty());
}

TEST(MountManager, TriesAMounterThatCannotBeCreatedAgain) {
    static bool there;
    there = false;
    impl::mount_platform_t mount_platform;
    mount_platform.vhd.load_library = [] {
        return load_virtual_disk_library(there ? L"virtdisk.dll" : L"korva_no_such_library.dll");
    };
    impl::CVDiskMountManager manager(mount_platform);
    EXPECT_FALSE(manager.IsSupportedVhdMount());
    there = true;
    EXPECT_NE(manager.VhdMounter(), nullptr);
}

TEST(MountManager, SaysThatItsLockIsNotHadInTime) {
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
