#include "lab/ept_map.h"

#include <algorithm>

#include "lab/byte_stream.h"

namespace lab {
namespace {

constexpr std::uint32_t not_registered = 0x16C9A0D6;
constexpr std::size_t context_handle_size = 20;

// Identifiers of a tower's floors.
constexpr std::uint8_t uuid_floor = 0x0d, connection_oriented_floor = 0x0b, tcp_floor = 0x07;

struct request_t {
    std::vector<std::uint8_t> tower;
    std::uint32_t max_towers = 0;
};

request_t read_request(std::span<const std::uint8_t> body) {
    byte_reader in(body);
    request_t request;
    if (in.take<std::uint32_t>() != 0)  // the object, of no interest
        in.take(sizeof(GUID));
    if (in.take<std::uint32_t>() != 0) {
        in.take<std::uint32_t>();  // the array's conformance, again the length
        const auto length = in.take<std::uint32_t>();
        const auto octets = in.take(length);
        request.tower.assign(octets.begin(), octets.end());
        in.align(4);
    }
    in.take(context_handle_size);
    request.max_towers = in.take<std::uint32_t>();
    return request;
}

struct floor_t {
    std::span<const std::uint8_t> left, right;
    std::size_t right_position;
};

floor_t take_floor(byte_reader& in) {
    floor_t floor{};
    floor.left = in.take(in.take<std::uint16_t>());
    const auto length = in.take<std::uint16_t>();
    floor.right_position = in.position();
    floor.right = in.take(length);
    return floor;
}

bool is(const floor_t& floor, std::uint8_t identifier) { return !floor.left.empty() && floor.left[0] == identifier; }

const mapped_interface* find_interface(const floor_t& floor, std::span<const mapped_interface> interfaces) {
    byte_reader left(floor.left), right(floor.right);
    if (left.take<std::uint8_t>() != uuid_floor)
        return nullptr;
    const auto id = left.take<GUID>();
    const auto major_version = left.take<std::uint16_t>();
    const auto minor_version = right.take<std::uint16_t>();
    const auto found = std::ranges::find_if(interfaces, [&](const mapped_interface& entry) {
        return entry.id == id && entry.major_version == major_version && entry.minor_version >= minor_version;
    });
    return found == interfaces.end() ? nullptr : &*found;
}

// Fills the port into the tower; false where nothing is known of what it asks for.
bool resolve(std::vector<std::uint8_t>& tower, std::span<const mapped_interface> interfaces) {
    byte_reader in(tower);
    if (in.take<std::uint16_t>() < 4)
        return false;
    const mapped_interface* const found = find_interface(take_floor(in), interfaces);
    take_floor(in);  // the transfer syntax
    const floor_t protocol = take_floor(in), transport = take_floor(in);
    if (!found || !is(protocol, connection_oriented_floor) || !is(transport, tcp_floor) || transport.right.size() != 2)
        return false;
    tower[transport.right_position] = static_cast<std::uint8_t>(found->port >> 8);  // the one big-endian number of a tower
    tower[transport.right_position + 1] = static_cast<std::uint8_t>(found->port);
    return true;
}

}  // namespace

std::vector<std::uint8_t> answer_ept_map(std::span<const std::uint8_t> body, std::span<const mapped_interface> interfaces) {
    request_t request = read_request(body);
    const bool known = request.max_towers > 0 && !request.tower.empty() && resolve(request.tower, interfaces);

    byte_writer out;
    out.put_zeros(context_handle_size);  // nothing more to come
    out.put<std::uint32_t>(known);       // number of towers
    out.put(request.max_towers);         // the array: conformance, offset, count
    out.put<std::uint32_t>(0);
    out.put<std::uint32_t>(known);
    if (known) {
        const auto length = static_cast<std::uint32_t>(request.tower.size());
        out.put<std::uint32_t>(1);  // a pointer's referent
        out.put(length);
        out.put(length);
        out.put_bytes(request.tower);
        out.align(4);
    }
    out.put<std::uint32_t>(known ? 0 : not_registered);
    return std::move(out.bytes());
}

}  // namespace lab
