#include "vdisk/reparse_data.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "foundation/errors.h"
#include "foundation/format.h"

namespace impl::vdmount {
namespace {

constexpr std::size_t data_length_covers_from = 8;
constexpr std::size_t flags_offset = 16;
constexpr std::uint32_t flag_relative = 1;
constexpr std::uint32_t microsoft_tag_bit = 0x80000000;
constexpr std::wstring_view native_prefix = L"\\??\\";

byte_view part(byte_view data, std::size_t offset, std::size_t size) {
    if (offset + size > data.size())
        throw exc::runtime_exc_t(
            text::format("Reparse point data of %1 bytes lacks %2 bytes at offset %3.", data.size(), size, offset));
    return data.subspan(offset, size);
}

template <class Integer>
Integer read(byte_view data, std::size_t offset) {
    Integer value;
    std::memcpy(&value, part(data, offset, sizeof value).data(), sizeof value);
    return value;
}

template <class Integer>
void write(bytes_t& data, std::size_t offset, std::size_t value) {
    const auto narrowed = static_cast<Integer>(value);
    std::memcpy(data.data() + offset, &narrowed, sizeof narrowed);
}

}  // namespace

bool is_relative_link(byte_view data) { return (read<std::uint32_t>(data, flags_offset) & flag_relative) != 0; }

bytes_t delete_request(std::uint32_t tag, byte_view data) {
    const bool has_guid = (tag & microsoft_tag_bit) == 0;
    bytes_t request(has_guid ? guid_header_size : data_length_covers_from);
    write<std::uint32_t>(request, 0, tag);
    if (has_guid)
        std::ranges::copy(part(data, data_length_covers_from, guid_header_size - data_length_covers_from),
                          request.begin() + data_length_covers_from);
    return request;
}

std::wstring substitute_name(const reparse_layout_t& layout, byte_view data) {
    const std::size_t offset = read<std::uint16_t>(data, 8);
    const std::size_t length = read<std::uint16_t>(data, 10);
    if (length % sizeof(wchar_t) != 0)
        throw exc::runtime_exc_t(text::format("Substitute name of a reparse point has an odd length: %1 bytes.", length));
    const auto bytes = part(data, layout.path_offset + offset, length);
    std::wstring name(length / sizeof(wchar_t), L'\0');
    if (length > 0)
        std::memcpy(name.data(), bytes.data(), length);
    return name;
}

std::optional<std::size_t> device_prefix_length(std::wstring_view name) {
    if (name.size() < 5 || !name.starts_with(native_prefix))
        throw exc::runtime_exc_t(text::format("Unexpected substitute path format: '%1'.", name));
    if (name.size() >= 7 && name.substr(5, 2) == L":\\")
        return 6;
    if (name.size() > 48 && name.substr(4, 7) == L"Volume{" && name.substr(47, 2) == L"}\\")
        return 48;
    return std::nullopt;
}

bytes_t set_request(const reparse_layout_t& layout, std::wstring_view target) {
    const std::size_t name_size = target.size() * sizeof(wchar_t);
    const std::size_t second_name = name_size + sizeof(wchar_t);
    const std::size_t size = layout.path_offset + 2 * second_name;
    if (size - data_length_covers_from > std::numeric_limits<std::uint16_t>::max())
        throw exc::runtime_exc_t(text::format("Target of a reparse point is too long: '%1'.", target));

    bytes_t request(size);
    write<std::uint32_t>(request, 0, layout.tag);
    write<std::uint16_t>(request, 4, size - data_length_covers_from);
    write<std::uint16_t>(request, 8, layout.print_name_first ? second_name : 0);
    write<std::uint16_t>(request, 10, name_size);
    write<std::uint16_t>(request, 12, layout.print_name_first ? 0 : second_name);
    write<std::uint16_t>(request, 14, name_size);
    for (const std::size_t offset : {std::size_t{0}, second_name})
        std::memcpy(request.data() + layout.path_offset + offset, target.data(), name_size);
    return request;
}

}  // namespace impl::vdmount
