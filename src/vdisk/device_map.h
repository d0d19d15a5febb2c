#pragma once

#include <map>
#include <string>

#include "vdisk/mounted_devices_spec.h"

namespace impl::vdmount {

// From the native name of a device of the backed-up machine ("\??\c:", case-folded) to the native path at which it is mounted
// now ("\??\E:\Mnt\C", without the separator behind it).
using device_map_t = std::map<std::wstring, std::wstring>;

// A device that is listed twice leads to the mount point listed last.
device_map_t make_device_map(const CMountedDevicesSpec& spec);

}  // namespace impl::vdmount
