#pragma once

#include <windows.h>

#include <functional>
#include <memory>

#include "foundation/handles.h"

namespace win {

struct impersonation_functions_t {
    std::function<decltype(::ImpersonateLoggedOnUser)> impersonate = ::ImpersonateLoggedOnUser;
    std::function<decltype(::RevertToSelf)> revert = ::RevertToSelf;
};

// Holds the token of a logged-on user, or none.
class CImpersonator {
public:
    CImpersonator() = default;
    explicit CImpersonator(unique_handle token) : token_(std::move(token)) {}

    bool has_token() const noexcept { return static_cast<bool>(token_); }
    HANDLE token() const noexcept { return token_.get(); }

private:
    unique_handle token_;
};

// The calling thread acts as the impersonator's user while this lives. It must end on the thread that began it. Sessions do not
// nest: the end of one reverts the thread to the process's own identity.
class win_impersonation_session_t {
public:
    explicit win_impersonation_session_t(const CImpersonator& impersonator, impersonation_functions_t functions = {});
    ~win_impersonation_session_t();
    win_impersonation_session_t(const win_impersonation_session_t&) = delete;
    win_impersonation_session_t& operator=(const win_impersonation_session_t&) = delete;

private:
    impersonation_functions_t functions_;
};

// What the library makes the thread act as: the token of its session or of its innermost impersonated file operation; null for
// the identity that it came with.
HANDLE current_impersonation() noexcept;

// Changes what the thread acts as; null reverts it. Throws exc::win_sys_exc_t; then nothing has changed.
void impersonate(HANDLE token, const impersonation_functions_t& functions);

// The way back at the end of a scope. A failure is logged and remembered: the thread still acts as a user that it must not act
// as, with a token that may be closed by now.
void restore_impersonation(HANDLE before, const impersonation_functions_t& functions) noexcept;

// Tries a way back that failed once more. Throws exc::win_sys_exc_t where it fails again: nothing may run on this thread then.
void settle_impersonation(const impersonation_functions_t& functions);

}  // namespace win
