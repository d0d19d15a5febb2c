#include "lab/endpoint_mapper.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include "lab/byte_stream.h"

namespace {

constexpr lab::mapped_interface interfaces[] = {
    {{0xd1c2c07a, 0xd989, 0x48cc, {0xa4, 0x23, 0xb7, 0x3e, 0xcd, 0x51, 0x8d, 0x40}}, 1, 0, 0x1234}};

// Five floors: this interface in version 1, the transfer syntax, connection-oriented calls, TCP, IP; no port yet.
using tower_t = std::array<std::uint8_t, 75>;
constexpr tower_t tower = {0x05, 0x00, 0x13, 0x00, 0x0d, 0x7a, 0xc0, 0xc2, 0xd1, 0x89, 0xd9, 0xcc, 0x48, 0xa4, 0x23,
                           0xb7, 0x3e, 0xcd, 0x51, 0x8d, 0x40, 0x01, 0x00, 0x02, 0x00, 0x00, 0x00, 0x13, 0x00, 0x0d,
                           0x04, 0x5d, 0x88, 0x8a, 0xeb, 0x1c, 0xc9, 0x11, 0x9f, 0xe8, 0x08, 0x00, 0x2b, 0x10, 0x48,
                           0x60, 0x02, 0x00, 0x02, 0x00, 0x00, 0x00, 0x01, 0x00, 0x0b, 0x02, 0x00, 0x00, 0x00, 0x01,
                           0x00, 0x07, 0x02, 0x00, 0x00, 0x00, 0x01, 0x00, 0x09, 0x04, 0x00, 0x00, 0x00, 0x00, 0x00};
constexpr std::size_t floors_at = 0, interface_at = 5, version_at = 21, transport_at = 61, port_at = 64;

std::vector<std::uint8_t> request(const tower_t& asked, std::uint32_t length = 75) {
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
    std::vector<std::uint8_t> pdu = {5, 0, 0, 3, 0x10, 0, 0, 0, 0, 0, 0, 0, 7, 0, 0, 0, 0, 0, 0, 0, 0, 0, 3, 0};
    pdu.insert(pdu.end(), body.begin(), body.end());
    pdu[8] = static_cast<std::uint8_t>(pdu.size());
    return pdu;
}

std::uint32_t last_number(const std::vector<std::uint8_t>& bytes) {
    return lab::byte_reader(std::span(bytes).last(4)).take<std::uint32_t>();
}

TEST(EndpointMapper, FillsThePortIntoTheAskedTower) {
    const auto reply = lab::answer_ept_map(request(tower), interfaces);
    auto expected = tower;
    expected[port_at] = 0x12;
    expected[port_at + 1] = 0x34;
    const std::size_t tower_begins = 20 + 4 + 12 + 4 + 8;
    ASSERT_EQ(reply.size(), tower_begins + 76 + 4);
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), reply.begin() + tower_begins));
    EXPECT_EQ(last_number(reply), 0u);
}

TEST(EndpointMapper, KnowsNoTowerForAnythingElse) {
    for (const std::size_t changed : {floors_at, interface_at, version_at, transport_at}) {
        auto asked = tower;
        asked[changed] ^= 5;
        const auto reply = lab::answer_ept_map(request(asked), interfaces);
        EXPECT_EQ(reply.size(), 20u + 4 + 12 + 4);
        EXPECT_EQ(last_number(reply), 0x16C9A0D6u);
    }
}

TEST(EndpointMapper, FaultsWhereARequestIsCutShortOrLies) {
    const auto whole = request(tower);
    constexpr std::uint8_t response = 2, fault = 3;
    EXPECT_EQ(lab::answer_mapper_pdu(request_pdu(whole), interfaces).at(2), response);
    for (std::size_t size = 0; size < whole.size(); ++size)
        EXPECT_EQ(lab::answer_mapper_pdu(request_pdu({whole.begin(), whole.begin() + size}), interfaces).at(2), fault) << size;
    for (const std::uint32_t length : {76u + 4000u, 0xffffffffu, 0x80000000u})
        EXPECT_EQ(lab::answer_mapper_pdu(request_pdu(request(tower, length)), interfaces).at(2), fault) << length;
    for (std::size_t inside = 2; inside < tower.size(); ++inside) {  // every length that the tower itself tells, made a lie
        auto lying = tower;
        lying[inside] = 0xff;
        EXPECT_FALSE(lab::answer_mapper_pdu(request_pdu(request(lying)), interfaces).empty()) << inside;
    }
}

TEST(EndpointMapper, ClosesOnWhatIsNoPdu) {
    const auto pdu = request_pdu(request(tower));
    for (std::size_t size = 0; size < 24; ++size)
        EXPECT_TRUE(lab::answer_mapper_pdu(std::span(pdu).first(size), interfaces).empty()) << size;
    for (const std::size_t changed : {0, 2, 3, 4, 10}) {  // version, kind, fragments, representation, authentication
        auto wrong = pdu;
        wrong[changed] = wrong[changed] == 0 ? 1 : 0;
        EXPECT_TRUE(lab::answer_mapper_pdu(wrong, interfaces).empty()) << changed;
    }
}

}  // namespace
