#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "foundation/errors.h"

// A command line that asks for nothing that the console can do.
struct usage_error : exc::runtime_exc_t {
    using exc::runtime_exc_t::runtime_exc_t;
};

// What the command line asks for.
struct options_t {
    std::wstring host = L"localhost";
    int port = 2600;
    std::wstring account;  // empty: the caller's own logon
    bool secure = false;
    unsigned wait_seconds = 3600;  // for the host's work
    bool xml = false;
    bool help = false;
    std::wstring command;
    std::vector<std::wstring> arguments;  // of the command

    // Empty where the command line ends before.
    std::wstring argument(std::size_t index) const { return index < arguments.size() ? arguments[index] : std::wstring(); }
};

// A number of the command line (foundation/numbers.h). Throws usage_error.
std::uint32_t read_number(const std::string& what, const std::wstring& text, std::uint32_t least, std::uint32_t most);

// Options stand anywhere up to "--". Throws usage_error.
options_t read_options(int count, wchar_t** values);
