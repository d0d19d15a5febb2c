#include "vdisk/reparse_point.h"

#include <algorithm>

#include "foundation/errors.h"
#include "foundation/format.h"
#include "logging/write.h"
#include "vdisk/reparse_data.h"

namespace impl::vdmount {
namespace {

// Documented in the platform's ntifs.h; winioctl.h of some SDKs lacks them.
constexpr DWORD fsctl_set_reparse_point = 0x900A4;
constexpr DWORD fsctl_get_reparse_point = 0x900A8;
constexpr DWORD fsctl_delete_reparse_point = 0x900AC;

constexpr std::size_t read_step = 4096;
// Data has a 16-bit length behind its longest head: whoever asks for more room than that is broken, and asks for ever.
constexpr std::size_t read_limit = (guid_header_size + 0xFFFF + read_step - 1) / read_step * read_step;

bytes_t read_data(const volume_context_t& volume, HANDLE point) {
    bytes_t data(read_step);
    DWORD size = 0;
    while (!volume.functions.device_io_control(point, fsctl_get_reparse_point, nullptr, 0, data.data(),
                                               static_cast<DWORD>(data.size()), &size, nullptr)) {
        const DWORD error = ::GetLastError();
        const bool too_small = error == ERROR_BUFFER_OVERFLOW || error == ERROR_INSUFFICIENT_BUFFER || error == ERROR_MORE_DATA;
        if (!too_small || data.size() >= read_limit)
            throw exc::win_sys_exc_t("Failed to retrieve reparse point data.", error);
        data.resize(data.size() + read_step);
    }
    if (size < guid_header_size)
        throw exc::runtime_exc_t(
            text::format("Unable to update reparse point: returned size is less than size of header '%1'.", size));
    data.resize(std::min<std::size_t>(size, data.size()));
    return data;
}

void send(const volume_context_t& volume, HANDLE point, DWORD code, bytes_t request, std::string_view failure) {
    DWORD returned = 0;
    if (!volume.functions.device_io_control(point, code, request.data(), static_cast<DWORD>(request.size()), nullptr, 0,
                                            &returned, nullptr))
        exc::throw_last_error(failure);
}

bool is_directory(const volume_context_t& volume, HANDLE point) {
    BY_HANDLE_FILE_INFORMATION information{};
    if (!volume.functions.get_file_information(point, &information))
        exc::throw_last_error("Failed to get file information by handle for symbolic reparse point.");
    return (information.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

}  // namespace

void update_point(const volume_context_t& volume, HANDLE point, const index_entry_t& entry, bool may_link,
                  const device_map_t& devices) {
    const bool is_link = entry.tag == tag_symbolic_link;
    const bytes_t data = read_data(volume, point);
    if (may_link && is_link && is_relative_link(data)) {
        logging::info("Skipping relative symbolic link.");
        return;
    }

    send(volume, point, fsctl_delete_reparse_point, delete_request(entry.tag, data), "Failed to delete reparse point.");
    if (!is_link && entry.tag != tag_mount_point)
        return;
    if (is_link && !may_link && !is_directory(volume, point))
        return;

    const std::wstring name = substitute_name(is_link ? symbolic_link_layout : mount_point_layout, data);
    const auto prefix = device_prefix_length(name);
    if (!prefix) {
        logging::info("Skipping reparse point with substitute path '%1'.", name);
        return;
    }
    const auto target = map_target(devices, name, *prefix);
    if (!target) {
        logging::info("Unable to find matching device for substitute path '%1'.", name);
        return;
    }
    send(volume, point, fsctl_set_reparse_point,
         set_request(is_link && may_link ? symbolic_link_layout : mount_point_layout, *target), "Failed to set reparse point.");
}

}  // namespace impl::vdmount
