#include "tests/wire/pdu.h"

#include <algorithm>
#include <stdexcept>

namespace wire {
namespace {

constexpr std::uint16_t fragment_limit = 5840;
constexpr std::uint8_t ntlm = 10;

// 8a885d04-1ceb-11c9-9fe8-08002b104860, version 2: the NDR transfer syntax.
constexpr std::uint8_t ndr_syntax[] = {0x04, 0x5d, 0x88, 0x8a, 0xeb, 0x1c, 0xc9, 0x11, 0x9f, 0xe8,
                                       0x08, 0x00, 0x2b, 0x10, 0x48, 0x60, 0x02, 0x00, 0x00, 0x00};

std::vector<std::uint16_t> utf16(std::string_view utf8) {
    std::vector<std::uint16_t> units;
    for (std::size_t i = 0; i < utf8.size();) {
        const auto lead = static_cast<std::uint8_t>(utf8[i]);
        const int extra = lead < 0x80 ? 0 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
        std::uint32_t point = extra == 0 ? lead : lead & (0x3Fu >> extra);
        for (int k = 1; k <= extra; ++k)
            point = point << 6 | (static_cast<std::uint8_t>(utf8[i + static_cast<std::size_t>(k)]) & 0x3Fu);
        i += static_cast<std::size_t>(extra) + 1;
        if (point >= 0x10000) {
            units.push_back(static_cast<std::uint16_t>(0xD800 + ((point - 0x10000) >> 10)));
            units.push_back(static_cast<std::uint16_t>(0xDC00 + ((point - 0x10000) & 0x3FF)));
        } else {
            units.push_back(static_cast<std::uint16_t>(point));
        }
    }
    return units;
}

// One wire byte of a form; `referent` marks the four bytes of a pointer's referent.
struct expected_t {
    std::uint8_t value;
    bool referent;
};

std::vector<expected_t> expand(std::string_view form) {
    std::vector<expected_t> result;
    const auto add = [&](const bytes& data) {
        for (const std::uint8_t value : data)
            result.push_back({value, false});
    };
    while (!form.empty()) {
        if (form.front() == ' ' || form.front() == '\n') {
            form.remove_prefix(1);
            continue;
        }
        const std::string_view token = form.substr(0, form.find_first_of(" \n"));
        form.remove_prefix(token.size());
        const std::size_t quote = token.find('\'');
        if (token == "PTR") {
            for (const std::uint8_t value : {0, 0, 2, 0})
                result.push_back({value, true});
        } else if (token.front() == '.') {
            add(bytes(token.size() / 2));
        } else if (quote != std::string_view::npos) {
            const auto units = utf16(token.substr(quote + 1, token.size() - quote - 2));
            bytes data;
            if (token.front() == 'S') {
                const auto count = static_cast<std::uint32_t>(units.size() + 1);
                put32(data, count);
                put32(data, 0);
                put32(data, count);
            }
            for (const std::uint16_t unit : units)
                put16(data, unit);
            if (token.front() == 'S')
                put16(data, 0);
            add(data);
        } else {
            for (std::size_t i = 0; i < token.size(); i += 2)
                add(bytes(1, static_cast<std::uint8_t>(std::stoul(std::string(token.substr(i, 2)), nullptr, 16))));
        }
    }
    return result;
}

}  // namespace

header_t read_header(std::span<const std::uint8_t> pdu) {
    if (pdu.size() < header_size || pdu[0] != 5)
        throw std::runtime_error("not a DCE/RPC PDU");
    return {static_cast<pdu_type>(pdu[2]), pdu[3], get16(pdu, 8), get16(pdu, 10), get32(pdu, 12)};
}

bytes make_pdu(pdu_type type, std::uint8_t flags, std::uint32_t call_id, const bytes& body, const auth_t* auth) {
    const std::size_t padding = auth ? (4 - (header_size + body.size()) % 4) % 4 : 0;
    const std::size_t trailer = auth ? padding + 8 + auth->value.size() : 0;
    bytes pdu = {5, 0, static_cast<std::uint8_t>(type), flags, 0x10, 0, 0, 0};
    put16(pdu, static_cast<std::uint16_t>(header_size + body.size() + trailer));
    put16(pdu, static_cast<std::uint16_t>(auth ? auth->value.size() : 0));
    put32(pdu, call_id);
    pdu.insert(pdu.end(), body.begin(), body.end());
    if (auth) {
        pdu.resize(pdu.size() + padding);
        pdu.insert(pdu.end(), {ntlm, auth->level, static_cast<std::uint8_t>(padding), 0, 0, 0, 0, 0});
        pdu.insert(pdu.end(), auth->value.begin(), auth->value.end());
    }
    return pdu;
}

bytes bind_ack_body(std::uint16_t result, std::uint16_t reason) {
    bytes body;
    put16(body, fragment_limit);
    put16(body, fragment_limit);
    put32(body, 0x53f0);  // association group
    put16(body, 1);       // an empty secondary address: its terminator, then padding to 4
    put16(body, 0);
    put32(body, 1);  // one result
    put16(body, result);
    put16(body, reason);
    if (result == 0)
        body.insert(body.end(), std::begin(ndr_syntax), std::end(ndr_syntax));
    else
        body.resize(body.size() + sizeof ndr_syntax);
    return body;
}

bytes bind_nak_body(std::uint16_t reason) {
    bytes body;
    put16(body, reason);
    for (const std::uint8_t value : {1, 5, 0})  // one protocol version: 5.0
        body.push_back(value);
    return body;
}

bytes fault_body(std::uint32_t status) {
    bytes body;
    put32(body, 0);
    put32(body, 0);
    put32(body, status);
    put32(body, 0);
    return body;
}

bytes response_pdus(std::uint32_t call_id, std::span<const std::uint8_t> stub) {
    constexpr std::size_t room = fragment_limit - header_size - 8;
    bytes all;
    for (std::size_t at = 0; at == 0 || at < stub.size(); at += room) {
        const std::size_t length = std::min(room, stub.size() - at);
        bytes body;
        put32(body, static_cast<std::uint32_t>(stub.size() - at));
        put32(body, 0);
        body.insert(body.end(), stub.begin() + static_cast<std::ptrdiff_t>(at),
                    stub.begin() + static_cast<std::ptrdiff_t>(at + length));
        const std::uint8_t flags =
            static_cast<std::uint8_t>((at == 0 ? first_fragment : 0) | (at + length >= stub.size() ? last_fragment : 0));
        const bytes pdu = make_pdu(pdu_type::response, flags, call_id, body);
        all.insert(all.end(), pdu.begin(), pdu.end());
    }
    return all;
}

bytes ntlm_challenge() {
    bytes message = {'N', 'T', 'L', 'M', 'S', 'S', 'P', 0};
    put32(message, 2);
    put16(message, 0);  // no target name
    put16(message, 0);
    put32(message, 56);
    put32(message, 0xE2898215);  // UTF-16, NTLM, session security, target information, 128 bits, key exchange, 56 bits
    for (std::uint8_t i = 1; i <= 8; ++i)
        message.push_back(static_cast<std::uint8_t>(i * 0x11));
    message.resize(message.size() + 8);
    put16(message, 4);  // target information: its end mark alone
    put16(message, 4);
    put32(message, 56);
    message.insert(message.end(), {6, 1, 0, 0, 0, 0, 0, 15});
    put32(message, 0);
    return message;
}

bytes parse(std::string_view form) {
    bytes result;
    for (const expected_t& byte : expand(form))
        result.push_back(byte.value);
    return result;
}

bool matches(std::span<const std::uint8_t> actual, std::string_view form, std::string& difference) {
    const auto expected = expand(form);
    for (std::size_t i = 0; i < std::max(expected.size(), actual.size()); ++i) {
        bool same = i < expected.size() && i < actual.size();
        if (same && expected[i].referent) {
            same = i + 4 <= actual.size() && get32(actual, i) != 0;
            i += 3;
        } else if (same) {
            same = expected[i].value == actual[i];
        }
        if (!same) {
            difference = "at byte " + std::to_string(i) + " of " + std::to_string(actual.size()) + "; expected " +
                         hex(parse(form)) + "\n actual   " + hex(actual);
            return false;
        }
    }
    return true;
}

std::string hex(std::span<const std::uint8_t> data) {
    std::string result;
    for (std::size_t i = 0; i < data.size(); ++i) {
        if (i % 4 == 0 && i > 0)
            result += ' ';
        result += "0123456789abcdef"[data[i] >> 4];
        result += "0123456789abcdef"[data[i] & 15];
    }
    return result;
}

}  // namespace wire
