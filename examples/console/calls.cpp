#include "calls.h"

#include <oleauto.h>

#include <cstdio>
#include <sstream>

#include "foundation/automation.h"
#include "foundation/convert.h"

namespace {

std::vector<std::string> take_error_lines() {
    win::com_ptr<IErrorInfo> error;
    if (::GetErrorInfo(0, error.put()) != S_OK)
        return {};
    win::unique_bstr description;
    error->GetDescription(description.put());
    std::istringstream text(text::narrow(win::bstr_view(description.get())));
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);)
        lines.push_back(line);
    return lines;
}

}  // namespace

call_failed::call_failed(const char* call, HRESULT result) : call_(call), result_(result), lines_(take_error_lines()) {}

void show(const char* method, const std::string& outcome) { std::printf("%-26s %s\n", method, outcome.c_str()); }
