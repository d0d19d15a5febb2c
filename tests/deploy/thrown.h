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
