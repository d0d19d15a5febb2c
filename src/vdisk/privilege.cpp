#include "vdisk/privilege.h"

#include <utility>

#include "foundation/errors.h"
#include "logging/write.h"

namespace win {
namespace {

bool open_thread_token(unique_handle& token) {
    return ::OpenThreadToken(::GetCurrentThread(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, TRUE, token.put()) != FALSE;
}

// Succeeds where not all of them could be changed, too; the last error tells then.
bool adjust(HANDLE token, TOKEN_PRIVILEGES& wanted, TOKEN_PRIVILEGES* before) {
    DWORD size = sizeof *before;
    return ::AdjustTokenPrivileges(token, FALSE, &wanted, before ? size : 0, before, before ? &size : nullptr) &&
           ::GetLastError() == ERROR_SUCCESS;
}

}  // namespace

held_privilege_t::held_privilege_t(held_privilege_t&& other) noexcept
    : name_(other.name_),
      token_(std::move(other.token_)),
      before_(other.before_),
      own_token_(std::exchange(other.own_token_, false)) {}

held_privilege_t::~held_privilege_t() {
    if (own_token_) {
        if (::RevertToSelf())
            return;
        logging::error("The thread keeps the token that it got for privilege '%1'. Error code: '%2'.", name_, ::GetLastError());
    }
    if (token_ && !adjust(token_.get(), before_, nullptr))
        logging::error("Privilege '%1' cannot be put back as it was. Error code: '%2'.", name_, ::GetLastError());
}

held_privilege_t take_privilege(const privilege_t& privilege) {
    const auto check = [&](bool success) {
        if (!success)
            exc::throw_last_error("Failed to enable privilege '%1'.", privilege.name);
    };
    held_privilege_t held;
    held.name_ = privilege.name;
    if (!open_thread_token(held.token_)) {
        check(::GetLastError() == ERROR_NO_TOKEN && ::ImpersonateSelf(SecurityImpersonation));
        held.own_token_ = true;
        check(open_thread_token(held.token_));
    }
    TOKEN_PRIVILEGES wanted{1, {{{}, SE_PRIVILEGE_ENABLED}}};
    check(::LookupPrivilegeValueW(nullptr, privilege.name, &wanted.Privileges[0].Luid));
    check(adjust(held.token_.get(), wanted, &held.before_));
    return held;
}

}  // namespace win
