#pragma once

#include "deploy/accounts.h"
#include "deploy/folders.h"
#include "deploy/impersonation.h"
#include "deploy/network_connections.h"
#include "deploy/service_control.h"
#include "deploy/share_information.h"

namespace impl {

// All that the deployer asks of the platform: the real functions unless replaced.
struct deployer_platform_t {
    win::account_functions_t accounts;
    win::impersonation_functions_t impersonation;
    win::network_functions_t network;
    win::share_functions_t shares;
    win::service_functions_t services;
    win::file_functions_t files;
};

// What a deployer is made with when it is given nothing else, as every COM object's is. A program that wants others (a host
// without network shares, for instance) changes it before it creates the first.
deployer_platform_t& default_deployer_platform();

}  // namespace impl
