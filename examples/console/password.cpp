#include "password.h"

#include <windows.h>

#include <array>
#include <cstdio>
#include <optional>

#include "foundation/convert.h"
#include "foundation/errors.h"
#include "steps.h"

namespace {

constexpr DWORD longest = 512;

// Cleared when it goes.
template <class Char>
struct buffer_t : std::array<Char, longest> {
    ~buffer_t() { ::SecureZeroMemory(this->data(), sizeof(Char) * longest); }
};

std::optional<win::secret_t> from_environment() {
    buffer_t<wchar_t> text{};
    ::SetLastError(NO_ERROR);
    const DWORD length = ::GetEnvironmentVariableW(L"KORVA_PASSWORD", text.data(), longest);
    if (::GetLastError() == ERROR_ENVVAR_NOT_FOUND)
        return std::nullopt;
    if (length >= longest)
        throw exc::runtime_exc_t("The password in KORVA_PASSWORD is too long.");
    return win::secret_t(std::wstring_view(text.data(), length));
}

// A console's input without echo, as long as this lives.
class silent_input {
public:
    explicit silent_input(HANDLE input) : input_(input), console_(::GetConsoleMode(input, &mode_) != FALSE) {
        if (console_)
            ::SetConsoleMode(input_, mode_ & ~static_cast<DWORD>(ENABLE_ECHO_INPUT));
    }
    silent_input(const silent_input&) = delete;
    ~silent_input() {
        if (console_)
            ::SetConsoleMode(input_, mode_);
    }
    bool is_console() const { return console_; }

private:
    const HANDLE input_;
    DWORD mode_ = 0;
    const bool console_;
};

// The next character; false at the input's end.
template <class Char>
bool read_character(HANDLE input, Char& c) {
    DWORD got = 0;
    if constexpr (sizeof(Char) == 1)
        return ::ReadFile(input, &c, 1, &got, nullptr) && got == 1;
    else
        return ::ReadConsoleW(input, &c, 1, &got, nullptr) && got == 1;
}

template <class Char>
std::basic_string<Char> read_line(HANDLE input) {
    buffer_t<Char> line{};
    std::size_t length = 0;
    while (read_character(input, line[length]) && line[length] != '\n')
        if (++length == longest)
            throw exc::runtime_exc_t("The password is too long.");
    if (line[length] != '\n' && length == 0) {
        pause_for(500);  // Ctrl-C ends the read a little before it is told
        throw exc::runtime_exc_t("There is no password: set KORVA_PASSWORD, or answer when it is asked for.");
    }
    if (length > 0 && line[length - 1] == '\r')
        --length;
    return {line.data(), length};
}

}  // namespace

win::secret_t read_password(const std::wstring& account) {
    if (auto known = from_environment())
        return *known;
    const HANDLE input = ::GetStdHandle(STD_INPUT_HANDLE);
    const silent_input silent(input);
    std::fprintf(stderr, "Password of %s: ", text::narrow(account).c_str());
    std::fflush(stderr);
    // A console gives UTF-16; a file or a pipe is taken for UTF-8.
    win::secret_t password;
    if (silent.is_console()) {
        password = win::secret_t(read_line<wchar_t>(input));
    } else {
        const win::code_page_secret_t line(read_line<char>(input));
        password = win::secret_t(text::widen(line.text()));
    }
    std::fputs("\n", stderr);
    return password;
}
