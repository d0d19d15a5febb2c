#pragma once

#include <exception>
#include <optional>
#include <string>
#include <vector>

#include "foundation/errors.h"
#include "foundation/nesting.h"

// What a step throws: its lines, or "nothing".
template <class Step>
std::vector<std::string> thrown(Step&& step) {
    try {
        step();
    } catch (const std::exception& error) {
        return exc::lines_of(error);
    }
    return {"nothing"};
}

// The same, joined by line ends.
template <class Step>
std::string thrown_text(Step&& step) {
    std::string text;
    for (const std::string& line : thrown(step))
        text += (text.empty() ? "" : "\n") + line;
    return text;
}

// The code of the win_sys_exc_t that a step throws; none for another error.
template <class Step>
std::optional<DWORD> thrown_code(Step&& step) {
    try {
        step();
    } catch (const exc::win_sys_exc_t& error) {
        return error.code();
    } catch (const std::exception&) {
    }
    return std::nullopt;
}
