#include "vdisk/privilege.h"

#include <utility>

#include "foundation/errors.h"
#include "foundation/format.h"

namespace win {
namespace {

bool open_thread_token(unique_handle& token) {
    return ::OpenThreadToken(::GetCurrentThread(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, TRUE, token.put()) != FALSE;
}

}  // namespace

held_privilege_t::held_privilege_t(held_privilege_t&& other) noexcept
    : token_(std::move(other.token_)), before_(other.before_), own_token_(std::exchange(other.own_token_, false)) {}

held_privilege_t::~held_privilege_t() {
    if (own_token_)
        ::RevertToSelf();
    else if (token_)
        ::AdjustTokenPrivileges(token_.get(), FALSE, &before_, 0, nullptr, nullptr);
}

held_privilege_t take_privilege(const privilege_t& privilege) {
    const auto check = [&](bool success) {
        if (!success) {
            const DWORD error = ::GetLastError();
            throw exc::win_sys_exc_t(text::format("Failed to enable privilege '%1'.", privilege.name), error);
        }
    };
    held_privilege_t held;
    if (!open_thread_token(held.token_)) {
        check(::GetLastError() == ERROR_NO_TOKEN && ::ImpersonateSelf(SecurityImpersonation));
        held.own_token_ = true;
        check(open_thread_token(held.token_));
    }
    TOKEN_PRIVILEGES wanted{1, {{{}, SE_PRIVILEGE_ENABLED}}};
    check(::LookupPrivilegeValueW(nullptr, privilege.name, &wanted.Privileges[0].Luid));
    DWORD size = sizeof held.before_;
    // Succeeds without the privilege, too; the last error tells then.
    check(::AdjustTokenPrivileges(held.token_.get(), FALSE, &wanted, sizeof held.before_, &held.before_, &size) &&
          ::GetLastError() == ERROR_SUCCESS);
    return held;
}

}  // namespace win
