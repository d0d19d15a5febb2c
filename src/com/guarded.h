#pragma once

#include <windows.h>

#include <oleauto.h>

#include <exception>
#include <utility>

#include "foundation/fire_com_exc.h"
#include "logging/write.h"

// What stands between a COM method and the library's plain C++: pointers are checked, outputs cleared, and nothing that is
// thrown leaves. This is the only place where what was thrown becomes a result.
namespace com {

struct pointers_t {
    bool given;
};

// Output pointers: all must be given; then they begin empty, so that a failing method returns none of them.
template <class... T>
pointers_t out(T*... pointers) noexcept {
    const bool given = (... && (pointers != nullptr));
    if (given)
        ((*pointers = T{}), ...);
    return {given};
}

// Input pointers (interfaces, texts) whose absence gives E_POINTER.
template <class... T>
pointers_t required(T*... pointers) noexcept {
    return {(... && (pointers != nullptr))};
}

inline pointers_t operator&(pointers_t left, pointers_t right) noexcept { return {left.given && right.given}; }

// Runs the body of a COM method: S_OK where it returns. An error is logged and leaves as the HRESULT and error object that
// exc::CFireComExcMixin makes of it for the interface `iid`. An absent pointer gives E_POINTER before anything is logged or
// done.
template <class Body>
HRESULT guarded(const IID& iid, pointers_t pointers, Body&& body) noexcept {
    // A description that somebody else left on the thread must not be taken for this call's, nor be quoted by it.
    ::SetErrorInfo(0, nullptr);
    if (!pointers.given)
        return E_POINTER;
    try {
        std::forward<Body>(body)();
        return S_OK;
    } catch (const std::exception& error) {
        logging::log_exception(error);
        return exc::CFireComExcMixin::fire_com_exc(error, iid);
    } catch (...) {
        logging::error(exc::no_message);
        return exc::CFireComExcMixin::fire_unknown_exc(iid);
    }
}

}  // namespace com
