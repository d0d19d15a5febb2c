#include "vdisk/virtual_disk.h"

#include <cwchar>

#include "foundation/errors.h"
#include "foundation/format.h"
#include "logging/write.h"

namespace impl::vdmount {
namespace {

template <class Function>
void look_up(HMODULE library, const char* name, Function& function) {
    const FARPROC address = ::GetProcAddress(library, name);
    if (!address)
        exc::throw_last_error("Failed to find function '%1' in the virtual disk library.", name);
    function = reinterpret_cast<Function>(address);
}

void check(DWORD error, const char* failure) {
    if (error != ERROR_SUCCESS)
        throw exc::win_sys_exc_t(failure, error);
}

}  // namespace

virtual_disk_functions_t load_virtual_disk_library(const wchar_t* name) {
    const HMODULE library = ::LoadLibraryExW(name, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    if (!library)
        exc::throw_last_error("Failed to load the virtual disk library '%1'.", name);
    virtual_disk_functions_t functions{};
    functions.library.reset(library, [](void* module) { ::FreeLibrary(static_cast<HMODULE>(module)); });
    look_up(library, "OpenVirtualDisk", functions.open);
    look_up(library, "AttachVirtualDisk", functions.attach);
    look_up(library, "GetVirtualDiskPhysicalPath", functions.physical_path);
    look_up(library, "DetachVirtualDisk", functions.detach);
    return functions;
}

attached_disk_t::attached_disk_t(const virtual_disk_functions_t& functions, const std::wstring& path) : functions_(functions) {
    // An unknown device of an unknown vendor (a zero GUID): the library tells the format by the file.
    VIRTUAL_STORAGE_TYPE type{};
    const auto access = static_cast<VIRTUAL_DISK_ACCESS_MASK>(VIRTUAL_DISK_ACCESS_ATTACH_RW | VIRTUAL_DISK_ACCESS_GET_INFO |
                                                              VIRTUAL_DISK_ACCESS_DETACH);
    check(functions_.open(&type, path.c_str(), access, OPEN_VIRTUAL_DISK_FLAG_NONE, nullptr, disk_.put()),
          "Failed to open virtual disk.");
    ATTACH_VIRTUAL_DISK_PARAMETERS parameters{};
    parameters.Version = ATTACH_VIRTUAL_DISK_VERSION_1;
    check(functions_.attach(disk_.get(), nullptr, ATTACH_VIRTUAL_DISK_FLAG_NO_DRIVE_LETTER, 0, &parameters, nullptr),
          "Failed to attach virtual disk.");
}

attached_disk_t::~attached_disk_t() {
    try {
        detach();
    } catch (const std::exception& error) {
        logging::error_with(error, "The virtual disk is left to the platform, which detaches it with its last handle.");
    }
}

DWORD attached_disk_t::disk_number() const {
    constexpr std::wstring_view device = L"\\\\.\\PhysicalDrive";
    wchar_t path[MAX_PATH] = {};
    ULONG size = sizeof path;
    check(functions_.physical_path(disk_.get(), &size, path), "Failed to get the physical path of a virtual disk.");
    wchar_t* end = path;
    DWORD number = 0;
    if (std::wstring_view(path).starts_with(device))
        number = std::wcstoul(path + device.size(), &end, 10);
    if (end <= path + device.size() || *end != L'\0')
        throw exc::runtime_exc_t(text::format("Unexpected physical path of a virtual disk: '%1'.", path));
    return number;
}

void attached_disk_t::detach() {
    if (!disk_)
        return;
    check(functions_.detach(disk_.get(), DETACH_VIRTUAL_DISK_FLAG_NONE, 0), "Failed to detach virtual disk.");
    disk_.reset();
}

}  // namespace impl::vdmount
