#include "com/registry_script.h"

#include "foundation/convert.h"
#include "foundation/errors.h"
#include "foundation/format.h"

namespace com {
namespace {

struct token_t {
    std::wstring text;
    bool quoted = false;  // a quoted word is never a brace or a keyword
};

[[noreturn]] void fail(std::string_view what, std::wstring_view found) {
    throw exc::runtime_exc_t(text::format("Invalid registry script: %1 at '%2'.", what, found));
}

// Words are parted by blanks; a brace that touches a word (as in a GUID) belongs to it. In quotes '' stands for one quote.
class tokens_t {
public:
    tokens_t(std::wstring_view script, const script_arguments& arguments) : rest_(script), arguments_(arguments) { step(); }

    bool at_end() const noexcept { return ended_; }
    bool at(std::wstring_view word) const noexcept { return !ended_ && !current_.quoted && current_.text == word; }

    bool take_if(std::wstring_view word) {
        const bool found = at(word);
        if (found)
            step();
        return found;
    }

    void expect(std::wstring_view word) {
        if (!take_if(word))
            fail(text::format("'%1' expected", word), current_.text);
    }

    std::wstring take_text() {
        if (ended_ || at(L"{") || at(L"}") || at(L"="))
            fail("a name or text expected", current_.text);
        std::wstring text = replaced(current_.text);
        step();
        return text;
    }

private:
    void step() {
        const std::size_t start = rest_.find_first_not_of(L" \t\r\n");
        current_ = {};
        ended_ = start == rest_.npos;
        if (ended_)
            return;
        rest_.remove_prefix(start);
        if (rest_.front() == L'\'') {
            step_quoted();
            return;
        }
        const std::size_t length = std::min(rest_.find_first_of(L" \t\r\n"), rest_.size());
        current_.text = rest_.substr(0, length);
        rest_.remove_prefix(length);
    }

    void step_quoted() {
        current_.quoted = true;
        for (rest_.remove_prefix(1);;) {
            const std::size_t quote = rest_.find(L'\'');
            if (quote == rest_.npos)
                fail("a closing quote expected", rest_);
            current_.text += rest_.substr(0, quote);
            rest_.remove_prefix(quote + 1);
            if (!rest_.starts_with(L'\''))
                return;
            current_.text += L'\'';
            rest_.remove_prefix(1);
        }
    }

    // Replaced behind the cutting into words, so that a quote in the module's path is a quote and nothing else.
    std::wstring replaced(std::wstring_view text) const {
        std::wstring result;
        for (;;) {
            const std::size_t start = text.find(L'%');
            result += text.substr(0, start);
            if (start == text.npos)
                return result;
            const std::size_t end = text.find(L'%', start + 1);
            const auto found = end == text.npos ? arguments_.end() : arguments_.find(text.substr(start + 1, end - start - 1));
            if (found == arguments_.end())
                fail("unknown argument", text.substr(start));
            result += found->second;
            text.remove_prefix(end + 1);
        }
    }

    std::wstring_view rest_;
    const script_arguments& arguments_;
    token_t current_;
    bool ended_ = false;
};

registry_data parse_data(tokens_t& tokens) {
    if (tokens.take_if(L"s"))
        return tokens.take_text();
    tokens.expect(L"d");
    const std::wstring number = tokens.take_text();
    if (number.empty() || number.size() > 9 || number.find_first_not_of(L"0123456789") != number.npos)
        fail("a decimal number expected", number);
    return static_cast<DWORD>(std::stoul(number));
}

registry_key parse_key(tokens_t& tokens) {
    registry_key key;
    key.no_remove = tokens.take_if(L"NoRemove");
    key.force_remove = !key.no_remove && tokens.take_if(L"ForceRemove");
    key.name = tokens.take_text();
    if (tokens.take_if(L"="))
        key.default_value = parse_data(tokens);
    if (tokens.take_if(L"{")) {
        while (!tokens.take_if(L"}")) {
            if (!tokens.take_if(L"val")) {
                key.keys.push_back(parse_key(tokens));
                continue;
            }
            std::wstring name = tokens.take_text();
            tokens.expect(L"=");
            key.values.push_back({std::move(name), parse_data(tokens)});
        }
    }
    return key;
}

HKEY parse_root(tokens_t& tokens) {
    const std::wstring name = tokens.take_text();
    if (name == L"HKCR")
        return HKEY_CLASSES_ROOT;
    if (name == L"HKCU")
        return HKEY_CURRENT_USER;
    if (name == L"HKLM")
        return HKEY_LOCAL_MACHINE;
    fail("a root key expected", name);
}

}  // namespace

std::vector<registry_root> parse_registry_script(std::string_view utf8, const script_arguments& arguments) {
    const std::wstring script = text::widen(utf8);
    tokens_t tokens(script, arguments);
    std::vector<registry_root> roots;
    while (!tokens.at_end()) {
        registry_root root{parse_root(tokens), {}};
        tokens.expect(L"{");
        while (!tokens.take_if(L"}"))
            root.keys.push_back(parse_key(tokens));
        roots.push_back(std::move(root));
    }
    return roots;
}

}  // namespace com
