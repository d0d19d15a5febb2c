#include "lab/xml_text.h"

#include <objbase.h>

#include "foundation/convert.h"
#include "foundation/xml/escaped.h"

namespace lab {

com_apartment::com_apartment() : entered_(SUCCEEDED(::CoInitializeEx(nullptr, COINIT_MULTITHREADED))) {}

com_apartment::~com_apartment() {
    if (entered_)
        ::CoUninitialize();
}

std::wstring attribute_text(std::wstring_view name, std::wstring_view value) {
    return L" " + std::wstring(name) + L"=\"" + xml::escaped(value) + L'"';
}

std::wstring attribute_text(std::wstring_view name, const GUID& value) {
    return attribute_text(name, text::widen(text::guid_text(value)));
}

}  // namespace lab
