#pragma once

#include <windows.h>

#include <string>
#include <string_view>
#include <utility>

namespace win {

// A password, cleared from memory when it is replaced or goes. It has no conversion of its own: text() is the one way to it.
template <class Char>
class basic_secret_t {
public:
    basic_secret_t() = default;
    explicit basic_secret_t(std::basic_string_view<Char> text) : text_(text) {}
    // Takes the text over and clears the string that it came in.
    explicit basic_secret_t(std::basic_string<Char>&& text) noexcept : text_(std::move(text)) { clear(text); }
    basic_secret_t(const basic_secret_t&) = default;
    basic_secret_t& operator=(const basic_secret_t& other) {
        std::basic_string<Char> copy(other.text_);
        clear(text_);
        text_ = std::move(copy);
        clear(copy);
        return *this;
    }
    ~basic_secret_t() { clear(text_); }

    const std::basic_string<Char>& text() const noexcept { return text_; }

private:
    // All that the string has room for: one that was moved from holds no text any more, but a short text's characters.
    static void clear(std::basic_string<Char>& text) noexcept {
        text.resize(text.capacity());
        ::SecureZeroMemory(text.data(), text.size() * sizeof(Char));
        text.clear();
    }

    std::basic_string<Char> text_;
};

using secret_t = basic_secret_t<wchar_t>;
using code_page_secret_t = basic_secret_t<char>;

}  // namespace win
