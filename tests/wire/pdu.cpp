#include "tests/wire/pdu.h"

#include <windows.h>

#include <algorithm>
#include <sstream>

namespace wire {
namespace {

constexpr std::uint16_t fragment_limit = 5840;

void put(bytes& out, std::uint32_t value, int size) {
    for (; size > 0; --size, value >>= 8)
        out.push_back(static_cast<std::uint8_t>(value));
}

void append(bytes& out, std::span<const std::uint8_t> more) { out.insert(out.end(), more.begin(), more.end()); }

bytes utf16(std::string_view utf8) {
    std::wstring units(utf8.size(), L'\0');
    const int size = static_cast<int>(utf8.size());
    units.resize(static_cast<std::size_t>(::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, units.data(), size)));
    bytes result;
    for (const wchar_t unit : units)
        put(result, unit, 2);
    return result;
}

struct parsed_t {
    bytes data;
    std::vector<std::size_t> referents;  // where they begin
};

parsed_t parse_form(std::string_view form) {
    parsed_t result;
    bytes& data = result.data;
    std::istringstream tokens{std::string(form)};
    for (std::string token; std::getline(tokens, token, ' ');) {
        if (token.empty())
            continue;
        if (token == "PTR") {
            result.referents.push_back(data.size());
            put(data, 0x00020000, 4);
        } else if (token.front() == '.') {
            data.resize(data.size() + token.size() / 2);
        } else if (const std::size_t quote = token.find('\''); quote != std::string::npos) {
            bytes text = utf16(std::string_view(token).substr(quote + 1, token.size() - quote - 2));
            if (token.front() == 'S') {
                put(text, 0, 2);
                for (const std::size_t field : {text.size() / 2, std::size_t{0}, text.size() / 2})
                    put(data, static_cast<std::uint32_t>(field), 4);
            }
            append(data, text);
        } else {
            for (std::size_t i = 0; i < token.size(); i += 2)
                put(data, std::stoul(token.substr(i, 2), nullptr, 16), 1);
        }
    }
    return result;
}

}  // namespace

std::uint16_t get16(std::span<const std::uint8_t> in, std::size_t at) {
    return static_cast<std::uint16_t>(in[at] | in[at + 1] << 8);
}

std::uint32_t get32(std::span<const std::uint8_t> in, std::size_t at) {
    return get16(in, at) | static_cast<std::uint32_t>(get16(in, at + 2)) << 16;
}

bytes make_pdu(pdu_type type, std::uint8_t flags, std::uint32_t call_id, const bytes& body) {
    bytes pdu = {5, 0, static_cast<std::uint8_t>(type), flags, 0x10, 0, 0, 0};
    put(pdu, static_cast<std::uint32_t>(header_size + body.size()), 2);
    put(pdu, 0, 2);  // no verifier
    put(pdu, call_id, 4);
    append(pdu, body);
    return pdu;
}

bytes bind_ack(pdu_type type, std::uint32_t call_id, std::uint16_t rejection, std::uint8_t auth_level) {
    bytes body;
    put(body, fragment_limit, 2);
    put(body, fragment_limit, 2);
    append(body, parse("f0530000 0100 00 .. 01000000"));  // association group, an empty secondary address, one result
    put(body, rejection ? 2 : 0, 2);
    put(body, rejection, 2);
    append(body, parse(rejection ? "........................................"
                                 : "045d888a eb1c c911 9fe8 08002b104860 02000000"));  // the NDR transfer syntax, version 2
    if (auth_level == 0)
        return make_pdu(type, whole, call_id, body);
    append(body, bytes{10, auth_level, 0, 0, 0, 0, 0, 0});  // NTLM, no padding in front, context 0
    // UTF-16, NTLM, session security, target information (its end mark alone), 128 bits, key exchange, 56 bits.
    const bytes challenge = parse(
        "4e544c4d53535000 02000000 0000 0000 38000000 158289e2 1122334455667788 ................ 0400 0400 38000000"
        "06010000 0000000f 00000000");
    append(body, challenge);
    bytes pdu = make_pdu(type, whole, call_id, body);
    pdu[auth_length_at] = static_cast<std::uint8_t>(challenge.size());
    return pdu;
}

bytes bind_nak(std::uint32_t call_id, std::uint16_t reason) {
    bytes body;
    put(body, reason, 2);
    append(body, parse("01 05 00"));  // one protocol version: 5.0
    return make_pdu(pdu_type::bind_nak, whole, call_id, body);
}

bytes fault(std::uint32_t call_id, std::uint32_t status) {
    bytes body(8);
    put(body, status, 4);
    put(body, 0, 4);
    return make_pdu(pdu_type::fault, whole, call_id, body);
}

bytes response_pdus(std::uint32_t call_id, std::span<const std::uint8_t> stub) {
    constexpr std::size_t room = fragment_limit - header_size - 8;
    bytes all;
    std::uint8_t flags = first_fragment;
    do {
        const auto part = stub.first(std::min(room, stub.size()));
        bytes body;
        put(body, static_cast<std::uint32_t>(stub.size()), 4);
        put(body, 0, 4);  // the context, no cancels
        append(body, part);
        stub = stub.subspan(part.size());
        append(all, make_pdu(pdu_type::response, stub.empty() ? flags | last_fragment : flags, call_id, body));
        flags = 0;
    } while (!stub.empty());
    return all;
}

bytes parse(std::string_view form) { return parse_form(form).data; }

bytes with_our_referents(bytes stub, std::string_view form) {
    const auto [ours, referents] = parse_form(form);
    for (const std::size_t at : referents) {
        if (at + 4 <= stub.size() && get32(stub, at) != 0)
            std::copy_n(ours.begin() + static_cast<std::ptrdiff_t>(at), 4, stub.begin() + static_cast<std::ptrdiff_t>(at));
    }
    return stub;
}

std::string hex(std::span<const std::uint8_t> data) {
    std::string result;
    for (const std::uint8_t byte : data)
        result += {"0123456789abcdef"[byte >> 4], "0123456789abcdef"[byte & 15]};
    return result;
}

}  // namespace wire
