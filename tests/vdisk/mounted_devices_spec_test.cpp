#include "vdisk/mounted_devices_spec.h"

#include <gmock/gmock.h>

#include "foundation/convert.h"
#include "tests/foundation/com_thread.h"
#include "tests/foundation/thrown.h"

using namespace impl::vdmount;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;
using testing::Pointee;

namespace {

using MountedDevicesSpec = com_thread;

TEST_F(MountedDevicesSpec, DevicesComeInTheDocumentsOrder) {
    const auto spec = parse_mounted_devices(
        LR"(<mountedVolumesSpec version="2">
        <mountedDevice mountPoint="C:\mnt\b\" disk="1"><device name="D:"/><note/><device name="C:"/></mountedDevice>
        <other mountPoint="x"/>
        <mountedDevice mountPoint="C:\mnt\a"/>
        </mountedVolumesSpec>)");
    const auto device = [](const wchar_t* mount_point, const auto& names) {
        return Pointee(AllOf(Field(&CMountedDevice::mountPoint, mount_point), Field(&CMountedDevice::names, names)));
    };
    EXPECT_THAT(spec.devices,
                ElementsAre(device(L"C:\\mnt\\b\\", ElementsAre(L"D:", L"C:")), device(L"C:\\mnt\\a", IsEmpty())));
    EXPECT_THAT(parse_mounted_devices(L"<mountedVolumesSpec/>").devices, IsEmpty());
}

TEST_F(MountedDevicesSpec, WhatIsMissingFailsTheWhole) {
    const std::pair<std::wstring, const char*> rows[] = {
        {L"", "Failed to load XML document ''."},
        {L"<spec/>", "There is no child node with the specified name 'mountedVolumesSpec'."},
        {L"<mountedVolumesSpec><mountedDevice/></mountedVolumesSpec>", "Failed to get value of the attribute 'mountPoint'."},
        {L"<mountedVolumesSpec><mountedDevice mountPoint='x'><device/></mountedDevice></mountedVolumesSpec>",
         "Failed to get value of the attribute 'name'."},
    };
    for (const auto& [text, cause] : rows) {
        const auto lines = thrown([&text = text] { parse_mounted_devices(text); });
        EXPECT_EQ(lines[0], "Failed to de-serialize specification of mounted devices. Specification string: '" +
                                text::narrow(text) + "'.");
        EXPECT_EQ(lines.at(1) == "Failed to de-serialize mounted device info.", text.find(L"<mountedDevice") != text.npos);
        EXPECT_THAT(lines, Contains(cause));
    }
}

}  // namespace
