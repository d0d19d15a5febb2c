#include "output.h"

#include <cstdio>

#include "calls.h"
#include "foundation/nesting.h"
#include "foundation/xml/escaped.h"

namespace {

bool as_xml = false;

void print(const std::string& line) { std::puts(line.c_str()); }

std::string attributes(fields_t fields) {
    std::string text;
    for (const auto& [name, value] : fields)
        text += text::format(" %1=\"%2\"", name, xml::escaped<char>(value));
    return text;
}

}  // namespace

xml_output::xml_output(bool wanted, std::wstring_view command) {
    as_xml = wanted;
    if (as_xml)
        print(text::format("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Console%1>", attributes({{"Command", command}})));
}

xml_output::~xml_output() {
    if (as_xml)
        print("</Console>");
    as_xml = false;
}

void show(const char* method, const std::string& outcome, fields_t fields) {
    if (as_xml)
        print(text::format("  <%1%2/>", method, attributes(fields)));
    else
        std::printf("%-28s %s\n", method, outcome.c_str());
    std::fflush(stdout);
}

void show_item(const char* element, const std::string& text, fields_t fields) {
    print(as_xml ? text::format("    <%1%2/>", element, attributes(fields)) : "    " + text);
}

void show_progress(const std::string& text) {
    std::FILE* const stream = as_xml ? stderr : stdout;
    std::fprintf(stream, "    %s\n", text.c_str());
    std::fflush(stream);
}

void show_failure(const std::exception& error) {
    const auto* const call = dynamic_cast<const call_failed*>(&error);
    const std::vector<std::string> lines = call ? call->lines() : exc::lines_of(error);
    if (as_xml) {
        print(call
                  ? text::format("  <Error%1>", attributes({{"Call", call->what()},
                                                            {"HResult", text::hex8(static_cast<std::uint32_t>(call->result()))},
                                                            {"Interface", call->interface_name()},
                                                            {"Source", call->source()}}))
                  : "  <Error>");
        for (const std::string& line : lines)
            print(text::format("    <Line>%1</Line>", xml::escaped<char>(line)));
        print("  </Error>");
    } else {
        std::fflush(stdout);
        const char* before = "korva-console: ";
        if (call) {
            const std::string from = call->interface_name().empty() ? "" : " by " + call->interface_name();
            const std::string source = call->source().empty() ? "" : ", source " + call->source();
            std::fprintf(stderr, "%-28s failed with HRESULT %s%s%s\n", call->what(),
                         text::hex8(static_cast<std::uint32_t>(call->result())).c_str(), from.c_str(), source.c_str());
            before = "    ";
        }
        for (const std::string& line : lines) {
            std::fprintf(stderr, "%s%s\n", before, line.c_str());
            before = "    ";
        }
    }
    std::fflush(stdout);
}
