#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "KorvaProxyClient.h"
#include "foundation/automation.h"
#include "foundation/convert.h"
#include "foundation/format.h"
#include "lab/host_model.h"
#include "lab/request_log.h"
#include "lab/server.h"
#include "logging/memory_receiver.h"
#include "tests/com/com_test.h"

// A console's session with the lab, from COM to the wire and back: one lab for the whole program, a fresh model and log for
// each test, and no object left at its end.
namespace hv_tests {

using lines_t = std::vector<std::string>;

inline unsigned lab_port() {
    static const lab::server server(lab::server_options{.deployment = false, .invoker = false});
    return server.port();
}

// How a COM method ended: its result and, where it failed, the lines of the error object's description.
struct outcome_t {
    HRESULT result = S_OK;
    lines_t lines;

    bool operator==(const outcome_t&) const = default;
};
inline void PrintTo(const outcome_t& outcome, std::ostream* out) {
    *out << text::hex8(static_cast<std::uint32_t>(outcome.result)) << ' ' << ::testing::PrintToString(outcome.lines);
}

inline outcome_t outcome(HRESULT result) {
    outcome_t ended{result, {}};
    if (FAILED(result)) {
        std::istringstream description(description_of_error());
        for (std::string line; std::getline(description, line);)
            ended.lines.push_back(line);
    }
    return ended;
}

// What a failing method leaves: DISP_E_EXCEPTION and these lines.
inline outcome_t failed(lines_t lines) { return {DISP_E_EXCEPTION, std::move(lines)}; }
inline outcome_t succeeded() { return {}; }

// Puts values in the place of their names: {"{port}", "2600"}.
using names_t = std::vector<std::pair<std::string, std::string>>;
inline lines_t fill(lines_t lines, const names_t& names) {
    for (std::string& line : lines)
        for (const auto& [name, value] : names)
            for (std::size_t at = 0; (at = line.find(name, at)) != std::string::npos; at += value.size())
                line.replace(at, name.size(), value);
    return lines;
}

// How the log shows an error.
inline lines_t as_logged(lines_t lines) {
    for (std::size_t i = 0; i < lines.size(); ++i)
        lines[i].insert(0, i == 0 ? "ERR |" : ">>  |");
    return lines;
}

template <class Enumerator>
bool next(Enumerator& list) {
    VARIANT_BOOL more = 7;
    EXPECT_EQ(list.Next(&more), S_OK);
    EXPECT_TRUE(more == VARIANT_TRUE || more == VARIANT_FALSE);
    return more != VARIANT_FALSE;
}

inline win::unique_bstr bstr(std::wstring_view text) { return win::make_bstr(text); }

// What a getter gives: given(*index.get(), &IChangeIndex::get_CurrentIndex).
template <class Interface, class Value>
Value given(Interface& object, HRESULT (STDMETHODCALLTYPE Interface::*getter)(Value*)) {
    Value value{};
    EXPECT_EQ((object.*getter)(&value), S_OK);
    return value;
}
template <class Interface>
std::wstring given_text(Interface& object, HRESULT (STDMETHODCALLTYPE Interface::*getter)(BSTR*)) {
    win::unique_bstr text;
    EXPECT_EQ((object.*getter)(text.put()), S_OK);
    return win::bstr_text(text.get());
}

// The texts of a caller's array, which is destroyed.
inline std::vector<std::wstring> take_texts(SAFEARRAY* array) {
    std::vector<std::wstring> texts;
    for (LONG i = 0; array && i < static_cast<LONG>(array->rgsabound[0].cElements); ++i) {
        VARTYPE type = VT_EMPTY;
        EXPECT_EQ(::SafeArrayGetVartype(array, &type), S_OK);
        EXPECT_EQ(type, VT_BSTR);
        win::unique_bstr text;
        EXPECT_EQ(::SafeArrayGetElement(array, &i, text.put()), S_OK);
        texts.push_back(win::bstr_text(text.get()));
    }
    ::SafeArrayDestroy(array);
    return texts;
}

class session : public com_test {
protected:
    session() {
        lab_port();
        lab::reset();
        lab::requests().take();
    }

    // An integrator that knows where the lab is. Wine's NTLM has no logon of the caller's own to show: it needs an account.
    static win::com_ptr<IKorvaHvIntegrator> new_integrator() {
        const auto integrator = create<IKorvaHvIntegrator>(CLSID_KorvaHvIntegrator);
        EXPECT_EQ(integrator->SetEndpoint(bstr(L"127.0.0.1").get(), static_cast<int>(lab_port())), S_OK);
        EXPECT_EQ(integrator->SetAccount(bstr(L"LAB\\backup").get(), bstr(L"secret").get()), S_OK);
        return integrator;
    }
    // Whose connection has been made, so that no line about it stands in the log.
    static win::com_ptr<IKorvaHvIntegrator> connected_integrator() {
        auto integrator = new_integrator();
        EXPECT_EQ(integrator->TestConnection(), S_OK);
        return integrator;
    }

    logging::captured_log_t log_;
};

}  // namespace hv_tests
