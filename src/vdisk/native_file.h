#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "vdisk/volume_context.h"

namespace impl::vdmount {

// What NtCreateFile is asked for beside the name; values as the platform documents them.
struct native_open_t {
    ACCESS_MASK access;
    ULONG sharing;
    ULONG options;
    ULONG attributes;  // of the object: OBJ_...
};

// Opens what exists below `root`. The name is text, or the 8 bytes of a file reference where the options say
// FILE_OPEN_BY_FILE_ID. Throws exc::CNtStatusExc with `failure`.
win::unique_handle open_native(const volume_context_t& volume, HANDLE root, std::span<std::byte> name,
                               const native_open_t& open, std::string_view failure);

}  // namespace impl::vdmount
