#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <utility>

#include "com/create_internal.h"
#include "foundation/automation.h"
#include "foundation/errors.h"
#include "rpc/client.h"
#include "tests/rpc/played_platform.h"

namespace hv_tests {

// A COM object over a connection that stops when it has its settings, each of which it shows to the platform:
// "compose HOST PORT, USER|DOMAIN|PASSWORD, option 12 MILLISECONDS" (12 is the time-out of calls).
template <class Object>
struct with_settings_t {
    using interface_t = typename Object::interface_type;

    with_settings_t() {
        auto functions = platform.table();
        functions.binding_set_option = [this](auto, unsigned long option, ULONG_PTR value) -> RPC_STATUS {
            seen = text::format("%1, %2, option %3 %4", platform.calls.front(), platform.identity_texts, option, value);
            throw exc::runtime_exc_t("enough seen");
        };
        using impl_t = typename Object::impl_type;
        com::create_internal<Object>(std::make_shared<impl_t>(win::rpc::make_integration_client(functions)), object.put());
    }

    void set(const wchar_t* host, int port, const wchar_t* user, const wchar_t* password, int timeout) {
        EXPECT_EQ(object->SetEndpoint(win::make_bstr(host).get(), port), S_OK);
        EXPECT_EQ(object->SetAccount(win::make_bstr(user).get(), win::make_bstr(password).get()), S_OK);
        EXPECT_EQ(object->SetRpcTimeout(timeout), S_OK);
    }
    // What the last call has shown; empty where none was made.
    std::string take() {
        platform.calls.clear();
        return std::exchange(seen, {});
    }

    played_platform_t platform;
    std::string seen;
    win::com_ptr<interface_t> object;
};

}  // namespace hv_tests
