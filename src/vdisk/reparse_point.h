#pragma once

#include "vdisk/device_map.h"
#include "vdisk/reparse_index.h"

namespace impl::vdmount {

// Rewrites one open reparse point so that it leads to where its device is mounted now. `may_link` says whether the privilege
// to create symbolic links is held. Without it a symbolic link to a directory becomes a junction, and one to a file goes.
//
// The point is deleted before its name is looked at and stays deleted where it cannot be set again: on this machine it would
// lead into the running system. Returns also where it left the point alone or took it away for good; throws what failed.
void update_point(const volume_context_t& volume, HANDLE point, const index_entry_t& entry, bool may_link,
                  const device_map_t& devices);

}  // namespace impl::vdmount
