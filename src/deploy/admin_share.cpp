#include "deploy/admin_share.h"

#include "foundation/errors.h"
#include "foundation/format.h"
#include "foundation/nesting.h"
#include "logging/write.h"

namespace win {

CAdmPersistentShare::CAdmPersistentShare(std::wstring host, std::wstring user, secret_t password, network_functions_t functions)
    : host_(std::move(host)),
      user_(std::move(user)),
      password_(std::move(password)),
      remote_name_(admin_share_of(host_)),
      functions_(std::move(functions)) {
    exc::wrap_errors(
        [&] { return text::format("Failed to create persistent connection to ADMIN$ shared folder on host [%1].", host_); },
        [&] { open(); });
}

CAdmPersistentShare::~CAdmPersistentShare() {
    try {
        close();
    } catch (const std::exception& error) {
        logging::error_with(error, "A share connection was not closed.");
    }
}

void CAdmPersistentShare::open() {
    logging::info("Creating persistent connection to ADMIN$ shared folder on host [%1].", host_);
    NETRESOURCEW resource{};
    resource.dwType = RESOURCETYPE_ANY;
    resource.lpRemoteName = remote_name_.data();
    const wchar_t* const password = password_.text().empty() ? nullptr : password_.text().c_str();
    const DWORD code = functions_.add(&resource, password, user_.empty() ? nullptr : user_.c_str(), 0);
    switch (code) {
        case NO_ERROR:
            logging::info("Network share was opened.");
            break;
        case ERROR_DEVICE_ALREADY_REMEMBERED:
            logging::info("Network share already opened.");
            break;
        case ERROR_SESSION_CREDENTIAL_CONFLICT:
            logging::info("Network share was opened early but with another credentials set.");
            drop_connections(host_, functions_);
            throw exc::win_sys_exc_t("WNetAddConnection2 function call failed.", code);
        case ERROR_BAD_NETPATH:
            throw exc::win_sys_exc_t("The network path was not found. (ERROR_BAD_NETPATH)", code);
        case ERROR_BAD_NET_NAME:
            throw exc::win_sys_exc_t("The network name cannot be found. (ERROR_BAD_NET_NAME)", code);
        default:
            throw exc::win_sys_exc_t("WNetAddConnection2 function call failed.", code);
    }
    open_ = true;
}

void CAdmPersistentShare::close() {
    if (!std::exchange(open_, false))
        return;
    exc::wrap_errors(
        [&] { return text::format("Failed to close persistent connection to ADMIN$ shared folder on host [%1].", host_); },
        [&] {
            logging::info("Closing persistent connection to ADMIN$ shared folder on host [%1].", host_);
            const DWORD code = functions_.cancel(remote_name_.c_str(), TRUE);
            if (code == ERROR_NOT_CONNECTED)
                logging::info("Connection already closed.");
            else if (code != NO_ERROR)
                throw exc::win_sys_exc_t("WNetCancelConnection function call failed.", code);
        });
}

}  // namespace win
