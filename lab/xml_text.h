#pragma once

#include <windows.h>

#include <string>
#include <string_view>

// Small things for the XML that the lab reads and writes.
namespace lab {

// COM on a thread of the RPC runtime, for the XML functions.
class com_apartment {
public:
    com_apartment();
    com_apartment(const com_apartment&) = delete;
    com_apartment& operator=(const com_apartment&) = delete;
    ~com_apartment();

private:
    const bool entered_;
};

// NAME="value", with a blank in front.
std::wstring attribute_text(std::wstring_view name, std::wstring_view value);
std::wstring attribute_text(std::wstring_view name, const GUID& value);

}  // namespace lab
