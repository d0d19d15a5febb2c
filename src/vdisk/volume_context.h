#pragma once

#include <string>

#include "vdisk/volume_functions.h"

namespace impl::vdmount {

// One mounted volume while its reparse points are updated.
struct volume_context_t {
    // The mount point must be an existing directory; a "\" is added where it does not end in one. `functions` must outlive
    // this.
    volume_context_t(std::wstring mount_point, const volume_functions_t& functions);

    std::wstring mount_point;
    const volume_functions_t& functions;
    nt_create_file_t* nt_create_file;
    nt_query_directory_file_t* nt_query_directory_file;
};

}  // namespace impl::vdmount
