#pragma once

#include <windows.h>

#include <cstdint>
#include <span>
#include <vector>

// The one procedure of the endpoint mapper that a client needs: where does this host serve that interface? Encoded by hand (DCE
// 1.1 RPC, appendices I and L of its publication C706), with no runtime, so that it is an independent witness of the client's.
namespace lab {

struct mapped_interface {
    GUID id;
    std::uint16_t major_version;
    std::uint16_t minor_version;
    std::uint16_t port;
};

// Takes the body of an ept_map request and makes the body of its reply: the asked tower with the port filled in, or no tower
// and status 0x16C9A0D6 (not registered). Throws exc::runtime_exc_t where the body is not one.
std::vector<std::uint8_t> answer_ept_map(std::span<const std::uint8_t> request, std::span<const mapped_interface> interfaces);

}  // namespace lab
