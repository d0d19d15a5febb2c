#include "vdisk/reparse_updater.h"

#include <optional>

#include "foundation/errors.h"
#include "foundation/nesting.h"
#include "logging/write.h"
#include "vdisk/native_file.h"
#include "vdisk/reparse_data.h"
#include "vdisk/reparse_index.h"
#include "vdisk/reparse_point.h"

namespace impl::vdmount {
namespace {

win::unique_file open_root(const volume_context_t& volume) {
    win::unique_file root(volume.functions.create_file(volume.mount_point.c_str(), FILE_LIST_DIRECTORY | FILE_READ_ATTRIBUTES,
                                                       FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                                       FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    if (!root)
        exc::throw_last_error("Failed to open mounted volume: '%1'.", volume.mount_point);
    return root;
}

std::optional<win::held_privilege_t> take_link_privilege(const volume_context_t& volume) {
    const auto& privilege = win::create_symbolic_link_privilege;
    try {
        return volume.functions.take_privilege(privilege);
    } catch (const std::exception& error) {
        logging::error_with(error, "Failed to acquire privilege '%1'.", privilege.index);
        return std::nullopt;
    }
}

win::unique_handle open_point(const volume_context_t& volume, HANDLE root, std::int64_t file_reference) {
    return open_native(volume, root, std::as_writable_bytes(std::span(&file_reference, 1)),
                       {.access = SYNCHRONIZE | FILE_READ_ATTRIBUTES | FILE_WRITE_ATTRIBUTES | FILE_READ_EA | FILE_WRITE_EA,
                        .sharing = 0,
                        .options = FILE_OPEN_REPARSE_POINT | FILE_OPEN_BY_FILE_ID | FILE_SYNCHRONOUS_IO_NONALERT,
                        .attributes = 0},
                       "Failed to open reparse point.");
}

}  // namespace

void update_volume(const volume_context_t& volume, const device_map_t& devices, std::uint32_t max_count) {
    if (max_count == 0) {
        logging::info("Processing symbolic links disabled by user maxCount == %1.", max_count);
        return;
    }
    const auto root = open_root(volume);
    const reparse_index_t index = read_reparse_index(volume, root.get());
    const auto privilege = take_link_privilege(volume);
    const bool links_only = max_count < index.size();
    if (links_only)
        logging::warning(
            "Count of existing reparse points ('%1') is greater than specified limits ('%2'). "
            "Processing only symbolic links.",
            index.size(), max_count);

    std::uint64_t succeeded = 0;
    std::uint64_t failed = 0;
    for (std::size_t i = 0; i < index.size(); ++i) {
        const index_entry_t& entry = index[i];
        const bool selected =
            links_only ? entry.tag == tag_mount_point || entry.tag == tag_symbolic_link : entry.tag != tag_deduplication;
        if (!selected)
            continue;
        try {
            const auto point = open_point(volume, root.get(), entry.file_reference);
            update_point(volume, point.get(), entry, privilege.has_value(), devices);
            ++succeeded;
        } catch (const std::exception& error) {
            logging::error_with(error, "Failed to update reparse point (id: '%1', type: '%2').", entry.file_reference,
                                text::hex8(entry.tag));
            ++failed;
        }
    }
    logging::info("Update of reparse points is complete. Succeeded: '%1'. Failed: '%2'. Total: '%3'.", succeeded, failed,
                  index.size());
}

void update_reparse_points(const std::wstring& spec_text, std::uint32_t max_count, const volume_functions_t& functions) {
    const auto fail = [&] { return text::format("Failed to update reparse points. Specification: '%1'.", spec_text); };
    exc::wrap_errors(fail, [&] {
        const CMountedDevicesSpec spec = parse_mounted_devices(spec_text);
        const device_map_t devices = make_device_map(spec);
        for (const auto& [device, mount_point] : devices)
            logging::info("Device: '%1', mount point: '%2'.", device, mount_point);
        for (const auto& device : spec.devices) {
            const auto scope = logging::scoped("Updating reparse points for  mounted volume '%1'.", device->mountPoint);
            try {
                update_volume(volume_context_t(device->mountPoint, true, functions), devices, max_count);
            } catch (const std::exception& error) {
                logging::error_with(error,
                                    "Failed to update reparse points for mounted volume '%1'. "
                                    "Maximum count of points to update: '%2'.",
                                    device->mountPoint, max_count);
            }
        }
    });
}

}  // namespace impl::vdmount
