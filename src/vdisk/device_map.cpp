#include "vdisk/device_map.h"

#include <string_view>

#include "vdisk/fold_case.h"

namespace impl::vdmount {

device_map_t make_device_map(const CMountedDevicesSpec& spec) {
    device_map_t map;
    for (const auto& device : spec.devices) {
        std::wstring_view mount_point = device->mountPoint;
        // What follows a device in a reparse point's name begins with a separator.
        if (mount_point.ends_with(L'\\'))
            mount_point.remove_suffix(1);
        for (const auto& name : device->names)
            map[fold_case(L"\\??\\" + name)] = L"\\??\\" + std::wstring(mount_point);
    }
    return map;
}

}  // namespace impl::vdmount
