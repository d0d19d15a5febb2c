#include "foundation/format.h"

#include <charconv>

namespace text {

std::string format_list(std::string_view message, std::span<const arg_t> args) {
    std::size_t length = message.size();
    for (const arg_t& arg : args)
        length += arg.view().size();

    std::string result;
    result.reserve(length);
    while (!message.empty()) {
        const std::size_t percent = message.find('%');
        result.append(message.substr(0, percent));
        if (percent == std::string_view::npos)
            break;
        message.remove_prefix(percent);

        std::size_t number = 0;
        const char* const end = message.data() + message.size();
        const auto [rest, error] = std::from_chars(message.data() + 1, end, number);
        const auto width = static_cast<std::size_t>(rest - message.data());
        if (error == std::errc() && number >= 1 && number <= args.size())
            result.append(args[number - 1].view());
        else
            result.append(message.substr(0, width));
        message.remove_prefix(width);
    }
    return result;
}

}  // namespace text
