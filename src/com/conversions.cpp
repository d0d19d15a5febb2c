#include "com/conversions.h"

#include <algorithm>
#include <limits>

#include "foundation/errors.h"

namespace com {
namespace {

win::unique_safe_array create_array(VARTYPE type, std::size_t count) {
    win::unique_safe_array array;
    if (count <= std::numeric_limits<ULONG>::max())
        array.reset(::SafeArrayCreateVector(type, 0, static_cast<ULONG>(count)));
    if (!array)
        throw std::bad_alloc();
    return array;
}

}  // namespace

// Nobody else has the new arrays, so their elements are reached without a lock.
win::unique_safe_array to_safe_array(std::span<const unsigned char> bytes) {
    win::unique_safe_array array = create_array(VT_UI1, bytes.size());
    std::ranges::copy(bytes, static_cast<unsigned char*>(array.get()->pvData));
    return array;
}

win::unique_safe_array to_safe_array(std::span<const std::wstring> texts) {
    win::unique_safe_array array = create_array(VT_BSTR, texts.size());
    std::ranges::transform(texts, static_cast<BSTR*>(array.get()->pvData), to_bstr);
    return array;
}

safe_array_bytes::safe_array_bytes(SAFEARRAY* array) : array_(array) {
    if (!array)
        return;
    VARTYPE type = VT_EMPTY;
    if (::SafeArrayGetDim(array) != 1 || FAILED(::SafeArrayGetVartype(array, &type)) || type != VT_UI1)
        throw exc::win_sys_exc_t("The byte block is not a one-dimensional array of unsigned char.",
                                 static_cast<std::uint32_t>(DISP_E_TYPEMISMATCH));
    void* data = nullptr;
    const HRESULT locked = ::SafeArrayAccessData(array, &data);
    if (FAILED(locked))
        throw exc::win_sys_exc_t("Failed to lock the byte block.", static_cast<std::uint32_t>(locked));
    bytes_ = {static_cast<const unsigned char*>(data), array->rgsabound[0].cElements};
}

safe_array_bytes::~safe_array_bytes() {
    if (array_)
        ::SafeArrayUnaccessData(array_);
}

}  // namespace com
