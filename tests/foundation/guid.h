#pragma once

#include <windows.h>

#include <rpc.h>

#include <stdexcept>
#include <string>

// From 00000000-0000-0000-0000-000000000000.
inline GUID guid_of(std::string text) {
    GUID id;
    if (::UuidFromStringA(reinterpret_cast<RPC_CSTR>(text.data()), &id) != RPC_S_OK)
        throw std::invalid_argument(text);
    return id;
}
