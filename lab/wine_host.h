#pragma once

#include <windows.h>

#include <set>
#include <string>
#include <vector>

#include "deploy/deployer_platform.h"

namespace lab {

// This Wine prefix as the host that a deployer deploys to, under the name "localhost". Service control, files, the logon and
// the remote calls are the platform's own; Wine lacks three things, for which this stands in:
//
//   network connections   every one succeeds and is noted
//   share information     ADMIN$ is the Windows folder
//   impersonation         every token is taken, and the thread stays who it is
//
// The share itself is a link that scripts/setup.sh makes in the prefix: \\localhost\ADMIN$ is the Windows folder.
class wine_host_t {
public:
    static constexpr const wchar_t* name = L"localhost";
    static constexpr const char* stand_ins = "network connections, share information and impersonation";

    // Removes what a run that was broken off has left. Throws where that fails or the link is missing.
    wine_host_t();
    wine_host_t(const wine_host_t&) = delete;
    wine_host_t& operator=(const wine_host_t&) = delete;

    // Must outlive what uses the platform.
    void stand_in(impl::deployer_platform_t& platform);

    // Connections that were not closed, and whether the thread still impersonates.
    const std::set<std::wstring>& connections() const { return connections_; }
    bool impersonating() const { return impersonating_; }

    static std::wstring windows_folder();
    // The requests that the service reports as received since the last call, one a line.
    std::vector<std::string> received_by_service();

private:
    std::set<std::wstring> connections_;
    bool impersonating_ = false;
    std::streamoff read_so_far_ = 0;
};

}  // namespace lab
