#include "com/co_vdisk_mount_manager.h"

#include <gmock/gmock.h>

#include <functional>

#include "com/class_factory.h"
#include "tests/com/com_test.h"

namespace {

using impl::vdmount::disk_volume_t;

DWORD attached_disks = 0;

// A host on which every file is a disk with one volume.
impl::mount_platform_t played_host() {
    impl::mount_platform_t platform;
    platform.vhd.load_library = [] {
        impl::vdmount::virtual_disk_functions_t library{};
        library.open = [](PVIRTUAL_STORAGE_TYPE, PCWSTR, VIRTUAL_DISK_ACCESS_MASK, OPEN_VIRTUAL_DISK_FLAG,
                          POPEN_VIRTUAL_DISK_PARAMETERS, PHANDLE disk) -> DWORD {
            *disk = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
            return 0;
        };
        library.attach = [](HANDLE, PSECURITY_DESCRIPTOR, ATTACH_VIRTUAL_DISK_FLAG, ULONG, PATTACH_VIRTUAL_DISK_PARAMETERS,
                            LPOVERLAPPED) -> DWORD {
            ++attached_disks;
            return 0;
        };
        library.physical_path = [](HANDLE, PULONG, PWSTR path) -> DWORD {
            std::wstring(L"\\\\.\\PhysicalDrive1").copy(path, 19);
            return 0;
        };
        library.detach = [](HANDLE, DETACH_VIRTUAL_DISK_FLAG, ULONG) -> DWORD {
            --attached_disks;
            return 0;
        };
        return library;
    };
    platform.vhd.take_privilege = [](const win::privilege_t&) { return win::held_privilege_t(); };
    platform.vhd.mount_points = {[](DWORD) {
                                     return std::vector<disk_volume_t>{{L"\\\\?\\Volume{1}\\", 1}};
                                 },
                                 [](LPCWSTR, LPCWSTR) -> BOOL { return TRUE; }, [](LPCWSTR) -> BOOL { return TRUE; },
                                 []() -> DWORD { return 0b1100; }};
    platform.vhd.volumes.wait = [](std::uint32_t) {};
    return platform;
}

impl::mount_platform_t host_without_library() {
    impl::mount_platform_t platform;
    platform.vhd.load_library = [] { return impl::vdmount::load_virtual_disk_library(L"korva_no_such_library.dll"); };
    return platform;
}

win::com_ptr<IKorvaVdiskMountManager> make_manager(const impl::mount_platform_t& platform) {
    auto* const object =
        com::new_object<com::CCoVdiskMountManager>(nullptr, std::make_shared<impl::CVDiskMountManager>(platform));
    return win::com_ptr<IKorvaVdiskMountManager>::attach(object);
}

win::unique_bstr text(std::wstring_view value) { return win::make_bstr(value); }

using VdiskMountManager = com_test;

TEST_F(VdiskMountManager, TellsWhetherVhdFilesCanBeMounted) {
    win::com_ptr<IKorvaVdiskMountManager> manager;
    ASSERT_EQ(com::create_instance<com::CCoVdiskMountManager>(nullptr, __uuidof(IKorvaVdiskMountManager),
                                                              reinterpret_cast<void**>(manager.put())),
              S_OK);
    VARIANT_BOOL supported = 0;
    EXPECT_EQ(manager->get_IsSupportedVhdMount(&supported), S_OK);
    EXPECT_EQ(supported, 1) << "not VARIANT_TRUE";
    EXPECT_EQ(manager->get_IsSupportedVhdMount(nullptr), E_POINTER);

    const auto poor = make_manager(host_without_library());
    EXPECT_EQ(poor->get_IsSupportedVhdMount(&supported), S_OK);
    EXPECT_EQ(supported, 0);
    EXPECT_FALSE(take_error());
    win::com_ptr<IVhdMounter> mounter;
    EXPECT_EQ(poor->get_VhdMounter(mounter.put()), HRESULT_FROM_WIN32(ERROR_MOD_NOT_FOUND));
    EXPECT_THAT(description_of_error(), testing::HasSubstr("Failed to load the virtual disk library"));
}

TEST_F(VdiskMountManager, AllMounterObjectsShareOneMounter) {
    const auto manager = make_manager(played_host());
    win::com_ptr<IVhdMounter> one, other;
    ASSERT_EQ(manager->get_VhdMounter(one.put()), S_OK);
    ASSERT_EQ(manager->get_VhdMounter(other.put()), S_OK);
    EXPECT_NE(one.get(), other.get());

    unsigned long letters = 0;
    EXPECT_EQ(one->MountAtDriveLetter(text(L"C:\\a.vhd").get(), &letters), S_OK);
    EXPECT_EQ(letters, 0b10000u);
    EXPECT_EQ(other->MountAtDriveLetter(text(L"C:\\a.vhd").get(), &letters), DISP_E_EXCEPTION) << "mounted already";
    EXPECT_EQ(letters, 0u);
    one.reset();
    EXPECT_EQ(attached_disks, 1u) << "the mounter outlives the object";
    EXPECT_EQ(other->UmountAll(), S_OK);
    EXPECT_EQ(attached_disks, 0u);
    EXPECT_EQ(other->Umount(text(L"C:\\a.vhd").get()), DISP_E_EXCEPTION);

    EXPECT_EQ(manager->get_VhdMounter(nullptr), E_POINTER);
    EXPECT_EQ(other->MountAtDriveLetter(text(L"C:\\a.vhd").get(), nullptr), E_POINTER);
}

TEST_F(VdiskMountManager, VmdkMounterUpdatesReparsePointsAndMountsNothing) {
    const auto manager = make_manager({});
    win::com_ptr<IVmdkMounter> mounter;
    ASSERT_EQ(manager->get_VmdkMounter(mounter.put()), S_OK);
    EXPECT_EQ(mounter->UpdateReparsePoints(text(L"<mountedVolumesSpec/>").get(), 10), S_OK);
    EXPECT_EQ(mounter->UpdateReparsePoints(nullptr, 10), DISP_E_EXCEPTION);
    EXPECT_THAT(description_of_error(), testing::StartsWith("Failed to update reparse points. Specification: ''."));

    unsigned long letters = 7;
    const std::function<HRESULT()> calls[] = {
        [&] { return mounter->Mount(text(L"C:\\m").get(), 0, 1); }, [&] { return mounter->MountAtDriveLetter(0, 1, &letters); },
        [&] { return mounter->Umount(text(L"C:\\m").get()); }, [&] { return mounter->UmountAll(); }};
    for (const auto& call : calls) {
        EXPECT_EQ(call(), DISP_E_EXCEPTION);
        EXPECT_THAT(description_of_error(), testing::HasSubstr("'VirtualDK' is not available"));
    }
    EXPECT_EQ(letters, 0u);
    EXPECT_EQ(mounter->MountAtDriveLetter(0, 1, nullptr), E_POINTER);
    EXPECT_EQ(manager->get_VmdkMounter(nullptr), E_POINTER);
}

}  // namespace
