#pragma once

#include <windows.h>

#include <KorvaProxyClient.h>

#include <string>

#include "calls.h"
#include "foundation/automation.h"
#include "options.h"

// Gives the object the command line's account; the password's copy for the call is cleared behind it.
template <class Object>
void set_account(const win::com_ptr<Object>& object, const options_t& options) {
    const win::unique_bstr account = win::make_bstr(options.account);
    const win::secret_t password = read_password(options.account);
    const win::unique_bstr password_text = win::make_bstr(password.text());
    const HRESULT result = object->SetAccount(account.get(), password_text.get());
    ::SecureZeroMemory(password_text.get(), ::SysStringByteLen(password_text.get()));
    check("SetAccount", result);
}

// The Hyper-V integrator for the command line's host and account, once its service has answered.
win::com_ptr<IKorvaHvIntegrator> connect_integrator(const options_t& options);

// Polls until the work is completed, with a line for each poll. Tells whether it succeeded.
bool wait_for(const win::com_ptr<IKorvaHvAsyncOp>& operation);

GUID id_of(const win::com_ptr<IKorvaHvAsyncOp>& operation);
