#pragma once

#include <cstdint>
#include <exception>
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

// The code of a system error that it throws, or 0.
template <class Step>
std::uint32_t thrown_code(Step&& step) {
    try {
        step();
    } catch (const exc::win_sys_exc_t& error) {
        return error.code();
    }
    return 0;
}

// The lines joined by line ends.
template <class Step>
std::string thrown_text(Step&& step) {
    std::string text;
    for (const std::string& line : thrown(step))
        text += (text.empty() ? "" : "\n") + line;
    return text;
}
