#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <string_view>
#include <vector>

#include "KorvaProxyClient.h"
#include "com/class_factory.h"
#include "com/module.h"
#include "foundation/automation.h"
#include "foundation/com_ptr.h"
#include "foundation/convert.h"
#include "foundation/format.h"
#include "lab/host_model.h"
#include "lab/request_log.h"
#include "lab/server.h"
#include "logging/memory_receiver.h"
#include "tests/foundation/com_thread.h"

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

inline lines_t split_lines(const std::string& text) {
    lines_t lines;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

inline outcome_t outcome(HRESULT result) {
    outcome_t ended{result, {}};
    win::com_ptr<IErrorInfo> info;
    win::unique_bstr description;
    if (FAILED(result) && ::GetErrorInfo(0, info.put()) == S_OK && info->GetDescription(description.put()) == S_OK)
        ended.lines = split_lines(text::narrow(win::bstr_view(description.get())));
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

// Outputs that an object cannot do without: expect_pointers(*volume.get(), &IClusterVolumeInformation::get_IsCSV, ...).
template <class Interface, class... Getter>
void expect_pointers(Interface& object, Getter... getter) {
    const HRESULT results[] = {(object.*getter)(nullptr)...};
    EXPECT_THAT(results, ::testing::Each(E_POINTER));
}

template <class Enumerator>
bool next(Enumerator& list) {
    VARIANT_BOOL more = 7;
    EXPECT_EQ(list.Next(&more), S_OK);
    EXPECT_TRUE(more == VARIANT_TRUE || more == VARIANT_FALSE);
    return more != VARIANT_FALSE;
}

inline win::unique_bstr bstr(std::wstring_view text) { return win::make_bstr(text); }

// The texts of a caller's array, which is destroyed.
inline std::vector<std::wstring> take_texts(SAFEARRAY* array) {
    std::vector<std::wstring> texts;
    if (!array)
        return texts;
    VARTYPE type = VT_EMPTY;
    EXPECT_EQ(::SafeArrayGetVartype(array, &type), S_OK);
    EXPECT_EQ(type, VT_BSTR);
    BSTR* data = nullptr;
    EXPECT_EQ(::SafeArrayAccessData(array, reinterpret_cast<void**>(&data)), S_OK);
    for (ULONG i = 0; i < array->rgsabound[0].cElements; ++i)
        texts.push_back(win::bstr_text(data[i]));
    ::SafeArrayUnaccessData(array);
    ::SafeArrayDestroy(array);
    return texts;
}

class session : public com_thread {
protected:
    session() {
        lab_port();
        lab::reset();
        lab::requests().take();
    }
    ~session() override { EXPECT_FALSE(com::module::in_use()) << "objects are left"; }

    // A new object of a creatable class.
    template <class Interface>
    static win::com_ptr<Interface> create(const CLSID& clsid) {
        win::com_ptr<IClassFactory> factory;
        win::com_ptr<Interface> object;
        EXPECT_EQ(com::get_class_object(clsid, IID_IClassFactory, reinterpret_cast<void**>(factory.put())), S_OK);
        EXPECT_EQ(factory->CreateInstance(nullptr, __uuidof(Interface), reinterpret_cast<void**>(object.put())), S_OK);
        return object;
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
