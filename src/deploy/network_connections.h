#pragma once

#include <windows.h>
#include <winnetwk.h>

#include <functional>
#include <string>

namespace win {

struct network_functions_t {
    std::function<decltype(::WNetAddConnection2W)> add = ::WNetAddConnection2W;
    std::function<decltype(::WNetCancelConnectionW)> cancel = ::WNetCancelConnectionW;
    std::function<decltype(::WNetOpenEnumA)> open_enumeration = ::WNetOpenEnumA;
    std::function<decltype(::WNetEnumResourceW)> next_resource = ::WNetEnumResourceW;
    std::function<decltype(::WNetCloseEnum)> close_enumeration = ::WNetCloseEnum;
};

// Cancels, with force, every connection of this logon session to the host, whether made under its full or its short name. One
// that is gone by then counts as cancelled.
void drop_connections(const std::wstring& host, const network_functions_t& functions = {});

}  // namespace win
