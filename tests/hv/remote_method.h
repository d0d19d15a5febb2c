#pragma once

#include <algorithm>
#include <functional>
#include <iterator>
#include <ostream>

#include "lab/failures.h"
#include "tests/hv/session.h"

namespace hv_tests {

// A host's own text, in several scripts.
inline constexpr char remote_text[] = "отказ 拒绝 😀";

// One method of an object over a connection: what it sends, what it logs when it goes well, and what becomes of a failure that
// the host reports. Identifiers stand in the texts by names in braces, which the context fills in (`filled`).
template <class Context>
struct remote_method_t {
    std::function<HRESULT(Context&)> call;
    lines_t requests;  // each begins with its procedure
    lines_t log;
    lines_t failure = {};     // lines above the host's own
    std::size_t starts = 1;   // lines of the log that are there when the host fails
    std::size_t failing = 0;  // the request that the host fails
};

template <class Context>
void PrintTo(const remote_method_t<Context>& method, std::ostream* out) {
    *out << method.requests.front();
}

// Calls a getter of a text, which gives this one when it succeeds.
template <class Getter>
HRESULT gives_text(std::wstring_view text, Getter getter) {
    win::unique_bstr given;
    const HRESULT result = getter(given.put());
    EXPECT_EQ(win::bstr_view(given.get()), SUCCEEDED(result) ? text : std::wstring_view());
    return result;
}

// The method fails as the host does, then goes well.
template <class Context>
void play(const remote_method_t<Context>& method, Context& context, logging::captured_log_t& log) {
    SCOPED_TRACE(method.requests.front());
    const std::string& request = method.requests[method.failing];
    lab::set_failure(request.substr(0, request.find(' ')), remote_text);
    log.clear();
    lines_t error = context.filled(method.failure);
    error.push_back(remote_text);
    EXPECT_EQ(outcome(method.call(context)), failed(error));
    lines_t lines = context.filled(method.log);
    lines.resize(std::min(method.starts, lines.size()));
    std::ranges::copy(as_logged(error), std::back_inserter(lines));
    EXPECT_EQ(log.texts(), lines);

    lab::clear_failures();
    lab::requests().take();
    log.clear();
    EXPECT_EQ(outcome(method.call(context)), succeeded());
    EXPECT_EQ(log.texts(), context.filled(method.log));
    EXPECT_EQ(lab::requests().take(), context.filled(method.requests));
}

}  // namespace hv_tests
