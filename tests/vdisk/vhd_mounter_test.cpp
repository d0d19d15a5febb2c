#include "vdisk/vhd_mounter.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <functional>
#include <thread>

#include "logging/memory_receiver.h"
#include "tests/files.h"
#include "tests/foundation/thrown.h"
#include "tests/vdisk/played_vhd_host.h"
#include "vdisk/mount_manager.h"

using namespace impl::vdmount;
using testing::_;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;

namespace {

struct VhdMounter : testing::Test {
    ~VhdMounter() override { EXPECT_TRUE(std::filesystem::is_empty(scratch.path())); }
    void expect_failure(const std::string& cause, const std::function<void()>& call) {
        EXPECT_THAT(thrown_text(call), HasSubstr(cause));
    }
    void expect_nothing_left() {
        EXPECT_FALSE(host.attached);
        EXPECT_FALSE(host.handle_is_open());
        EXPECT_THAT(host.mounts, IsEmpty());
        EXPECT_TRUE(std::filesystem::is_empty(scratch.path()));
    }

    played_vhd_host_t host;
    const scratch_t scratch;
    const std::wstring root = scratch.path().wstring(), first = root + L"\\Volume1\\", second = root + L"\\Volume3\\";
    logging::captured_log_t log;
    CVhdMounter mounter{host.platform()};
};

TEST_F(VhdMounter, EachVolumeGetsAFolderUntilTheDiskIsUnmounted) {
    mounter.Mount(L"C:\\a.vhd", root);
    EXPECT_TRUE(host.attached);
    EXPECT_THAT(host.mounts, ElementsAre(Pair(first, L"\\\\?\\Volume{1}\\"), Pair(second, L"\\\\?\\Volume{3}\\")));
    EXPECT_TRUE(std::filesystem::is_directory(second));
    EXPECT_EQ(host.waits, 7u) << "none, one, two, and five looks that find no more";
    expect_failure("It is mounted already.", [&] { mounter.Mount(L"c:\\A.VHD", root); });
    host.mounts.erase(first);  // by somebody else
    mounter.Umount(L"c:\\A.vhd");
    EXPECT_EQ(log.texts().back(), "Virtual disk 'C:\\a.vhd' is unmounted.");
    expect_nothing_left();
    expect_failure("It is not mounted.", [&] { mounter.Umount(L"C:\\a.vhd"); });
}

TEST_F(VhdMounter, EachVolumeGetsAFreeLetter) {
    EXPECT_EQ(mounter.MountAtDriveLetter(L"C:\\a.vhd"), 0b110000u);
    EXPECT_THAT(host.mounts, ElementsAre(Pair(L"E:\\", _), Pair(L"F:\\", _)));
    mounter.UmountAll();
    expect_nothing_left();
    for (const auto& [drives, cause] :
         {std::pair{0x3FFFFFFul, "There is no free drive letter."}, {0ul, "Failed to get the drive letters in use."}}) {
        host.drives = drives;
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
        host.fail_at = step;
        expect_failure(cause, [&] { mounter.Mount(L"C:\\a.vhd", root); });
        expect_nothing_left();
    }
    host.fail_at.clear();
    expect_failure("Failed to create folder", [&] { mounter.Mount(L"C:\\a.vhd", root + L"\\no such folder"); });
    expect_nothing_left();
    host.arriving = {0};
    expect_failure("No volume of disk 12 has arrived in time.", [&] { mounter.Mount(L"C:\\a.vhd", root); });
    expect_nothing_left();
}

TEST_F(VhdMounter, ARootThatIsNoFullPathIsRefused) {
    for (const wchar_t* folder : {L"", L"\\", L"\\Mnt", L"Mnt", L"C:", L"C:Mnt", L"C:/Mnt", L"\\\\server\\share"})
        expect_failure("is not a full path.", [&] { mounter.Mount(L"C:\\a.vhd", folder); });
    EXPECT_EQ(host.handle, nullptr) << "nothing is opened before";
    expect_failure("Failed to create folder '\\\\?\\C:\\none\\Volume1\\'.",
                   [&] { mounter.Mount(L"C:\\a.vhd", L"\\\\?\\C:\\none"); });
}

TEST_F(VhdMounter, WhatCannotBeUnmountedStaysKnown) {
    mounter.Mount(L"C:\\a.vhd", root);
    for (const auto& [step, cause] :
         {std::pair{L"delete", "Failed to remove mount point"}, {L"detach", "Failed to detach virtual disk."}}) {
        host.fail_at = step;
        expect_failure(cause, [&] { mounter.Umount(L"C:\\a.vhd"); });
        expect_failure(cause, [&] { mounter.UmountAll(); });
        EXPECT_TRUE(host.attached);
        EXPECT_EQ(host.mounts.empty(), host.fail_at == L"detach");
    }
    host.fail_at.clear();
    mounter.UmountAll();
    expect_nothing_left();
}

TEST_F(VhdMounter, WhatIsMountedEndsWithTheMounter) {
    CVhdMounter(host.platform()).Mount(L"C:\\a.vhd", root);
    expect_nothing_left();
    host.fail_at = L"delete";
    CVhdMounter(host.platform()).Mount(L"C:\\a.vhd", root);
    EXPECT_FALSE(host.handle_is_open());
    EXPECT_THAT(log.texts(), Contains("ERR |A volume stays mounted.").Times(2));
    for (const auto& [path, volume] : std::exchange(host.mounts, {}))
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
