#pragma once

#include <exception>
#include <string>
#include <vector>

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
