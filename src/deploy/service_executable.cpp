#include "deploy/service_executable.h"

#include "deploy/admin_share.h"
#include "deploy/impersonation_tokens.h"
#include "deploy/unc_path.h"
#include "foundation/errors.h"
#include "foundation/format.h"
#include "foundation/names.h"
#include "logging/write.h"

namespace impl {
namespace {

std::wstring local_path_on_host(const std::wstring& host, const std::wstring& relative_path,
                                const deployer_platform_t& platform) {
    const auto scope =
        logging::scoped("KD: Get local path on remote machine [%1] for [%2], [%3]", host, win::admin_share_name, relative_path);
    return win::join_path(win::share_local_path(host, win::admin_share_name, platform.shares), relative_path);
}

// The command line of the service is not quoted when this library wrote it, and may be when somebody else did.
std::wstring_view executable_of(std::wstring_view command_line) {
    if (command_line.starts_with(L'"')) {
        command_line.remove_prefix(1);
        return command_line.substr(0, command_line.find(L'"'));
    }
    return command_line.substr(0, command_line.find(L' '));
}

// What follows the folder and its separator; empty where the path does not lie under the folder. The path comes from the host:
// it must not climb out of the share either.
std::wstring_view path_under(std::wstring_view path, std::wstring_view folder) {
    while (folder.ends_with(L'\\'))
        folder.remove_suffix(1);
    if (path.size() <= folder.size() + 1 || path[folder.size()] != L'\\' ||
        !win::same_name(path.substr(0, folder.size()), folder))
        return {};
    const std::wstring_view rest = path.substr(folder.size() + 1);
    for (std::size_t start = 0; start <= rest.size();) {
        const std::size_t end = std::min(rest.find_first_of(L"\\/", start), rest.size());
        if (rest.substr(start, end - start) == L"..")
            return {};
        start = end + 1;
    }
    return rest;
}

// False where the file is gone.
bool clear_read_only(const std::wstring& path, const win::file_functions_t& files) {
    const auto scope = logging::scoped("KD: Clearing read-only attr from service executable");
    const DWORD attributes = files.get_attributes(path.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES) {
        if ((attributes & FILE_ATTRIBUTE_READONLY) == 0 ||
            files.set_attributes(path.c_str(), attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY)))
            return true;
    }
    if (::GetLastError() != ERROR_FILE_NOT_FOUND)
        exc::throw_last_error("Failed to get file attributes for the service executable");
    logging::info("File not found");
    return false;
}

}  // namespace

std::wstring copy_executable(const std::wstring& local_path, const std::wstring& host, const deployer_platform_t& platform) {
    const auto scope = logging::scoped("Copying file (%1) from the backup console to the remote host.", local_path);
    const win::file_functions_t& files = platform.files;
    const std::wstring file_name(win::file_name_of(local_path));
    const std::wstring unc_folder = win::admin_share_of(host) + L"\\Korva\\Backup";
    const std::wstring unc_file = unc_folder + L"\\" + file_name;
    {
        const win::file_operation_t operation(unc_file, platform.impersonation);
        win::create_folder(unc_folder, files);
        logging::info("UNC path to the executable on the proxy [%1]", unc_file);
        if (files.get_attributes(unc_file.c_str()) != INVALID_FILE_ATTRIBUTES)
            files.set_attributes(unc_file.c_str(), FILE_ATTRIBUTE_NORMAL);  // where it fails, the copy says why
        if (!files.copy(local_path.c_str(), unc_file.c_str(), FALSE))
            exc::throw_last_error(::GetLastError() == ERROR_ACCESS_DENIED
                                      ? "Failed to copy file to the proxy host. May be the file has FILE_ATTRIBUTE_HIDDEN or "
                                        "FILE_ATTRIBUTE_READONLY attribute set."
                                      : "Failed to copy file to the proxy host");
    }
    std::wstring path = local_path_on_host(host, L"Korva\\Backup\\" + file_name, platform);
    logging::info("Local path to the executable on the proxy: [%1}", path);
    return path;
}

std::wstring executable_unc_path(const std::wstring& command_line, const std::wstring& host,
                                 const deployer_platform_t& platform) {
    const std::wstring_view executable = executable_of(command_line);
    const std::wstring folder = win::share_local_path(host, win::admin_share_name, platform.shares);
    const std::wstring_view rest = path_under(executable, folder);
    if (rest.empty())
        throw exc::runtime_exc_t(text::format("Deployment service was moved to the unknown directory. [%1]", executable));
    std::wstring path = win::admin_share_of(host) + L"\\" + std::wstring(rest);
    logging::info("Service local path: [%1]", path);
    return path;
}

void delete_executable(const std::wstring& unc_path, const deployer_platform_t& platform) {
    const auto scope = logging::scoped("KD: Delete service executable");
    const win::file_functions_t& files = platform.files;
    const win::file_operation_t operation(unc_path, platform.impersonation);
    if (!clear_read_only(unc_path, files))
        return;
    DWORD code = ERROR_ACCESS_DENIED;
    for (std::uint32_t attempt = 0; code == ERROR_ACCESS_DENIED && attempt < files.file_removal.attempts; ++attempt) {
        if (files.remove(unc_path.c_str()))
            return;
        code = ::GetLastError();
        if (code == ERROR_FILE_NOT_FOUND) {
            logging::info("File not found");
            return;
        }
        if (code == ERROR_ACCESS_DENIED)
            files.file_removal.wait(files.file_removal.interval_ms);
    }
    throw exc::win_sys_exc_t("Failed to remove deployment service file from the target host", code);
}

}  // namespace impl
