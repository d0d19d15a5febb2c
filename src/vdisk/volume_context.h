#pragma once

#include <string>

#include "vdisk/volume_functions.h"

namespace impl::vdmount {

// One mounted volume while its reparse points are updated.
struct volume_context_t {
    // A "\" is added where the path does not end in one. Throws where the mount point must be an existing directory and is
    // none. `functions` must outlive this.
    volume_context_t(std::wstring mount_point, bool must_be_directory, const volume_functions_t& functions);

    std::wstring mount_point;
    const volume_functions_t& functions;
    nt_create_file_t* nt_create_file;
    nt_query_directory_file_t* nt_query_directory_file;
};

}  // namespace impl::vdmount
