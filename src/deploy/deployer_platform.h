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

}  // namespace impl
