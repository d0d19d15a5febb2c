#pragma once

#include <windows.h>

#include <oleauto.h>

#include <new>
#include <string>
#include <string_view>

#include "foundation/unique_resource.h"

// Owners of the values that OLE automation passes around.
namespace win {

struct bstr_traits {
    using handle = BSTR;
    static handle invalid() noexcept { return nullptr; }
    static void close(handle h) noexcept { ::SysFreeString(h); }
};
using unique_bstr = unique_resource<bstr_traits>;

// A null text (a view without data) gives a null BSTR; std::bad_alloc where there is no memory.
inline unique_bstr make_bstr(std::wstring_view text) {
    if (!text.data())
        return {};
    unique_bstr copy(::SysAllocStringLen(text.data(), static_cast<UINT>(text.size())));
    if (!copy)
        throw std::bad_alloc();
    return copy;
}

// The characters of a BSTR; a null one reads as empty.
inline std::wstring_view bstr_view(BSTR text) noexcept {
    return text ? std::wstring_view(text, ::SysStringLen(text)) : std::wstring_view();
}

inline std::wstring bstr_text(BSTR text) { return std::wstring(bstr_view(text)); }

struct safe_array_traits {
    using handle = SAFEARRAY*;
    static handle invalid() noexcept { return nullptr; }
    static void close(handle h) noexcept { ::SafeArrayDestroy(h); }
};
using unique_safe_array = unique_resource<safe_array_traits>;

class unique_variant {
public:
    unique_variant() noexcept { ::VariantInit(&value_); }
    unique_variant(const unique_variant&) = delete;
    unique_variant& operator=(const unique_variant&) = delete;
    ~unique_variant() { ::VariantClear(&value_); }

    VARIANT* get() noexcept { return &value_; }
    const VARIANT* operator->() const noexcept { return &value_; }

private:
    VARIANT value_;
};

}  // namespace win
