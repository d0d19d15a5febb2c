#pragma once

#include <string>

#include "deploy/network_connections.h"
#include "foundation/secret.h"

namespace win {

inline constexpr const wchar_t* admin_share_name = L"ADMIN$";

// "\\host\ADMIN$"
inline std::wstring admin_share_of(const std::wstring& host) { return L"\\\\" + host + L"\\" + admin_share_name; }

// A network connection to \\host\ADMIN$, made with an account and closed, with force, when the object goes. The connection is
// not remembered in the user's profile. Both ways a failure is wrapped in a text that names the host.
class CAdmPersistentShare {
public:
    // An empty user name or password stands for the caller's own. A host that is connected with other credentials loses all its
    // connections and the constructor still throws: the caller's next attempt succeeds.
    CAdmPersistentShare(std::wstring host, std::wstring user, secret_t password, network_functions_t functions = {});
    ~CAdmPersistentShare();
    CAdmPersistentShare(const CAdmPersistentShare&) = delete;
    CAdmPersistentShare& operator=(const CAdmPersistentShare&) = delete;

    // A connection that is gone already counts as closed. The destructor calls it, and logs what it throws.
    void close();

    const std::wstring& remote_name() const noexcept { return remote_name_; }

private:
    void open();

    std::wstring host_;
    std::wstring user_;
    secret_t password_;
    std::wstring remote_name_;
    network_functions_t functions_;
    bool open_ = false;
};

}  // namespace win
