#include "deploy/impersonation.h"

#include "foundation/errors.h"
#include "logging/write.h"

namespace win {
namespace {
thread_local HANDLE thread_token = nullptr;
const HANDLE unknown_token = INVALID_HANDLE_VALUE;  // after a failed way back
}  // namespace

HANDLE current_impersonation() noexcept { return thread_token; }

void impersonate(HANDLE token, const impersonation_functions_t& functions) {
    if (token && !functions.impersonate(token))
        exc::throw_last_error("Failed to impersonate logged on user");
    if (!token && !functions.revert())
        exc::throw_last_error("Failed to end the impersonation of a logged on user");
    thread_token = token;
}

void restore_impersonation(HANDLE before, const impersonation_functions_t& functions) noexcept {
    try {
        impersonate(before, functions);
    } catch (const std::exception& error) {
        thread_token = unknown_token;
        logging::log_exception(error);
    }
}

void settle_impersonation(const impersonation_functions_t& functions) {
    if (thread_token == unknown_token)
        impersonate(nullptr, functions);
}

win_impersonation_session_t::win_impersonation_session_t(const CImpersonator& impersonator, impersonation_functions_t functions)
    : functions_(std::move(functions)) {
    if (!impersonator.has_token())
        throw exc::runtime_exc_t("User credentials not specified or logon error");
    impersonate(impersonator.token(), functions_);
}

win_impersonation_session_t::~win_impersonation_session_t() { restore_impersonation(nullptr, functions_); }

}  // namespace win
