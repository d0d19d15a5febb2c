#include "tests/deploy/played_host.h"

#include <cstring>
#include <memory>

#include "deploy/unc_path.h"
#include "foundation/format.h"

namespace played {
namespace {

std::string hex(DWORD value) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%lX", value);
    return text;
}

std::string or_null(const wchar_t* text) { return text ? text::narrow(text) : "null"; }

BOOL succeeded(DWORD code) {
    ::SetLastError(code);
    return code == 0;
}

std::wstring parent_of(const std::wstring& path) { return path.substr(0, path.rfind(L'\\')); }

}  // namespace

host_t::host_t() {
    add_folder(L"\\\\host\\ADMIN$");
    add_file(L"C:\\console\\KorvaDeploymentSvc.exe");
}

DWORD host_t::enter(const std::string& name, const std::string& arguments) {
    const int nth = ++counts_[name];
    calls.push_back(name + "(" + arguments + ")");
    const auto found = failures_.find(name);
    return found != failures_.end() && (found->second.nth == 0 || found->second.nth == nth) ? found->second.code : 0;
}

std::string host_t::call(const std::string& name) const {
    for (const std::string& call : calls)
        if (call.starts_with(name + "("))
            return call;
    return {};
}

void host_t::install(const std::string& command_line, DWORD state) {
    service_exists = true;
    service_command_line = command_line;
    service_state = state;
}

std::string host_t::left_open() const {
    std::string left;
    const auto note = [&](const char* what, bool open) { left += open ? std::string(what) + " " : ""; };
    note("service handles", open_handles_ != 0);
    note("searches", open_searches_ != 0);
    note("enumerations", open_enumerations_ != 0);
    note("share buffers", open_buffers_ != 0);
    note("share connections", !connected.empty());
    note("impersonation", acting_as != nullptr);
    return left;
}

BOOL host_t::close_handle() {
    if (--open_handles_ == 0 && marked_for_deletion_)
        service_exists = marked_for_deletion_ = false;
    return TRUE;
}

impl::deployer_platform_t host_t::platform() {
    impl::deployer_platform_t platform;
    platform.accounts.logon_user = [this](LPCSTR user, LPCSTR domain, LPCSTR, DWORD, DWORD, PHANDLE token) {
        const DWORD code = enter("LogonUserA", std::string(domain) + "\\" + user);
        if (code == 0)
            *token = ::CreateEventW(nullptr, FALSE, FALSE, nullptr);
        return succeeded(code);
    };
    platform.impersonation.impersonate = [this](HANDLE token) {
        const DWORD code = enter("ImpersonateLoggedOnUser", "");
        if (code == 0)
            acting_as = token;
        return succeeded(code);
    };
    platform.impersonation.revert = [this] {
        const DWORD code = enter("RevertToSelf", "");
        if (code == 0)
            acting_as = nullptr;
        return succeeded(code);
    };
    platform.shares.get_info = [this](LMSTR host, LMSTR share, DWORD level, LPBYTE* buffer) -> DWORD {
        if (const DWORD code = enter("NetShareGetInfo", text::format("%1, %2, %3", host, share, level)))
            return code;
        auto information = std::make_unique<SHARE_INFO_2>();
        information->shi2_path = share_path.data();
        *buffer = reinterpret_cast<BYTE*>(information.release());
        ++open_buffers_;
        return 0;
    };
    platform.shares.free_buffer = [this](LPVOID buffer) -> DWORD {
        delete static_cast<SHARE_INFO_2*>(buffer);
        --open_buffers_;
        return 0;
    };
    add_network_functions(platform.network);
    add_service_functions(platform.services);
    add_file_functions(platform.files);
    return platform;
}

void host_t::add_network_functions(win::network_functions_t& functions) {
    functions.add = [this](LPNETRESOURCEW resource, LPCWSTR password, LPCWSTR user, DWORD flags) -> DWORD {
        const bool other_fields = resource->dwScope || resource->dwType || resource->dwDisplayType || resource->dwUsage ||
                                  resource->lpLocalName || resource->lpComment || resource->lpProvider;
        const DWORD code =
            enter("WNetAddConnection2W", text::format("%1, %2, %3, %4%5", resource->lpRemoteName, or_null(password),
                                                      or_null(user), flags, other_fields ? ", other fields" : ""));
        if (code == 0 || code == ERROR_DEVICE_ALREADY_REMEMBERED)
            connected.insert(resource->lpRemoteName);
        return code;
    };
    functions.cancel = [this](LPCWSTR name, BOOL force) -> DWORD {
        const DWORD code = enter("WNetCancelConnectionW", text::format("%1, %2", name, force));
        connected.erase(name);
        return code;
    };
    functions.open_enumeration = [this](DWORD scope, DWORD type, DWORD usage, LPNETRESOURCEA start, LPHANDLE handle) -> DWORD {
        const DWORD code = enter("WNetOpenEnumA", text::format("%1, %2, %3, %4", scope, type, usage, start ? "start" : "null"));
        if (code == 0) {
            *handle = this;
            ++open_enumerations_;
            next_connection_ = 0;
        }
        return code;
    };
    functions.next_resource = [this](HANDLE, LPDWORD count, LPVOID buffer, LPDWORD size) -> DWORD {
        if (const DWORD code = enter("WNetEnumResourceW", text::format("%1", *count)))
            return code;
        if (next_connection_ == connections.size())
            return ERROR_NO_MORE_ITEMS;
        const std::wstring& name = connections[next_connection_];
        const DWORD needed = static_cast<DWORD>(sizeof(NETRESOURCEW) + (name.size() + 1) * sizeof(wchar_t));
        if (*size < needed) {
            *size = needed;
            return ERROR_MORE_DATA;
        }
        auto* const resource = static_cast<NETRESOURCEW*>(buffer);
        *resource = {};
        if (!name.empty()) {
            resource->lpRemoteName = reinterpret_cast<wchar_t*>(resource + 1);
            std::memcpy(resource->lpRemoteName, name.c_str(), (name.size() + 1) * sizeof(wchar_t));
        }
        ++next_connection_;
        return 0;
    };
    functions.close_enumeration = [this](HANDLE) -> DWORD {
        --open_enumerations_;
        return 0;
    };
}

void host_t::add_service_functions(win::service_functions_t& functions) {
    functions.open_manager = [this](LPCWSTR host, LPCWSTR database, DWORD access) -> SC_HANDLE {
        return succeeded(enter("OpenSCManagerW", or_null(host) + ", " + or_null(database) + ", " + hex(access))) ? new_handle()
                                                                                                                 : nullptr;
    };
    functions.open = [this](SC_HANDLE, LPCWSTR name, DWORD access) -> SC_HANDLE {
        DWORD code = enter("OpenServiceW", text::narrow(name) + ", " + hex(access));
        if (code == 0 && !service_exists)
            code = ERROR_SERVICE_DOES_NOT_EXIST;
        return succeeded(code) ? new_handle() : nullptr;
    };
    functions.create = [this](SC_HANDLE, LPCWSTR name, LPCWSTR display_name, DWORD access, DWORD type, DWORD start, DWORD error,
                              LPCWSTR path, LPCWSTR group, LPDWORD tag, LPCWSTR dependencies, LPCWSTR account,
                              LPCWSTR password) -> SC_HANDLE {
        std::string list;
        for (LPCWSTR each = dependencies; each && *each; each += std::wcslen(each) + 1)
            list += text::narrow(each) + ";";
        const DWORD code =
            enter("CreateServiceW", text::format("%1, %2, %3, %4, %5, %6, %7, %8, %9, %10, %11, %12", name, display_name,
                                                 hex(access), hex(type), start, error, path, or_null(group),
                                                 tag ? "tag" : "null", list, or_null(account), or_null(password)));
        if (code == 0)
            install(text::narrow(path), SERVICE_STOPPED);
        return succeeded(code) ? new_handle() : nullptr;
    };
    functions.start = [this](SC_HANDLE, DWORD count, LPCSTR* arguments) {
        DWORD code = enter("StartServiceA", text::format("%1, %2", count, arguments ? "arguments" : "null"));
        if (code == 0 && service_state == SERVICE_RUNNING)
            code = ERROR_SERVICE_ALREADY_RUNNING;
        if (code == 0) {
            service_state = SERVICE_START_PENDING;
            target_state_ = SERVICE_RUNNING;
            polls_ = 0;
        }
        return succeeded(code);
    };
    functions.control = [this](SC_HANDLE, DWORD control, LPSERVICE_STATUS) {
        DWORD code = enter("ControlService", text::format("%1", control));
        if (code == 0 && service_state == SERVICE_STOPPED)
            code = ERROR_SERVICE_NOT_ACTIVE;
        if (code == 0) {
            service_state = SERVICE_STOP_PENDING;
            target_state_ = SERVICE_STOPPED;
            polls_ = 0;
        }
        return succeeded(code);
    };
    functions.query_status = [this](SC_HANDLE, LPSERVICE_STATUS status) {
        const DWORD code = enter("QueryServiceStatus", "");
        if (++polls_ >= polls_until_state)
            service_state = target_state_;
        status->dwCurrentState = service_state;
        return succeeded(code);
    };
    functions.remove = [this](SC_HANDLE) {
        const DWORD code = enter("DeleteService", "");
        marked_for_deletion_ = code == 0;
        return succeeded(code);
    };
    functions.query_configuration = [this](SC_HANDLE, LPQUERY_SERVICE_CONFIGA found, DWORD size, LPDWORD needed) {
        *needed = static_cast<DWORD>(sizeof *found + service_command_line.size() + 1);
        DWORD code = enter("QueryServiceConfigA", "");
        if (code == 0 && size < *needed)
            code = ERROR_INSUFFICIENT_BUFFER;
        if (code == 0) {
            *found = {};
            found->lpBinaryPathName = reinterpret_cast<char*>(found + 1);
            std::memcpy(found->lpBinaryPathName, service_command_line.c_str(), service_command_line.size() + 1);
        }
        return succeeded(code);
    };
    functions.change_configuration = [this](SC_HANDLE, DWORD level, LPVOID information) {
        if (level == SERVICE_CONFIG_DESCRIPTION)
            return succeeded(
                enter("ChangeServiceConfig2W/1", text::narrow(static_cast<SERVICE_DESCRIPTIONW*>(information)->lpDescription)));
        const auto& actions = *static_cast<SERVICE_FAILURE_ACTIONSW*>(information);
        std::string text = text::format("reset %1, %2, %3, %4 actions", actions.dwResetPeriod, or_null(actions.lpRebootMsg),
                                        or_null(actions.lpCommand), actions.cActions);
        for (DWORD i = 0; i < actions.cActions; ++i)
            text += text::format(" %1/%2", static_cast<int>(actions.lpsaActions[i].Type), actions.lpsaActions[i].Delay);
        return succeeded(enter("ChangeServiceConfig2W/2", text));
    };
    functions.close = [this](SC_HANDLE) { return close_handle(); };
    functions.polls.wait = [this](std::uint32_t milliseconds) { waits.push_back(milliseconds); };
}

void host_t::add_file_functions(win::file_functions_t& functions) {
    functions.create_directory = [this](LPCWSTR path, LPSECURITY_ATTRIBUTES) {
        DWORD code = enter("CreateDirectoryW", text::narrow(path));
        if (code == 0 && has(path))
            code = ERROR_ALREADY_EXISTS;
        if (code == 0 && !has(parent_of(path)))
            code = ERROR_PATH_NOT_FOUND;
        if (code == 0)
            add_folder(path);
        return succeeded(code);
    };
    functions.remove_directory = [this](LPCWSTR path) {
        DWORD code = enter("RemoveDirectoryW", text::narrow(path));
        for (const auto& [name, attributes] : files)
            if (code == 0 && win::same_name(parent_of(name), path))
                code = ERROR_DIR_NOT_EMPTY;
        if (code == 0)
            files.erase(path);
        return succeeded(code);
    };
    functions.get_attributes = [this](LPCWSTR path) -> DWORD {
        DWORD code = enter("GetFileAttributesW", text::narrow(path));
        if (code == 0 && !has(path))
            code = ERROR_FILE_NOT_FOUND;
        return succeeded(code) ? files[path] : INVALID_FILE_ATTRIBUTES;
    };
    functions.set_attributes = [this](LPCWSTR path, DWORD attributes) {
        const DWORD code = enter("SetFileAttributesW", text::narrow(path) + ", " + hex(attributes));
        if (code == 0)
            files[path] = attributes;
        return succeeded(code);
    };
    functions.copy = [this](LPCWSTR from, LPCWSTR to, BOOL fail_if_exists) {
        DWORD code = enter("CopyFileW", text::format("%1, %2, %3", from, to, fail_if_exists));
        if (code == 0 && !has(from))
            code = ERROR_FILE_NOT_FOUND;
        if (code == 0 && has(to) && (files[to] & (FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_READONLY)))
            code = ERROR_ACCESS_DENIED;
        if (code == 0)
            files[to] = files[from];
        return succeeded(code);
    };
    functions.remove = [this](LPCWSTR path) {
        DWORD code = enter("DeleteFileW", text::narrow(path));
        if (code == 0 && !has(path))
            code = ERROR_FILE_NOT_FOUND;
        if (code == 0 && (files[path] & FILE_ATTRIBUTE_READONLY))
            code = ERROR_ACCESS_DENIED;
        if (code == 0)
            files.erase(path);
        return succeeded(code);
    };
    const auto show_next = [this](LPWIN32_FIND_DATAW data) {
        if (next_found_ == found_.size())
            return succeeded(ERROR_NO_MORE_FILES);
        const std::wstring& path = found_[next_found_++];
        *data = {};
        std::wcsncpy(data->cFileName, std::wstring(win::file_name_of(path)).c_str(), MAX_PATH - 1);
        data->dwFileAttributes = has(path) ? files[path] : FILE_ATTRIBUTE_DIRECTORY;
        return TRUE;
    };
    functions.find_first = [this, show_next](LPCWSTR mask, LPWIN32_FIND_DATAW data) -> HANDLE {
        if (!succeeded(enter("FindFirstFileW", text::narrow(mask))))
            return INVALID_HANDLE_VALUE;
        const std::wstring folder = parent_of(mask);
        found_ = {folder + L"\\.", folder + L"\\.."};
        for (const auto& [name, attributes] : files)
            if (win::same_name(parent_of(name), folder))
                found_.push_back(name);
        next_found_ = 0;
        ++open_searches_;
        show_next(data);
        return this;
    };
    functions.find_next = [this, show_next](HANDLE, LPWIN32_FIND_DATAW data) {
        const DWORD code = enter("FindNextFileW", "");
        return code ? succeeded(code) : show_next(data);
    };
    functions.find_close = [this](HANDLE) {
        --open_searches_;
        return TRUE;
    };
    functions.module_handle = [this](LPCWSTR name) -> HMODULE {
        return succeeded(enter("GetModuleHandleW", text::narrow(name))) ? reinterpret_cast<HMODULE>(this) : nullptr;
    };
    functions.module_file_name = [this](HMODULE, LPWSTR path, DWORD size) -> DWORD {
        if (!succeeded(enter("GetModuleFileNameW", "")))
            return 0;
        return static_cast<DWORD>(std::swprintf(path, size, L"%ls", L"C:\\console\\KorvaProxyClient.dll"));
    };
    functions.file_removal.wait =
        functions.folder_removal.wait = [this](std::uint32_t milliseconds) { waits.push_back(milliseconds); };
}

}  // namespace played
