#pragma once

#include <cstdint>
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
};

constexpr std::uint8_t first_fragment = 0x01, last_fragment = 0x02, whole = first_fragment | last_fragment;

std::uint16_t get16(std::span<const std::uint8_t> in, std::size_t at);
std::uint32_t get32(std::span<const std::uint8_t> in, std::size_t at);

// Where the 16 bytes in front of every PDU hold what.
enum header : std::size_t { type_at = 2, flags_at = 3, length_at = 8, auth_length_at = 10, call_id_at = 12, header_size = 16 };

// A whole PDU: header and body.
bytes make_pdu(pdu_type type, std::uint8_t flags, std::uint32_t call_id, const bytes& body);

// The answer to a bind or an alter_context: its one context is accepted or, with a reason, rejected. At the authentication
// level that the client asked for, if it is not 0, it brings an NTLM challenge; this peer looks at no password.
bytes bind_ack(pdu_type type, std::uint32_t call_id, std::uint16_t rejection, std::uint8_t auth_level);

bytes bind_nak(std::uint32_t call_id, std::uint16_t reason);
bytes fault(std::uint32_t call_id, std::uint32_t status);

// The answer to one request, in fragments that a client of the usual 5840 bytes takes.
bytes response_pdus(std::uint32_t call_id, std::span<const std::uint8_t> stub);

// Wire bytes from a readable form. Tokens are separated by blanks:
//   0a1b          these bytes
//   'text'        its UTF-16 units, little-endian, no terminator; the source text is UTF-8 and holds no blank
//   S'text'       a conformant string: maximum count, offset 0, actual count, units, terminator (no padding)
//   ..  ....      so many bytes of padding (a pair of points is one byte), sent as zero
//   PTR           a referent of a unique pointer: any value but 0, sent as 0x00020000
bytes parse(std::string_view form);

// The bytes with the value that this side would have chosen for each referent: what a client sent can be compared with the form
// of what it had to send.
bytes with_our_referents(bytes stub, std::string_view form);

std::string hex(std::span<const std::uint8_t> data);

}  // namespace wire
