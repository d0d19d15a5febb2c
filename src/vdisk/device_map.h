#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "vdisk/mounted_devices_spec.h"

namespace impl::vdmount {

// From the native name of a device of the backed-up machine ("\??\c:", case-folded) to the native path at which it is mounted
// now ("\??\E:\Mnt\C", without the separator behind it).
using device_map_t = std::map<std::wstring, std::wstring>;

// A device that is listed twice leads to the mount point listed last.
device_map_t make_device_map(const CMountedDevicesSpec& spec);

// Where a reparse point leads now: what its device, the name's first `prefix_length` characters, is mounted at, and the rest of
// the name. None where that device is not mounted here.
std::optional<std::wstring> map_target(const device_map_t& devices, std::wstring_view name, std::size_t prefix_length);

}  // namespace impl::vdmount
