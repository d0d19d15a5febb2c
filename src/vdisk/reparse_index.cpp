#include "vdisk/reparse_index.h"

#include <algorithm>

#include "foundation/errors.h"
#include "vdisk/native_file.h"

namespace impl::vdmount {
namespace {

// Status values and the information class as the platform's driver kit gives them.
constexpr std::uint32_t status_no_more_files = 0x80000006;
constexpr std::uint32_t status_no_such_file = 0xC000000F;
constexpr auto reparse_point_information = static_cast<FILE_INFORMATION_CLASS>(33);

win::unique_handle open_index(const volume_context_t& volume, HANDLE root) {
    std::wstring name = L"$Extend\\$Reparse:$R:$INDEX_ALLOCATION";
    return open_native(volume, root, std::as_writable_bytes(std::span(name)),
                       {.access = SYNCHRONIZE | FILE_READ_ATTRIBUTES | FILE_LIST_DIRECTORY,
                        .sharing = FILE_SHARE_READ | FILE_SHARE_WRITE,
                        .options = FILE_DIRECTORY_FILE | FILE_SYNCHRONOUS_IO_NONALERT,
                        .attributes = OBJ_CASE_INSENSITIVE},
                       "Failed to open reparse directory object.");
}

std::size_t read_pass(const volume_context_t& volume, HANDLE index, reparse_index_t::pass_t& entries, bool restart) {
    IO_STATUS_BLOCK io_status{};
    const auto status = static_cast<std::uint32_t>(
        volume.nt_query_directory_file(index, nullptr, nullptr, nullptr, &io_status, entries.data(), sizeof entries,
                                       reparse_point_information, FALSE, nullptr, restart));
    if (status == status_no_more_files || status == status_no_such_file)
        return 0;
    if (status != 0)
        throw exc::CNtStatusExc(status, "Failed to query reparse point information.");
    return std::min<std::size_t>(io_status.Information / sizeof(index_entry_t), entries.size());
}

}  // namespace

reparse_index_t read_reparse_index(const volume_context_t& volume, HANDLE root) {
    const auto index = open_index(volume, root);
    reparse_index_t entries;
    std::size_t count;
    do {
        count = read_pass(volume, index.get(), entries.grow(), entries.size() == 0);
        entries.added(count);
    } while (count == reparse_index_t::pass_size);
    return entries;
}

}  // namespace impl::vdmount
