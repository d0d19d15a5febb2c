#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace impl::vdmount {

// One mounted volume and the names that its device had on the backed-up machine.
struct CMountedDevice {
    std::wstring mountPoint;  // the folder or drive at which it is mounted now
    std::vector<std::wstring> names;
};

struct CMountedDevicesSpec {
    std::vector<std::shared_ptr<CMountedDevice>> devices;  // in the document's order
};

// Reads
//
//   <mountedVolumesSpec>
//     <mountedDevice mountPoint="C:\mnt\disk1\"><device name="C:"/><device name="Volume{...}"/></mountedDevice>
//   </mountedVolumesSpec>
//
// A missing root, mountPoint or name throws; other elements and attributes are ignored.
CMountedDevicesSpec parse_mounted_devices(std::wstring_view text);

}  // namespace impl::vdmount
