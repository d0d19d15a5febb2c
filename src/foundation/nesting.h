#pragma once

#include <concepts>
#include <exception>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/errors.h"

namespace exc {

// The lines of any standard exception: those of the library's own kinds, else its what() read as code-page text.
std::vector<std::string> lines_of(const std::exception& cause);

// An error whose first line is the given text, with the lines of the cause beneath it.
runtime_exc_t nested(std::string_view message, const std::exception& cause);

// Runs the step; an error that it throws is thrown again beneath the operation's own text. `message` is the text or a
// function that makes it, called only when it is needed:
//
//   exc::wrap_errors([&] { return text::format("Failed to close snapshot '%1'.", id); }, [&] { client_->Call(close); });
//
// Out of memory passes through unwrapped: it has an HRESULT of its own at the boundary.
template <class Message, class Step>
decltype(auto) wrap_errors(const Message& message, Step&& step) {
    try {
        return std::forward<Step>(step)();
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& cause) {
        if constexpr (std::invocable<const Message&>)
            throw nested(message(), cause);
        else
            throw nested(message, cause);
    }
}

}  // namespace exc
