#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// The data of a reparse point as pure functions over bytes. What is read comes from a volume that somebody else wrote, so
// every offset and length in it is checked against the bytes that are really there: what lies outside throws
// exc::runtime_exc_t.
//
// Both kinds of data share their head: u32 tag, u16 data length (all that follows these 8 bytes), u16 reserved, then u16
// offset and length of the substitute name and of the print name, in bytes from the start of the path buffer. A symbolic
// link has u32 flags between head and path buffer.
namespace impl::vdmount {

using bytes_t = std::vector<std::uint8_t>;
using byte_view = std::span<const std::uint8_t>;

// Values of the platform's IO_REPARSE_TAG_*.
inline constexpr std::uint32_t tag_mount_point = 0xA0000003;
inline constexpr std::uint32_t tag_symbolic_link = 0xA000000C;
inline constexpr std::uint32_t tag_deduplication = 0x80000013;

// The longest head of all kinds of data: that of a tag which is not Microsoft's, with its GUID.
inline constexpr std::size_t guid_header_size = 24;

struct reparse_layout_t {
    std::uint32_t tag;
    std::size_t path_offset;  // of the path buffer, in the whole data
    bool print_name_first;    // when written
};
inline constexpr reparse_layout_t mount_point_layout{tag_mount_point, 16, false};
inline constexpr reparse_layout_t symbolic_link_layout{tag_symbolic_link, 20, true};

// Whether the data of a symbolic link says that its target is relative to its folder.
bool is_relative_link(byte_view data);

// What FSCTL_DELETE_REPARSE_POINT takes: the head without data, with the GUID of the data read where the tag is not
// Microsoft's.
bytes_t delete_request(std::uint32_t tag, byte_view data);

// As long as the data says; a length that ends within a character throws exc::runtime_exc_t, too.
std::wstring substitute_name(const reparse_layout_t& layout, byte_view data);

// The length of the name's part that stands for a device: 6 for "\??\C:\...", 48 for "\??\Volume{GUID}\...". None for any
// other name. Throws exc::runtime_exc_t for a name below 5 characters or not beginning with "\??\".
std::optional<std::size_t> device_prefix_length(std::wstring_view name);

// What FSCTL_SET_REPARSE_POINT takes: both names are the target, and a link is absolute. Throws exc::runtime_exc_t where the
// 16-bit lengths cannot hold it.
bytes_t set_request(const reparse_layout_t& layout, std::wstring_view target);

}  // namespace impl::vdmount
