#pragma once

#include <string>

#include "deploy/deployer_platform.h"

// The installer service's executable on the remote host, reached through the host's ADMIN$ share. Each operation runs under the
// token that is registered for the share.
namespace impl {

// Copies the local file into the share's folder Korva\Backup, over an old copy even where that is hidden or read-only. Returns
// the path of the copy as the host itself names it.
std::wstring copy_executable(const std::wstring& local_path, const std::wstring& host, const deployer_platform_t& platform);

// The executable's path through the share, from the command line of the service as the host has it. Throws where the
// executable does not lie under the share.
std::wstring executable_unc_path(const std::wstring& command_line, const std::wstring& host,
                                 const deployer_platform_t& platform);

// A file that is gone already counts as deleted; one that is still held is tried again for a while.
void delete_executable(const std::wstring& unc_path, const deployer_platform_t& platform);

}  // namespace impl
