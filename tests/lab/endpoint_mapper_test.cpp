#include "lab/endpoint_mapper.h"

#include <gtest/gtest.h>

#include "lab/byte_stream.h"

namespace {

constexpr GUID known = {0xd1c2c07a, 0xd989, 0x48cc, {0xa4, 0x23, 0xb7, 0x3e, 0xcd, 0x51, 0x8d, 0x40}};
constexpr GUID ndr = {0x8a885d04, 0x1ceb, 0x11c9, {0x9f, 0xe8, 0x08, 0x00, 0x2b, 0x10, 0x48, 0x60}};
constexpr lab::mapped_interface interfaces[] = {{known, 1, 0, 0x1234}};
constexpr std::size_t tower_length = 75, tower_port = 64;

std::vector<std::uint8_t> tower(const GUID& id, std::uint16_t version, std::uint8_t transport) {
    lab::byte_writer out;
    out.put<std::uint16_t>(5);
    for (const auto& [syntax, number] : {std::pair(id, version), std::pair(ndr, std::uint16_t{2})}) {
        out.put<std::uint16_t>(19);
        out.put<std::uint8_t>(0x0d);
        out.put(syntax);
        out.put(number);
        out.put<std::uint32_t>(2);  // the right side: its length and a minor version of 0
    }
    for (const auto& [identifier, size] : {std::pair(0x0b, 2), std::pair(int{transport}, 2), std::pair(0x09, 4)}) {
        out.put<std::uint16_t>(1);
        out.put(static_cast<std::uint8_t>(identifier));
        out.put(static_cast<std::uint16_t>(size));
        out.put_zeros(static_cast<std::size_t>(size));
    }
    return out.bytes();
}

std::vector<std::uint8_t> request(const std::vector<std::uint8_t>& asked, std::uint32_t length) {
    lab::byte_writer out;
    out.put<std::uint32_t>(0);  // no object
    out.put<std::uint32_t>(1);
    out.put(length);
    out.put(length);
    out.put_bytes(asked);
    out.align(4);
    out.put_zeros(20);
    out.put<std::uint32_t>(4);
    return out.bytes();
}

std::vector<std::uint8_t> request_pdu(const std::vector<std::uint8_t>& body) {
    lab::byte_writer out;
    for (const unsigned byte : {5, 0, 0, 3, 0x10, 0, 0, 0})
        out.put(static_cast<std::uint8_t>(byte));
    out.put(static_cast<std::uint16_t>(24 + body.size()));
    out.put<std::uint16_t>(0);
    out.put<std::uint32_t>(7);  // call
    out.put(static_cast<std::uint32_t>(body.size()));
    out.put<std::uint16_t>(0);
    out.put<std::uint16_t>(3);  // ept_map
    out.put_bytes(body);
    return out.bytes();
}

std::uint32_t last_number(const std::vector<std::uint8_t>& bytes) {
    return lab::byte_reader(std::span(bytes).last(4)).take<std::uint32_t>();
}

TEST(EndpointMapper, FillsThePortIntoTheAskedTower) {
    const auto asked = tower(known, 1, 0x07);
    ASSERT_EQ(asked.size(), tower_length);
    const auto reply = lab::answer_ept_map(request(asked, tower_length), interfaces);
    auto expected = asked;
    expected[tower_port] = 0x12;
    expected[tower_port + 1] = 0x34;
    const std::size_t tower_begins = 20 + 4 + 12 + 4 + 8;
    ASSERT_EQ(reply.size(), tower_begins + 76 + 4);
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), reply.begin() + tower_begins));
    EXPECT_EQ(last_number(reply), 0u);
}

TEST(EndpointMapper, KnowsNoTowerForAnythingElse) {
    const std::vector<std::uint8_t> towers[] = {tower(ndr, 1, 0x07), tower(known, 2, 0x07), tower(known, 1, 0x08), {0, 0}};
    for (const auto& asked : towers) {
        const auto reply = lab::answer_ept_map(request(asked, static_cast<std::uint32_t>(asked.size())), interfaces);
        EXPECT_EQ(reply.size(), 20u + 4 + 12 + 4);
        EXPECT_EQ(last_number(reply), 0x16C9A0D6u);
    }
}

TEST(EndpointMapper, FaultsWhereARequestIsCutShortOrLies) {
    const auto asked = tower(known, 1, 0x07);
    const auto whole = request(asked, tower_length);
    constexpr std::uint8_t response = 2, fault = 3;
    EXPECT_EQ(lab::answer_mapper_pdu(request_pdu(whole), interfaces).at(2), response);
    for (std::size_t size = 0; size < whole.size(); ++size)
        EXPECT_EQ(lab::answer_mapper_pdu(request_pdu({whole.begin(), whole.begin() + size}), interfaces).at(2), fault) << size;
    for (const std::uint32_t length : {76u + 4000u, 0xffffffffu, 0x80000000u})
        EXPECT_EQ(lab::answer_mapper_pdu(request_pdu(request(asked, length)), interfaces).at(2), fault) << length;
    for (std::size_t inside = 2; inside < tower_length; ++inside) {  // every length that the tower itself tells, made a lie
        auto lying = asked;
        lying[inside] = 0xff;
        EXPECT_FALSE(lab::answer_mapper_pdu(request_pdu(request(lying, tower_length)), interfaces).empty()) << inside;
    }
}

TEST(EndpointMapper, ClosesOnWhatIsNoPdu) {
    const auto pdu = request_pdu(request(tower(known, 1, 0x07), tower_length));
    for (std::size_t size = 0; size < 24; ++size)
        EXPECT_TRUE(lab::answer_mapper_pdu(std::span(pdu).first(size), interfaces).empty()) << size;
    for (const std::size_t changed : {0, 2, 3, 4, 10}) {  // version, kind, fragments, representation, authentication
        auto wrong = pdu;
        wrong[changed] = wrong[changed] == 0 ? 1 : 0;
        EXPECT_TRUE(lab::answer_mapper_pdu(wrong, interfaces).empty()) << changed;
    }
}

}  // namespace
