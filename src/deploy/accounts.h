#pragma once

#include <windows.h>

#include <functional>
#include <string_view>

#include "foundation/account.h"
#include "foundation/handles.h"

namespace win {

struct account_functions_t {
    std::function<decltype(::LogonUserA)> logon_user = ::LogonUserA;
};

// Logs the account on for outgoing connections only (LOGON32_LOGON_NEW_CREDENTIALS): the token acts locally as the caller and
// shows the account to remote hosts, which are the first to check the password. `name` is split by split_account. Throws
// exc::win_sys_exc_t "Failed to logon user [%1]", also where the code page cannot hold a text (1113).
unique_handle logon(std::wstring_view name, std::wstring_view password, const account_functions_t& functions = {});

}  // namespace win
