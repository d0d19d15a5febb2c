#include "calls.h"

#include <oleauto.h>

#include <sstream>

#include "foundation/automation.h"
#include "foundation/convert.h"
#include "foundation/system_text.h"

namespace {

std::string name_of_interface(const GUID& iid) {
    if (iid == GUID{})
        return {};
    const std::wstring id = L"{" + text::widen(text::guid_text(iid)) + L"}";
    wchar_t name[256] = {};
    DWORD size = sizeof name;
    if (::RegGetValueW(HKEY_CLASSES_ROOT, (L"Interface\\" + id).c_str(), nullptr, RRF_RT_REG_SZ, nullptr, name, &size) ==
        ERROR_SUCCESS)
        return text::narrow(name);
    return text::narrow(id);
}

}  // namespace

call_failed::call_failed(const char* call, HRESULT result) : call_(call), result_(result) {
    take_error_object();
    if (lines_.empty())
        lines_.push_back(exc::system_error_text(static_cast<std::uint32_t>(result)));
    if (result == CO_E_CLASSSTRING || result == REGDB_E_CLASSNOTREG)
        lines_.push_back("Is KorvaProxyClient.dll registered?");
}

void call_failed::take_error_object() {
    win::com_ptr<IErrorInfo> error;
    if (::GetErrorInfo(0, error.put()) != S_OK)
        return;
    GUID iid{};
    win::unique_bstr source, description;
    error->GetGUID(&iid);
    error->GetSource(source.put());
    error->GetDescription(description.put());
    interface_ = name_of_interface(iid);
    source_ = text::narrow(win::bstr_view(source.get()));
    std::istringstream text(text::narrow(win::bstr_view(description.get())));
    for (std::string line; std::getline(text, line);)
        lines_.push_back(line);
}
