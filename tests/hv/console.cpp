#include "tests/hv/console.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <deque>
#include <functional>
#include <regex>
#include <sstream>

#include "com/class_table.h"
#include "foundation/automation.h"
#include "foundation/convert.h"
#include "foundation/format.h"
#include "foundation/system_text.h"
#include "lab/failures.h"
#include "lab/host_model.h"
#include "lab/request_log.h"
#include "lab/server.h"
#include "tests/com/com_test.h"
#include "tests/foundation/guid.h"

namespace hv_tests {
namespace {

const char sessions_text[] =
#include "tests/hv/sessions.txt"
    ;

const std::map<std::string, std::function<void(lab::host_model&, const std::wstring&)>> settings = {
    {"polls", [](auto& host, auto& value) { host.snapshots.polls = static_cast<unsigned>(std::stoul(value)); }},
    {"null documents", [](auto& host, auto&) { host.snapshots.null_documents = true; }},
    {"files", [](auto& host, auto& value) { host.snapshots.files_list_answer = value; }},
    {"null records", [](auto& host, auto&) { host.tracking.null_records = true; }},
    {"volumes missing", [](auto& host, auto& value) { host.cluster.volumes_missing = std::stoul(value); }},
    {"providers missing", [](auto& host, auto& value) { host.vss.providers_missing = std::stoul(value); }},
    {"volumes answer", [](auto& host, auto& value) { host.vss.volumes_answer = value; }},
    {"writer document", [](auto& host, auto& value) { host.vss.document = value; }},
};

// The lines of this kind, without its mark: '>' a request, '!' a line of an error, 0 a line of the log.
lines_t of_kind(char kind, const lines_t& lines) {
    lines_t result;
    for (const std::string& line : lines)
        if (const bool marked = line.starts_with("> ") || line.starts_with("! "); kind == (marked ? line[0] : 0))
            result.push_back(line.substr(marked ? 2 : 0));
    return result;
}

void add_as_logged(lines_t& log, const lines_t& error) {
    for (const std::string& line : error)
        log.push_back((&line == &error.front() ? "ERR |" : ">>  |") + line);
}

}  // namespace

struct console_t::step_t {
    std::string line;
    lines_t lines;  // what it says about it
};

struct console_t::call_t {
    std::string object, method, inputs, outputs;
};

struct console_t::expected_t {
    HRESULT result;
    lines_t error, log, requests;
};

unsigned lab_port() {
    static const lab::server server(lab::server_options{.deployment = false, .invoker = false});
    return server.port();
}

console_t::console_t(logging::captured_log_t& log)
    : values{{"port", std::to_string(lab_port())},
             {"web", "6f8d3c1e-0f5b-4a7e-9a53-0c2f5b1a9d02"},
             {"reports", "6f8d3c1e-0f5b-4a7e-9a53-0c2f5b1a9d03"},
             {"none", "00000000-0000-0000-0000-000000000000"},
             {"another generation", "12345678-9abc-def0-0102-030405060708"},
             {"device", R"(\\?\GLOBALROOT\Device\HarddiskVolumeShadowCopy)"},
             {"a text with a zero inside", std::string("D:\\a.vhd\0.old", 13)},
             {"a text of all kinds", "<Ответ n='1'>\r\n\t &amp; 拒绝 😀</Ответ> "}},
      log_(log) {
    values.merge(decltype(values){
        {"host", "127.0.0.1"}, {"machine", values["web"]}, {"name", "web"}, {"other machine", values["reports"]}});
}

const std::map<std::string, console_t::session_t>& console_t::sessions() {
    static const auto all = [] {
        std::map<std::string, session_t> sessions;
        session_t* current = nullptr;
        std::istringstream text(sessions_text);
        for (std::string line; std::getline(text, line);) {
            if (line.starts_with("session "))
                current = &sessions[line.substr(8)];
            else if (line.starts_with("    "))
                current->back().lines.push_back(line.substr(4));
            else if (!line.empty() && line.front() != '#')
                current->push_back({line, {}});
        }
        return sessions;
    }();
    return all;
}

lines_t console_t::session_names() {
    lines_t names;
    for (const auto& [name, steps] : sessions())
        names.push_back(name);
    return names;
}

void console_t::play(const std::string& session, bool given) {
    SCOPED_TRACE(session);
    for (const step_t& step : sessions().at(session)) {
        SCOPED_TRACE(step.line);
        take_step(step, given);
        if (::testing::Test::HasFailure())
            return;
    }
}

void console_t::take_step(const step_t& step, bool given) {
    static const std::regex after("after (.*)"), setting("lab (.*?) = ?(.*)"),
        call("(given )?(?:(release) (.*)|(.+?)[. ](\\w+)(?:\\((.*)\\))?(?: = (.*)| (fails) ?(.*))?)");
    std::smatch part;
    if (std::regex_match(step.line, part, after))
        return play(part[1], true);
    if (std::regex_match(step.line, part, setting)) {
        const auto found = settings.find(part[1]);
        if (found == settings.end())
            return lab::set_failure(part[1], part[2].str());
        const auto host = lab::host();
        return found->second(*host, text::widen(filled(part[2])));
    }
    ASSERT_TRUE(std::regex_match(step.line, part, call));
    given |= part[1].matched;
    const call_t made = part[2].matched ? call_t{part[2], part[3], {}, {}} : call_t{part[4], part[5], part[6], part[7]};
    expected_t expected{S_OK, {}, of_kind(0, step.lines), of_kind('>', step.lines)};
    if (part[8].matched) {
        expected.result = part[9].length() == 0 ? DISP_E_EXCEPTION : static_cast<HRESULT>(std::stoul(part[9], nullptr, 16));
        expected.error = of_kind('!', step.lines);
    } else if (!given) {
        fail_each_request(made, step.lines);
    }
    make(made, expected, given);
}

void console_t::fail_each_request(const call_t& call, const lines_t& lines) {
    for (auto line = lines.begin(); line != lines.end();) {
        const bool is_request = line->starts_with('>');
        const std::string procedure = line->substr(0, line->find(' ', 2));
        const lines_t before(lines.begin(), ++line);
        const auto end = std::find_if_not(line, lines.end(), [](auto& next) { return next.starts_with('!'); });
        if (is_request && line != end) {
            const lines_t error = of_kind('!', lines_t(line, end));
            lab::set_failure(procedure.substr(2), error.back());
            make(call, {DISP_E_EXCEPTION, error, of_kind(0, before), of_kind('>', before)}, false);
            lab::clear_failures();
        }
        line = end;
    }
}

void console_t::make(const call_t& call, const expected_t& expected, bool given) {
    log_.clear();
    lab::requests().take();
    const called_t came = called(call);
    const lines_t log = log_.texts(), requests = lab::requests().take();
    for (std::size_t i = 0; i < std::min(log.size(), expected.log.size()); ++i)
        learn(expected.log[i], log[i]);
    if (SUCCEEDED(came.result) && !came.object)
        learn(call.outputs, came.outputs);
    const auto fill = [this](lines_t lines, bool as_request = false) {
        for (std::string& line : lines)
            line = filled(line, as_request);
        return lines;
    };
    const lines_t error = fill(expected.error);
    lines_t expected_log = fill(expected.log);
    add_as_logged(expected_log, error);

    EXPECT_EQ(came.result, expected.result);
    EXPECT_EQ(came.lines, error);
    if (came.object) {
        const auto [known, is_new] = objects.try_emplace(call.outputs, came.object.get());
        EXPECT_EQ(known->second.get(), came.object.get());
        EXPECT_EQ(std::ranges::count(objects, known->second.get(), [](auto& object) { return object.second.get(); }), 1);
    } else if (SUCCEEDED(expected.result)) {
        EXPECT_EQ(came.outputs, filled(call.outputs));
    }
    if (!given) {
        EXPECT_EQ(log, expected_log);
        EXPECT_EQ(requests, fill(expected.requests, true));
    }
}

called_t console_t::called(const call_t& call) {
    if (call.object == "release") {
        EXPECT_EQ(objects.erase(call.method), 1u);
        return {};
    }
    if (call.object == "new") {
        const auto table = com::class_table();
        const auto entry = std::ranges::find(table, text::widen(call.method + " Class"), &com::class_entry::description);
        return {S_OK, {}, create<IDispatch>(entry->clsid)};
    }
    std::deque<win::unique_bstr> texts;
    std::deque<GUID> ids;
    const auto input = [&](const std::string& token) -> void* {
        const std::string value = filled(token);
        if (value.front() == '\'')
            return texts.emplace_back(win::make_bstr(text::widen(value.substr(1, value.size() - 2)))).get();
        if (value == "null" || value == "false")
            return nullptr;
        if (value == "true")
            return reinterpret_cast<void*>(std::uintptr_t{0xFFFF});
        if (value.size() == 36)
            return &ids.emplace_back(guid_of(value));
        if (objects.contains(value))
            return objects[value].get();
        return reinterpret_cast<void*>(static_cast<std::uintptr_t>(std::stoull(value)));
    };
    static const std::regex token("'[^']*'|[^', ][^',]*");
    std::vector<void*> inputs;
    for (std::sregex_iterator at(call.inputs.begin(), call.inputs.end(), token), end; at != end; ++at)
        inputs.push_back(input(at->str()));
    return call_by_name(static_cast<IDispatch*>(objects.at(call.object).get()), call.method, inputs);
}

// Names without a value take it from what came.
void console_t::learn(std::string expected, const std::string& came) {
    for (std::size_t at; (at = (expected = filled(expected)).find('{')) < came.size();) {
        const std::size_t name_end = expected.find('}', at);
        const std::string behind = expected.substr(name_end + 1, expected.find('{', name_end) - name_end - 1);
        const std::size_t end = behind.empty() ? came.size() : came.find(behind, at);
        if (came.compare(0, at, expected, 0, at) != 0 || end == std::string::npos)
            return;
        values[expected.substr(at + 1, name_end - at - 1)] = came.substr(at, end - at);
    }
}

// With the values in the place of their names; in a request as the lab shows them.
std::string console_t::filled(std::string text, bool as_request) const {
    for (std::size_t at = 0; (at = text.find('{', at)) != std::string::npos; ++at) {
        const std::string name = text.substr(at + 1, text.find('}', at) - at - 1);
        std::string value;
        if (name.starts_with("0x"))
            value = exc::system_error_text(static_cast<std::uint32_t>(std::stoul(name, nullptr, 16)));
        else if (const auto known = values.find(name); known != values.end())
            value = known->second;
        else
            continue;
        if (as_request)
            value = lab::value_t("", text::widen(value).c_str()).text.substr(2), value.pop_back();
        text.replace(at, name.size() + 2, value);
        at += value.size() - 1;
    }
    return text;
}

}  // namespace hv_tests
