#include "vdisk/native_file.h"

#include "foundation/errors.h"

namespace impl::vdmount {

win::unique_handle open_native(const volume_context_t& volume, HANDLE root, std::span<std::byte> name,
                               const native_open_t& open, std::string_view failure) {
    const auto length = static_cast<USHORT>(name.size());
    UNICODE_STRING object_name{length, length, reinterpret_cast<PWSTR>(name.data())};
    OBJECT_ATTRIBUTES object{};
    InitializeObjectAttributes(&object, &object_name, open.attributes, root, nullptr);
    IO_STATUS_BLOCK io_status{};
    win::unique_handle file;
    const NTSTATUS status = volume.nt_create_file(file.put(), open.access, &object, &io_status, nullptr, 0, open.sharing,
                                                  FILE_OPEN, open.options, nullptr, 0);
    if (status != 0)
        throw exc::CNtStatusExc(static_cast<std::uint32_t>(status), failure);
    return file;
}

}  // namespace impl::vdmount
