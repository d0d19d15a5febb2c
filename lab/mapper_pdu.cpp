#include "foundation/errors.h"
#include "lab/byte_stream.h"
#include "lab/endpoint_mapper.h"

namespace lab {
namespace {

enum : std::uint8_t {
    request = 0,
    response = 2,
    fault = 3,
    bind = 11,
    bind_ack = 12,
    alter_context = 14,
    alter_context_resp = 15
};

constexpr std::uint8_t first_and_last_fragment = 0x03, object_uuid_present = 0x80;
constexpr std::uint16_t ept_map_operation = 3;
constexpr std::uint32_t operation_out_of_range = 0x1C010002, bad_stub_data = 0x000006F7;
constexpr std::uint8_t little_endian_ascii = 0x10;

struct header_t {
    std::uint8_t version, minor_version, type, flags;
    std::uint8_t representation[4];
    std::uint16_t fragment_length, authentication_length;
    std::uint32_t call_id;
};
static_assert(sizeof(header_t) == 16);

struct syntax_t {
    GUID id;
    std::uint32_t version;
};

// One fragment; its length is filled in when it is finished.
byte_writer begin_pdu(std::uint8_t type, std::uint32_t call_id) {
    byte_writer out;
    out.put(header_t{5, 0, type, first_and_last_fragment, {little_endian_ascii, 0, 0, 0}, 0, 0, call_id});
    return out;
}

std::vector<std::uint8_t> finish(byte_writer& out) {
    out.overwrite(offsetof(header_t, fragment_length), static_cast<std::uint16_t>(out.bytes().size()));
    return std::move(out.bytes());
}

std::vector<std::uint8_t> answer_bind(const header_t& header, byte_reader& in) {
    static constexpr syntax_t mapper = {{0xe1af8308, 0x5d1f, 0x11c9, {0x91, 0xa4, 0x08, 0x00, 0x2b, 0x14, 0xa0, 0xfa}}, 3};
    static constexpr syntax_t ndr = {{0x8a885d04, 0x1ceb, 0x11c9, {0x9f, 0xe8, 0x08, 0x00, 0x2b, 0x10, 0x48, 0x60}}, 2};
    static constexpr char address[] = "135";
    enum : std::uint16_t { acceptance = 0, provider_rejection = 2, no_such_syntax = 1, no_such_transfer_syntax = 2 };

    const auto max_transmit = in.take<std::uint16_t>(), max_receive = in.take<std::uint16_t>();
    in.take<std::uint32_t>();  // the association group: every connection gets the same
    const auto count = in.take<std::uint8_t>();
    in.take(3);

    byte_writer out = begin_pdu(header.type == bind ? bind_ack : alter_context_resp, header.call_id);
    out.put(max_receive);
    out.put(max_transmit);
    out.put<std::uint32_t>(0x4b52);
    if (header.type == bind) {
        out.put<std::uint16_t>(sizeof address);
        out.put_bytes({reinterpret_cast<const std::uint8_t*>(address), sizeof address});
    } else {
        out.put<std::uint16_t>(0);
    }
    out.align(4);
    out.put<std::uint32_t>(count);
    for (unsigned i = 0; i < count; ++i) {
        in.take<std::uint16_t>();  // the context's number
        const auto transfers = in.take<std::uint8_t>();
        in.take(1);
        const auto abstract = in.take<syntax_t>();
        bool knows_ndr = false;
        for (unsigned k = 0; k < transfers; ++k)
            knows_ndr |= in.take<syntax_t>().id == ndr.id;
        const bool is_mapper = abstract.id == mapper.id && abstract.version == mapper.version;
        out.put<std::uint16_t>(is_mapper && knows_ndr ? acceptance : provider_rejection);
        out.put<std::uint16_t>(!is_mapper ? no_such_syntax : knows_ndr ? 0 : no_such_transfer_syntax);
        out.put(is_mapper && knows_ndr ? ndr : syntax_t{});
    }
    return finish(out);
}

std::vector<std::uint8_t> make_fault(const header_t& header, std::uint16_t context, std::uint32_t status) {
    byte_writer out = begin_pdu(fault, header.call_id);
    out.put<std::uint32_t>(0);
    out.put(context);
    out.put<std::uint16_t>(0);
    out.put(status);
    out.put<std::uint32_t>(0);
    return finish(out);
}

std::vector<std::uint8_t> answer_request(const header_t& header, byte_reader& in, std::size_t size,
                                         std::span<const mapped_interface> interfaces) {
    in.take<std::uint32_t>();
    const auto context = in.take<std::uint16_t>();
    const auto operation = in.take<std::uint16_t>();
    if (header.flags & object_uuid_present)
        in.take(sizeof(GUID));
    if (operation != ept_map_operation)
        return make_fault(header, context, operation_out_of_range);
    try {
        const auto body = answer_ept_map(in.take(size - in.position()), interfaces);
        byte_writer out = begin_pdu(response, header.call_id);
        out.put(static_cast<std::uint32_t>(body.size()));
        out.put(context);
        out.put<std::uint16_t>(0);
        out.put_bytes(body);
        return finish(out);
    } catch (const exc::runtime_exc_t&) {
        return make_fault(header, context, bad_stub_data);
    }
}

}  // namespace

std::vector<std::uint8_t> answer_mapper_pdu(std::span<const std::uint8_t> pdu, std::span<const mapped_interface> interfaces) {
    try {
        byte_reader in(pdu);
        const auto header = in.take<header_t>();
        const bool whole = (header.flags & first_and_last_fragment) == first_and_last_fragment;
        if (header.version != 5 || header.representation[0] != little_endian_ascii || header.authentication_length != 0 ||
            !whole)
            return {};
        if (header.type == bind || header.type == alter_context)
            return answer_bind(header, in);
        if (header.type == request)
            return answer_request(header, in, pdu.size(), interfaces);
    } catch (const exc::runtime_exc_t&) {
        // cut short
    }
    return {};
}

}  // namespace lab
