#include "vdisk/device_map.h"

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

std::optional<std::wstring> map_target(const device_map_t& devices, std::wstring_view name, std::size_t prefix_length) {
    const auto device = devices.find(fold_case(name.substr(0, prefix_length)));
    if (device == devices.end())
        return std::nullopt;
    return device->second + std::wstring(name.substr(prefix_length));
}

}  // namespace impl::vdmount
