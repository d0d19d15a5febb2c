#include "vdisk/mounted_devices_spec.h"

#include <gmock/gmock.h>

#include "foundation/convert.h"
#include "tests/foundation/com_thread.h"
#include "tests/foundation/thrown.h"

using namespace impl::vdmount;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

using MountedDevicesSpec = com_thread;

TEST_F(MountedDevicesSpec, DevicesComeInTheDocumentsOrder) {
    const auto spec = parse_mounted_devices(
        LR"(<mountedVolumesSpec version="2">
        <mountedDevice mountPoint="C:\mnt\b\" disk="1"><device name="D:"/><note/><device name="C:"/></mountedDevice>
        <other mountPoint="x"/>
        <mountedDevice mountPoint="C:\mnt\a"/>
        </mountedVolumesSpec>)");
    ASSERT_EQ(spec.devices.size(), 2u);
    EXPECT_EQ(spec.devices[0]->mountPoint, L"C:\\mnt\\b\\");
    EXPECT_THAT(spec.devices[0]->names, ElementsAre(L"D:", L"C:"));
    EXPECT_EQ(spec.devices[1]->mountPoint, L"C:\\mnt\\a");
    EXPECT_THAT(spec.devices[1]->names, IsEmpty());
    EXPECT_THAT(parse_mounted_devices(L"<mountedVolumesSpec/>").devices, IsEmpty());
}

TEST_F(MountedDevicesSpec, WhatIsMissingFailsTheWhole) {
    struct row_t {
        const wchar_t* text;
        const char* cause;
        bool device;
    };
    const row_t rows[] = {
        {L"", "Failed to load XML document ''.", false},
        {L"<mountedVolumesSpec", "Failed to load XML document '<mountedVolumesSpec'.", false},
        {L"<spec/>", "There is no child node with the specified name 'mountedVolumesSpec'.", false},
        {L"<mountedVolumesSpec><mountedDevice/></mountedVolumesSpec>", "Failed to get value of the attribute 'mountPoint'.",
         true},
        {L"<mountedVolumesSpec><mountedDevice mountPoint='x'><device/></mountedDevice></mountedVolumesSpec>",
         "Failed to get value of the attribute 'name'.", true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.cause);
        const auto lines = thrown([&] { parse_mounted_devices(row.text); });
        ASSERT_GE(lines.size(), 2u);
        EXPECT_EQ(lines[0], "Failed to de-serialize specification of mounted devices. Specification string: '" +
                                text::narrow(row.text) + "'.");
        EXPECT_EQ(lines[1] == "Failed to de-serialize mounted device info.", row.device);
        EXPECT_THAT(lines, testing::Contains(HasSubstr(row.cause)));
    }
}

}  // namespace
