#pragma once

#include <windows.h>

#include <KorvaProxyClient.h>

#include <string>
#include <vector>

#include "calls.h"
#include "foundation/automation.h"
#include "foundation/xml/document.h"
#include "options.h"
#include "output.h"
#include "password.h"
#include "steps.h"

// A new object of the class, with the command line's endpoint and, where it names one, account; the password's copy for the
// call is cleared.
template <class Interface>
win::com_ptr<Interface> create_client(const wchar_t* prog_id, const options_t& options) {
    auto object = create_object<Interface>(prog_id);
    show("CoCreateInstance", text::format("%1", prog_id), {{"ProgID", prog_id}});
    check("SetEndpoint", object->SetEndpoint(win::make_bstr(options.host).get(), options.port));
    show("SetEndpoint", text::format("%1, port %2", options.host, options.port),
         {{"Host", options.host}, {"Port", options.port}});
    if (!options.account.empty()) {
        const win::unique_bstr account = win::make_bstr(options.account);
        const win::secret_t password = read_password(options.account);
        const win::unique_bstr password_text = win::make_bstr(password.text());
        const HRESULT result = object->SetAccount(account.get(), password_text.get());
        ::SecureZeroMemory(password_text.get(), ::SysStringByteLen(password_text.get()));
        check("SetAccount", result);
        show("SetAccount", text::format("%1", options.account), {{"Account", options.account}});
    }
    stop_if_asked();
    return object;
}

// The Hyper-V integrator for the command line's host and account, once its service has answered.
win::com_ptr<IKorvaHvIntegrator> connect_integrator(const options_t& options);

// Polls until the work is completed, with a line for each poll. Throws where the work failed (the host's text), where it has
// not come to its end in the time that the options give, and at Ctrl-C.
void wait_for(const win::com_ptr<IKorvaHvAsyncOp>& operation, const options_t& options);

GUID id_of(const win::com_ptr<IKorvaHvAsyncOp>& operation);

// The children NAME of the root ROOT in a document that the host has written. Its layout is the host's affair: where it is
// another one, there are none.
std::vector<xml::xml_element_ptr> elements_of(const win::unique_bstr& document, std::wstring_view root, std::wstring_view name);
