#include "options.h"

#include <windows.h>

#include <cstdio>
#include <stdexcept>

#include "foundation/convert.h"

options_t read_options(int count, wchar_t** values) {
    options_t options;
    int i = 1;
    const auto value = [&](std::wstring_view name) -> std::wstring {
        if (++i >= count)
            throw std::invalid_argument(text::narrow(name) + " needs a value.");
        return values[i];
    };
    for (; i < count && values[i][0] == L'-'; ++i) {
        const std::wstring_view name = values[i];
        if (name == L"--host")
            options.host = value(name);
        else if (name == L"--port")
            options.port = std::stoi(value(name));
        else if (name == L"--account")
            options.account = value(name);
        else if (name == L"--secure")
            options.secure = true;
        else if (name == L"--help")
            return {};
        else
            throw std::invalid_argument("There is no option " + text::narrow(name) + "; see --help.");
    }
    if (i < count)
        options.command = values[i++];
    for (; i < count; ++i)
        options.arguments.emplace_back(values[i]);
    return options;
}

namespace {

// The console without echo, as long as this lives.
class silent_input {
public:
    silent_input() : known_(::GetConsoleMode(input_, &mode_) != FALSE) {
        if (known_)
            ::SetConsoleMode(input_, mode_ & ~static_cast<DWORD>(ENABLE_ECHO_INPUT));
    }
    ~silent_input() {
        if (known_)
            ::SetConsoleMode(input_, mode_);
    }

private:
    const HANDLE input_ = ::GetStdHandle(STD_INPUT_HANDLE);
    DWORD mode_ = 0;
    bool known_;
};

}  // namespace

win::secret_t read_password(const std::wstring& account) {
    std::wstring text(512, L'\0');
    const DWORD length = ::GetEnvironmentVariableW(L"KORVA_PASSWORD", text.data(), static_cast<DWORD>(text.size()));
    if (length > 0 && length < text.size()) {
        text.resize(length);
        return win::secret_t(std::move(text));
    }
    std::printf("Password of %s: ", text::narrow(account).c_str());
    std::fflush(stdout);
    const silent_input silent;
    if (!std::fgetws(text.data(), static_cast<int>(text.size()), stdin))
        text.clear();
    std::puts("");
    text.resize(std::wcscspn(text.c_str(), L"\r\n"));
    return win::secret_t(std::move(text));
}
