#pragma once

#include <windows.h>

#include <concepts>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

#include "foundation/convert.h"

namespace text {

// One argument of a message: a view of the caller's narrow text, or text of its own made from another type.
class arg_t {
public:
    arg_t(std::string_view value) noexcept : view_(value) {}
    arg_t(const std::string& value) noexcept : view_(value) {}
    arg_t(const char* value) noexcept : view_(value ? std::string_view(value) : std::string_view()) {}
    arg_t(std::wstring_view value) : owned_(narrow(value)), view_(owned_) {}
    arg_t(const std::wstring& value) : arg_t(std::wstring_view(value)) {}
    arg_t(const wchar_t* value) : arg_t(value ? std::wstring_view(value) : std::wstring_view()) {}
    arg_t(const GUID& value) : owned_(guid_text(value)), view_(owned_) {}
    arg_t(bool value) noexcept : view_(value ? "true" : "false") {}
    template <std::integral Integer>
    requires(!std::same_as<Integer, bool> && !std::same_as<Integer, char> && !std::same_as<Integer, wchar_t>)
        arg_t(Integer value)
        : owned_(std::to_string(value)), view_(owned_) {}
    arg_t(const arg_t&) = delete;
    arg_t& operator=(const arg_t&) = delete;

    std::string_view view() const noexcept { return view_; }

private:
    std::string owned_;
    std::string_view view_;
};

// Replaces each "%k" of the template by the k-th argument (from 1), in one pass from left to right: what an argument brings
// in is never looked at again. "%12" is the twelfth argument; a number without an argument stays as written.
std::string format_list(std::string_view message, std::span<const arg_t> args);

template <class... Args>
std::string format(std::string_view message, const Args&... args) {
    if constexpr (sizeof...(args) == 0) {
        return std::string(message);
    } else {
        const arg_t list[] = {arg_t(args)...};
        return format_list(message, list);
    }
}

}  // namespace text
