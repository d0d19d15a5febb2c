#pragma once

#include <initializer_list>
#include <span>
#include <string_view>
#include <type_traits>
#include <utility>

#include "foundation/format.h"
#include "foundation/nesting.h"
#include "logging/write.h"

namespace hv {

// The texts of one operation on a host. All three are templates over the same arguments; each uses those that it names.
struct operation_t {
    std::string_view start;    // log line before the work
    std::string_view failure;  // first line of the error that any failure becomes
    std::string_view done =
        {};  // log line behind the work; none where empty (it may need the work's result: let the step log it)
};

// Logs the start, runs the step, logs the end and returns the step's result; wraps any error in the operation's own text:
//
//   constexpr hv::operation_t closing{"Closing snapshot '%1'. Host: '%2'.", "Failed to close snapshot '%1'.", "Closed."};
//   hv::run(closing, {id, connection->host()}, [&] { connection->Call(command); });
template <class Step>
auto run(const operation_t& operation, std::initializer_list<text::arg_t> args, Step&& step) {
    const std::span<const text::arg_t> list(args.begin(), args.size());
    const auto write = [&](std::string_view message) {
        if (!message.empty())
            logging::info(text::format_list(message, list));
    };
    return exc::wrap_errors([&] { return text::format_list(operation.failure, list); },
                            [&] {
                                write(operation.start);
                                if constexpr (std::is_void_v<std::invoke_result_t<Step>>) {
                                    step();
                                    write(operation.done);
                                } else {
                                    auto result = step();
                                    write(operation.done);
                                    return result;
                                }
                            });
}

}  // namespace hv
