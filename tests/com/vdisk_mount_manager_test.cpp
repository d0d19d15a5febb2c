#include "com/co_vdisk_mount_manager.h"

#include <gmock/gmock.h>

#include <functional>

#include "tests/com/com_test.h"
#include "tests/vdisk/played_vhd_host.h"

namespace {

using VdiskMountManager = com_test;
using com::CCoVdiskMountManager;
using impl::CVDiskMountManager;
using win::make_bstr;

TEST_F(VdiskMountManager, TellsThatVhdFilesCanBeMounted) {
    VARIANT_BOOL supported = 0;
    EXPECT_EQ(create<IKorvaVdiskMountManager>(CLSID_KorvaVdiskMountManager)->get_IsSupportedVhdMount(&supported), S_OK);
    EXPECT_EQ(supported, 1) << "not VARIANT_TRUE";
}

TEST_F(VdiskMountManager, AllMounterObjectsShareOneMounter) {
    played_vhd_host_t host;
    impl::mount_platform_t platform;
    platform.vhd = host.platform();
    const auto manager = object_over<CCoVdiskMountManager>(std::make_shared<CVDiskMountManager>(platform));
    win::com_ptr<IVhdMounter> one, other;
    ASSERT_EQ(manager->get_VhdMounter(one.put()), S_OK);
    ASSERT_EQ(manager->get_VhdMounter(other.put()), S_OK);
    EXPECT_NE(one.get(), other.get());

    unsigned long letters = 0;
    const auto file = make_bstr(L"C:\\a.vhd");
    EXPECT_EQ(one->MountAtDriveLetter(file.get(), &letters), S_OK);
    EXPECT_EQ(letters, 0b110000u);
    EXPECT_EQ(other->MountAtDriveLetter(file.get(), &letters), DISP_E_EXCEPTION) << "mounted already";
    EXPECT_EQ(letters, 0u);
    one.reset();
    EXPECT_TRUE(host.attached) << "the mounter outlives the object";
    EXPECT_EQ(other->UmountAll(), S_OK);
    EXPECT_FALSE(host.attached);
    EXPECT_EQ(other->Umount(file.get()), DISP_E_EXCEPTION);
    EXPECT_THAT(description_of_error(), testing::StartsWith("Failed to unmount virtual disk 'C:\\a.vhd'."));
    EXPECT_EQ(other->Mount(file.get(), make_bstr(L"folder").get()), DISP_E_EXCEPTION);
    EXPECT_THAT(description_of_error(),
                testing::StartsWith("Failed to mount virtual disk 'C:\\a.vhd': mount folder root 'fol"));
}

TEST_F(VdiskMountManager, VmdkMounterUpdatesReparsePointsAndMountsNothing) {
    win::com_ptr<IVmdkMounter> mounter;
    ASSERT_EQ(create<IKorvaVdiskMountManager>(CLSID_KorvaVdiskMountManager)->get_VmdkMounter(mounter.put()), S_OK);
    EXPECT_EQ(mounter->UpdateReparsePoints(make_bstr(L"<mountedVolumesSpec/>").get(), 10), S_OK);
    EXPECT_EQ(mounter->UpdateReparsePoints(nullptr, 10), DISP_E_EXCEPTION);
    EXPECT_THAT(description_of_error(), testing::StartsWith("Failed to update reparse points. Specification: ''."));

    unsigned long letters = 7;
    const auto folder = make_bstr(L"C:\\m");
    const std::function<HRESULT()> calls[] = {
        [&] { return mounter->Mount(folder.get(), 0, 1); }, [&] { return mounter->MountAtDriveLetter(0, 1, &letters); },
        [&] { return mounter->Umount(folder.get()); }, [&] { return mounter->UmountAll(); }};
    for (const auto& call : calls) {
        EXPECT_EQ(call(), DISP_E_EXCEPTION);
        EXPECT_THAT(description_of_error(), testing::HasSubstr("'VirtualDK' is not available"));
    }
    EXPECT_EQ(letters, 0u);
}

}  // namespace
