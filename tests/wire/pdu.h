#pragma once

#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// Connection-oriented DCE/RPC PDUs as [C706] chapter 12 lays them out, by hand: this side shares nothing with the library.
namespace wire {

using bytes = std::vector<std::uint8_t>;

enum class pdu_type : std::uint8_t {
    request = 0,
    response = 2,
    fault = 3,
    bind = 11,
    bind_ack = 12,
    bind_nak = 13,
    alter_context = 14,
    alter_context_response = 15,
    auth3 = 16,
};

constexpr std::uint8_t first_fragment = 0x01;
constexpr std::uint8_t last_fragment = 0x02;

inline void put16(bytes& out, std::uint16_t value) {
    out.push_back(static_cast<std::uint8_t>(value));
    out.push_back(static_cast<std::uint8_t>(value >> 8));
}

inline void put32(bytes& out, std::uint32_t value) {
    put16(out, static_cast<std::uint16_t>(value));
    put16(out, static_cast<std::uint16_t>(value >> 16));
}

inline std::uint16_t get16(std::span<const std::uint8_t> in, std::size_t at) {
    return static_cast<std::uint16_t>(in[at] | in[at + 1] << 8);
}

inline std::uint32_t get32(std::span<const std::uint8_t> in, std::size_t at) {
    return get16(in, at) | static_cast<std::uint32_t>(get16(in, at + 2)) << 16;
}

constexpr std::size_t header_size = 16;

// What the 16 bytes in front of every PDU say.
struct header_t {
    pdu_type type;
    std::uint8_t flags;
    std::uint16_t fragment_length;
    std::uint16_t auth_length;
    std::uint32_t call_id;
};

header_t read_header(std::span<const std::uint8_t> pdu);

// A whole PDU: header, body and, where `auth` is given, the verifier behind padding to 4 (NTLM, context 0).
struct auth_t {
    std::uint8_t level;
    bytes value;
};
bytes make_pdu(pdu_type type, std::uint8_t flags, std::uint32_t call_id, const bytes& body, const auth_t* auth = nullptr);

bytes bind_ack_body(std::uint16_t result, std::uint16_t reason);
bytes bind_nak_body(std::uint16_t reason);
bytes fault_body(std::uint32_t status);

// The answer to one request, in fragments that a client of the usual 5840 bytes takes.
bytes response_pdus(std::uint32_t call_id, std::span<const std::uint8_t> stub);

// An NTLM challenge; this peer looks at no password.
bytes ntlm_challenge();

// Wire bytes from a readable form. Tokens are separated by blanks:
//   0a1b          these bytes
//   'text'        its UTF-16 units, little-endian, no terminator; the source text is UTF-8 and holds no blank
//   S'text'       a conformant string: maximum count, offset 0, actual count, units, terminator (no padding)
//   ..  ....      so many bytes of padding (a pair of points is one byte), sent as zero
//   PTR           a referent of a unique pointer: any value but 0 (matched by `matches`; sent as 0x00020000)
bytes parse(std::string_view form);

// Whether the bytes are exactly what the form says; tells the first difference.
bool matches(std::span<const std::uint8_t> actual, std::string_view form, std::string& difference);

std::string hex(std::span<const std::uint8_t> data);

}  // namespace wire
