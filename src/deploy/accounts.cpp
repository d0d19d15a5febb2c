#include "deploy/accounts.h"

#include "foundation/errors.h"
#include "foundation/format.h"
#include "foundation/secret.h"

namespace win {

unique_handle logon(std::wstring_view name, std::wstring_view password, const account_functions_t& functions) {
    const account_t account = split_account(name);
    unique_handle token;
    bool logged_on = false;  // a failure may leave no code
    DWORD code = ERROR_SUCCESS;
    try {
        const std::string user = text::to_code_page(std::wstring_view(account.user));
        const std::string domain = text::to_code_page(std::wstring_view(account.domain));
        const code_page_secret_t secret(text::to_code_page(password));
        logged_on = functions.logon_user(user.c_str(), domain.c_str(), secret.text().c_str(), LOGON32_LOGON_NEW_CREDENTIALS,
                                         LOGON32_PROVIDER_DEFAULT, token.put());
        code = ::GetLastError();
    } catch (const exc::win_sys_exc_t& unconvertible) {
        code = unconvertible.code();
    }
    if (!logged_on)
        throw exc::win_sys_exc_t(text::format("Failed to logon user [%1]", name), code);
    return token;
}

}  // namespace win
