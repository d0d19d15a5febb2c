#include "vdisk/volume_context.h"

#include "foundation/errors.h"
#include "foundation/format.h"

namespace impl::vdmount {
namespace {

template <class Function>
Function* look_up(const volume_functions_t& functions, const char* name) {
    const FARPROC address = functions.ntdll_function(name);
    if (!address)
        exc::throw_last_error("Failed to find function '%1' in ntdll.dll.", name);
    return reinterpret_cast<Function*>(address);
}

void check_directory(const volume_functions_t& functions, const std::wstring& path) {
    const DWORD attributes = functions.get_file_attributes(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES)
        exc::throw_last_error("Failed to get attributes of mount point '%1'.", path);
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
        throw exc::win_sys_exc_t(text::format("Mount point '%1' is not a directory.", path), ERROR_DIRECTORY);
}

}  // namespace

volume_context_t::volume_context_t(std::wstring path, bool must_be_directory, const volume_functions_t& table)
    : mount_point(std::move(path)), functions(table) {
    if (must_be_directory)
        check_directory(functions, mount_point);
    if (!mount_point.ends_with(L'\\'))
        mount_point += L'\\';
    nt_create_file = look_up<nt_create_file_t>(functions, "NtCreateFile");
    nt_query_directory_file = look_up<nt_query_directory_file_t>(functions, "NtQueryDirectoryFile");
}

}  // namespace impl::vdmount
