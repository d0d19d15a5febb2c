#pragma once

#include <cstdint>
#include <string>

#include "vdisk/device_map.h"
#include "vdisk/volume_context.h"

// After the disks of a backed-up machine are mounted here, the junctions and symbolic links on them still lead to that
// machine's devices, that is into the running system. The updater makes them lead into the mounted volumes.
namespace impl::vdmount {

// Updates all mounted volumes of a specification (see mounted_devices_spec.h). `max_count` is the largest number of reparse
// points on a volume of which all kinds are updated; beyond it junctions and symbolic links alone are, and with 0 nothing is.
// Only a specification that cannot be read throws; a volume that fails is logged.
void update_reparse_points(const std::wstring& spec_text, std::uint32_t max_count, const volume_functions_t& functions = {});

// Updates one volume. Throws where its index cannot be read; a point that fails is logged.
void update_volume(const volume_context_t& volume, const device_map_t& devices, std::uint32_t max_count);

}  // namespace impl::vdmount
