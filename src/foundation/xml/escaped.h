#pragma once

#include <string>
#include <string_view>

namespace xml {

// The text as it stands in an attribute or an element, so that a reader gets it back: line ends and tabs as references. Other
// control characters, which no document can hold, become U+FFFD.
template <class Char>
std::basic_string<Char> escaped(std::basic_string_view<Char> text) {
    std::basic_string<Char> out;
    const auto add = [&](std::string_view reference) { out.append(reference.begin(), reference.end()); };
    for (const Char c : text) {
        if (c == '&')
            add("&amp;");
        else if (c == '<')
            add("&lt;");
        else if (c == '>')
            add("&gt;");
        else if (c == '"')
            add("&quot;");
        else if (c == '\t')
            add("&#9;");
        else if (c == '\n')
            add("&#10;");
        else if (c == '\r')
            add("&#13;");
        else if (c >= 0 && c < ' ')
            add("&#xFFFD;");
        else
            out += c;
    }
    return out;
}

}  // namespace xml
