#include "vdisk/volume_context.h"

#include "foundation/errors.h"
#include "foundation/format.h"

namespace impl::vdmount {
namespace {

template <class Function>
Function* look_up(const volume_functions_t& functions, const char* name) {
    const FARPROC address = functions.ntdll_function(name);
    if (!address) {
        const DWORD error = ::GetLastError();
        throw exc::win_sys_exc_t(text::format("Failed to find function '%1' in ntdll.dll.", name), error);
    }
    return reinterpret_cast<Function*>(address);
}

}  // namespace

volume_context_t::volume_context_t(std::wstring path, const volume_functions_t& table)
    : mount_point(std::move(path)), functions(table) {
    const DWORD attributes = functions.get_file_attributes(mount_point.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        const DWORD error = ::GetLastError();
        throw exc::win_sys_exc_t(text::format("Mount point '%1' does not exist.", mount_point), error);
    }
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
        throw exc::win_sys_exc_t(text::format("Mount point '%1' is not a directory.", mount_point), ERROR_DIRECTORY);
    if (!mount_point.ends_with(L'\\'))
        mount_point += L'\\';
    nt_create_file = look_up<nt_create_file_t>(functions, "NtCreateFile");
    nt_query_directory_file = look_up<nt_query_directory_file_t>(functions, "NtQueryDirectoryFile");
}

}  // namespace impl::vdmount
