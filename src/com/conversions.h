#pragma once

#include <windows.h>

#include <oleauto.h>

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "foundation/automation.h"

// Values on their way through a COM method. Texts come in as views of the caller's BSTRs (win::bstr_view reads a null one as
// empty) and what goes out belongs to the caller.
namespace com {

// Tells a null BSTR from an empty one.
inline std::optional<std::wstring_view> text_if_given(BSTR text) noexcept {
    return text ? std::optional(win::bstr_view(text)) : std::nullopt;
}

// Never null.
inline BSTR to_bstr(std::wstring_view text) { return win::make_bstr(text.data() ? text : std::wstring_view(L"")).release(); }

inline VARIANT_BOOL to_variant_bool(bool value) noexcept { return value ? VARIANT_TRUE : VARIANT_FALSE; }

win::unique_safe_array to_safe_array(std::span<const unsigned char> bytes);
win::unique_safe_array to_safe_array(std::span<const std::wstring> texts);

// The bytes of a caller's array, which stays locked while this lives. A null array is empty; what is no one-dimensional array
// of unsigned char throws exc::win_sys_exc_t with DISP_E_TYPEMISMATCH.
class safe_array_bytes {
public:
    explicit safe_array_bytes(SAFEARRAY* array);
    safe_array_bytes(const safe_array_bytes&) = delete;
    safe_array_bytes& operator=(const safe_array_bytes&) = delete;
    ~safe_array_bytes();

    std::span<const unsigned char> bytes() const noexcept { return bytes_; }

private:
    SAFEARRAY* const array_;
    std::span<const unsigned char> bytes_;
};

}  // namespace com
