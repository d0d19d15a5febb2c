#include "lab/wine_host.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>

#include "foundation/errors.h"

namespace lab {
namespace {

std::filesystem::path service_log() {
    return std::filesystem::path(wine_host_t::windows_folder()) / L"Temp" / L"KorvaDeploymentSvc.log";
}

// As NetShareGetInfo gives it: one block with the path behind the record, to be freed by NetApiBufferFree.
DWORD admin_share_information(BYTE** buffer) {
    const std::wstring path = wine_host_t::windows_folder();
    const std::size_t bytes = (path.size() + 1) * sizeof(wchar_t);
    void* block = nullptr;
    if (const DWORD code = ::NetApiBufferAllocate(static_cast<DWORD>(sizeof(SHARE_INFO_2) + bytes), &block))
        return code;
    auto* const information = static_cast<SHARE_INFO_2*>(block);
    *information = {};
    information->shi2_path = reinterpret_cast<wchar_t*>(information + 1);
    std::memcpy(information->shi2_path, path.c_str(), bytes);
    *buffer = static_cast<BYTE*>(block);
    return NERR_Success;
}

// Of a run that was broken off.
void remove_leftovers() {
    win::win_svc_t service(std::make_shared<win::win_scm_t>(nullptr, SC_MANAGER_ALL_ACCESS));
    try {
        service.open(L"KorvaDeploymentService", GENERIC_ALL);
    } catch (const exc::win_sys_exc_t& error) {
        if (error.code() != ERROR_SERVICE_DOES_NOT_EXIST)
            throw;
    }
    if (service.is_open()) {
        service.stop();
        service.remove();
    }
    win::remove_folder(wine_host_t::windows_folder() + L"\\Korva");
}

}  // namespace

wine_host_t::wine_host_t() {
    if (::GetFileAttributesW(L"\\\\localhost\\ADMIN$\\system32") == INVALID_FILE_ATTRIBUTES)
        throw exc::runtime_exc_t("\\\\localhost\\ADMIN$ is no folder here: run scripts/setup.sh.");
    remove_leftovers();
    std::error_code held;  // by a service that has just stopped; then what it wrote is passed over
    std::filesystem::remove(service_log(), held);
    received_by_service();
}

void wine_host_t::stand_in(impl::deployer_platform_t& platform) {
    platform.network.add = [this](NETRESOURCEW* resource, LPCWSTR, LPCWSTR, DWORD) -> DWORD {
        connections_.insert(resource->lpRemoteName);
        return NO_ERROR;
    };
    platform.network.cancel = [this](LPCWSTR name, BOOL) -> DWORD {
        return connections_.erase(name) ? NO_ERROR : ERROR_NOT_CONNECTED;
    };
    platform.shares.get_info = [](LMSTR, LMSTR, DWORD, BYTE** buffer) -> DWORD { return admin_share_information(buffer); };
    platform.impersonation.impersonate = [this](HANDLE) { return impersonating_ = true, TRUE; };
    platform.impersonation.revert = [this] { return impersonating_ = false, TRUE; };
}

std::wstring wine_host_t::windows_folder() {
    wchar_t path[MAX_PATH] = {};
    ::GetWindowsDirectoryW(path, MAX_PATH);
    return path;
}

std::vector<std::string> wine_host_t::received_by_service() {
    std::vector<std::string> lines;
    std::ifstream log(service_log());
    log.seekg(read_so_far_);
    for (std::string line; std::getline(log, line); read_so_far_ = log.tellg()) {
        if (line.ends_with('\r'))
            line.pop_back();
        lines.push_back(line);
    }
    return lines;
}

}  // namespace lab
