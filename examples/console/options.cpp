#include "options.h"

#include "foundation/convert.h"
#include "foundation/numbers.h"

std::uint32_t read_number(const std::string& what, const std::wstring& text, std::uint32_t least, std::uint32_t most) {
    try {
        return text::read_number(what, text, least, most);
    } catch (const exc::runtime_exc_t& error) {
        throw usage_error(error.what());
    }
}

options_t read_options(int count, wchar_t** values) {
    options_t options;
    bool options_end = false;
    for (int i = 1; i < count; ++i) {
        const std::wstring text = values[i];
        const std::string name = text::narrow(text);
        const auto value = [&]() -> std::wstring {
            if (++i >= count)
                throw usage_error(name + " needs a value.");
            return values[i];
        };
        if (options_end || !text.starts_with(L'-'))
            options.command.empty() ? void(options.command = text) : options.arguments.push_back(text);
        else if (name == "--host")
            options.host = value();
        else if (name == "--port")
            options.port = static_cast<int>(read_number(name, value(), 0, 65535));
        else if (name == "--account")
            options.account = value();
        else if (name == "--secure")
            options.secure = true;
        else if (name == "--wait")
            options.wait_seconds = read_number(name, value(), 0, 7 * 24 * 3600);
        else if (name == "--xml")
            options.xml = true;
        else if (name == "--help")
            options.help = true;
        else if (name == "--")
            options_end = true;
        else
            throw usage_error("There is no option " + name + "; see --help.");
    }
    return options;
}
