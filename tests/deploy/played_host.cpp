#include "tests/deploy/played_host.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "foundation/format.h"

namespace played {
namespace {

std::string or_null(const wchar_t* text) { return text ? text::narrow(text) : "null"; }

std::wstring parent_of(const std::wstring& path) { return path.substr(0, path.rfind(L'\\')); }

std::wstring short_host_of(const std::wstring& path) {
    const auto parsed = win::parse_unc(path, true);
    return parsed ? parsed->short_name : L"";
}

}  // namespace

host_t::host_t() {
    add_folder(L"\\\\host\\ADMIN$");
    add_file(L"C:\\console\\KorvaDeploymentSvc.exe");
}

DWORD host_t::enter(const std::string& name, const std::string& arguments, reasons_t reasons) {
    const int nth = ++counts_[name];
    calls.push_back(name + "(" + arguments + ")");
    const auto found = failures_.find(name);
    if (found != failures_.end() && (found->second.nth == 0 || found->second.nth == nth))
        return found->second.code;
    for (const auto& [holds, code] : reasons)
        if (holds)
            return code;
    return NO_ERROR;
}

BOOL host_t::answer(const std::string& name, const std::string& arguments, reasons_t reasons) {
    const DWORD code = enter(name, arguments, reasons);
    ::SetLastError(code);
    return code == NO_ERROR;
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
    for (const auto& [handle, kind] : open_)
        left += kind + " ";
    for (const std::wstring& name : connected)
        left += text::narrow(name) + " ";
    return left + (given_back_twice_ ? "given back twice " : "") + (acting_as ? "impersonation " : "");
}

void* host_t::opened(const char* kind, void* handle) {
    if (!handle)
        handle = reinterpret_cast<void*>(++last_handle_);
    open_[handle] = kind;
    return handle;
}

BOOL host_t::given_back(void* handle) {
    if (open_.erase(handle) == 0)
        ++given_back_twice_;
    return TRUE;
}

impl::deployer_platform_t host_t::platform() {
    impl::deployer_platform_t platform;
    platform.accounts.logon_user = [this](LPCSTR user, LPCSTR domain, LPCSTR, DWORD type, DWORD provider, PHANDLE token) {
        const BOOL known = answer("LogonUserA", text::format("%1\\%2, %3, %4", domain, user, type, provider));
        *token = known ? ::CreateEventW(nullptr, FALSE, FALSE, nullptr) : nullptr;
        return known;
    };
    platform.impersonation.impersonate = [this](HANDLE token) {
        const BOOL done = answer("ImpersonateLoggedOnUser", "");
        acting_as = done ? token : acting_as;
        return done;
    };
    platform.impersonation.revert = [this] {
        const BOOL done = answer("RevertToSelf", "");
        acting_as = done ? nullptr : acting_as;
        return done;
    };
    platform.shares.get_info = [this](LMSTR host, LMSTR share, DWORD level, LPBYTE* buffer) -> DWORD {
        if (const DWORD code = enter("NetShareGetInfo", text::format("%1, %2, %3", host, share, level)))
            return code;
        auto information = std::make_unique<SHARE_INFO_2>();
        information->shi2_path = share_path.data();
        *buffer = reinterpret_cast<BYTE*>(information.release());
        opened("share buffer", *buffer);
        return 0;
    };
    platform.shares.free_buffer = [this](LPVOID buffer) -> DWORD {
        given_back(buffer);
        delete static_cast<SHARE_INFO_2*>(buffer);
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
        const bool conflict = std::any_of(connections.begin(), connections.end(), [&](const std::wstring& name) {
            return win::same_name(short_host_of(name), short_host_of(resource->lpRemoteName));
        });
        const DWORD code = enter("WNetAddConnection2W",
                                 text::format("%1, %2, %3, %4%5", resource->lpRemoteName, or_null(password), or_null(user),
                                              flags, other_fields ? ", other fields" : ""),
                                 {{conflict, ERROR_SESSION_CREDENTIAL_CONFLICT}});
        if (code == 0 || code == ERROR_DEVICE_ALREADY_REMEMBERED)
            connected.insert(resource->lpRemoteName);
        return code;
    };
    functions.cancel = [this](LPCWSTR name, BOOL force) -> DWORD {
        const DWORD code = enter("WNetCancelConnectionW", text::format("%1, %2", name, force));
        if (code == 0 || code == ERROR_NOT_CONNECTED) {
            connected.erase(name);
            std::erase_if(connections, [name](const std::wstring& each) { return win::same_name(each, name); });
        }
        return code;
    };
    functions.open_enumeration = [this](DWORD scope, DWORD type, DWORD usage, LPNETRESOURCEA start, LPHANDLE handle) -> DWORD {
        const DWORD code = enter("WNetOpenEnumA", text::format("%1, %2, %3, %4", scope, type, usage, start ? "start" : "null"));
        if (code == 0) {
            *handle = opened("enumeration");
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
    functions.close_enumeration = [this](HANDLE handle) -> DWORD { return given_back(handle), 0; };
}

void host_t::add_service_functions(win::service_functions_t& functions) {
    const auto handle = [this](BOOL made) { return made ? static_cast<SC_HANDLE>(opened("service handle")) : nullptr; };
    const auto change = [this](BOOL begun, DWORD pending, DWORD target) {
        if (begun) {
            service_state = pending;
            target_state_ = target;
            polls_ = 0;
        }
        return begun;
    };
    functions.open_manager = [=, this](LPCWSTR host, LPCWSTR database, DWORD access) {
        return handle(
            answer("OpenSCManagerW", text::format("%1, %2, %3", or_null(host), or_null(database), text::hex8(access))));
    };
    functions.open = [=, this](SC_HANDLE, LPCWSTR name, DWORD access) {
        return handle(answer("OpenServiceW", text::format("%1, %2", name, text::hex8(access)),
                             {{!service_exists, ERROR_SERVICE_DOES_NOT_EXIST}}));
    };
    functions.create = [=, this](SC_HANDLE, LPCWSTR name, LPCWSTR display_name, DWORD access, DWORD type, DWORD start,
                                 DWORD error, LPCWSTR path, LPCWSTR group, LPDWORD tag, LPCWSTR dependencies, LPCWSTR account,
                                 LPCWSTR password) {
        std::string list;
        for (LPCWSTR each = dependencies; each && *each; each += std::wcslen(each) + 1)
            list += text::narrow(each) + ";";
        const BOOL made =
            answer("CreateServiceW", text::format("%1, %2, %3, %4, %5, %6, %7, %8, %9, %10, %11, %12", name, display_name,
                                                  text::hex8(access), type, start, error, path, or_null(group),
                                                  tag ? "tag" : "null", list, or_null(account), or_null(password)));
        if (made)
            install(text::narrow(path), SERVICE_STOPPED);
        return handle(made);
    };
    functions.start = [=, this](SC_HANDLE, DWORD count, LPCSTR* arguments) {
        const BOOL begun = answer("StartServiceA", text::format("%1, %2", count, arguments ? "arguments" : "null"),
                                  {{service_state == SERVICE_RUNNING, ERROR_SERVICE_ALREADY_RUNNING}});
        return change(begun, SERVICE_START_PENDING, SERVICE_RUNNING);
    };
    functions.control = [=, this](SC_HANDLE, DWORD control, LPSERVICE_STATUS) {
        const BOOL begun = answer("ControlService", text::format("%1", control),
                                  {{service_state == SERVICE_STOPPED, ERROR_SERVICE_NOT_ACTIVE}});
        return change(begun, SERVICE_STOP_PENDING, SERVICE_STOPPED);
    };
    functions.query_status = [this](SC_HANDLE, LPSERVICE_STATUS status) {
        if (++polls_ >= polls_until_state)
            service_state = target_state_;
        status->dwCurrentState = service_state;
        return answer("QueryServiceStatus", "");
    };
    functions.remove = [this](SC_HANDLE) { return marked_for_deletion_ = answer("DeleteService", ""); };
    functions.query_configuration = [this](SC_HANDLE, LPQUERY_SERVICE_CONFIGA found, DWORD size, LPDWORD needed) {
        *needed = static_cast<DWORD>(sizeof *found + service_command_line.size() + 1);
        const BOOL read = answer("QueryServiceConfigA", "", {{size < *needed, ERROR_INSUFFICIENT_BUFFER}});
        if (read) {
            *found = {};
            found->lpBinaryPathName = reinterpret_cast<char*>(found + 1);
            std::memcpy(found->lpBinaryPathName, service_command_line.c_str(), service_command_line.size() + 1);
        }
        return read;
    };
    functions.change_configuration = [this](SC_HANDLE, DWORD level, LPVOID information) {
        if (level == SERVICE_CONFIG_DESCRIPTION)
            return answer("ChangeServiceConfig2W/1",
                          text::narrow(static_cast<SERVICE_DESCRIPTIONW*>(information)->lpDescription));
        const auto& actions = *static_cast<SERVICE_FAILURE_ACTIONSW*>(information);
        std::string text = text::format("reset %1, %2, %3, %4 actions", actions.dwResetPeriod, or_null(actions.lpRebootMsg),
                                        or_null(actions.lpCommand), actions.cActions);
        for (DWORD i = 0; i < actions.cActions; ++i)
            text += text::format(" %1/%2", static_cast<int>(actions.lpsaActions[i].Type), actions.lpsaActions[i].Delay);
        return answer("ChangeServiceConfig2W/2", text);
    };
    functions.close = [this](SC_HANDLE handle) {
        given_back(handle);
        if (marked_for_deletion_ && open_.empty())
            service_exists = marked_for_deletion_ = false;
        return TRUE;
    };
    functions.polls.wait = [this](std::uint32_t milliseconds) { waits.push_back(milliseconds); };
}

void host_t::add_file_functions(win::file_functions_t& functions) {
    functions.create_directory = [this](LPCWSTR path, LPSECURITY_ATTRIBUTES) {
        const BOOL made = answer("CreateDirectoryW", text::narrow(path),
                                 {{has(path), ERROR_ALREADY_EXISTS}, {!has(parent_of(path)), ERROR_PATH_NOT_FOUND}});
        if (made)
            add_folder(path);
        return made;
    };
    functions.remove_directory = [this](LPCWSTR path) {
        const bool link = has(path) && (files[path] & FILE_ATTRIBUTE_REPARSE_POINT);
        const bool holds_any = std::any_of(files.begin(), files.end(),
                                           [&](const auto& file) { return win::same_name(parent_of(file.first), path); });
        return answer("RemoveDirectoryW", text::narrow(path), {{holds_any && !link, ERROR_DIR_NOT_EMPTY}}) && files.erase(path);
    };
    functions.get_attributes = [this](LPCWSTR path) -> DWORD {
        return answer("GetFileAttributesW", text::narrow(path), {{!has(path), ERROR_FILE_NOT_FOUND}}) ? files[path]
                                                                                                      : INVALID_FILE_ATTRIBUTES;
    };
    functions.set_attributes = [this](LPCWSTR path, DWORD attributes) {
        const BOOL set = answer("SetFileAttributesW", text::format("%1, %2", path, text::hex8(attributes)));
        if (set)
            files[path] = attributes;
        return set;
    };
    const auto attributes_of = [this](LPCWSTR path) { return has(path) ? files[path] : 0; };
    functions.copy = [=, this](LPCWSTR from, LPCWSTR to, BOOL fail_if_exists) {
        const bool guarded = attributes_of(to) & (FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_READONLY);
        const BOOL copied = answer("CopyFileW", text::format("%1, %2, %3", from, to, fail_if_exists),
                                   {{!has(from), ERROR_FILE_NOT_FOUND}, {guarded, ERROR_ACCESS_DENIED}});
        if (copied)
            files[to] = files[from];
        return copied;
    };
    functions.remove = [=, this](LPCWSTR path) {
        const bool guarded = attributes_of(path) & FILE_ATTRIBUTE_READONLY;
        return answer("DeleteFileW", text::narrow(path),
                      {{!has(path), ERROR_FILE_NOT_FOUND}, {guarded, ERROR_ACCESS_DENIED}}) &&
               files.erase(path);
    };
    const auto show_next = [this](LPWIN32_FIND_DATAW data) {
        if (next_found_ == found_.size())
            return ::SetLastError(ERROR_NO_MORE_FILES), FALSE;
        const std::wstring& path = found_[next_found_++];
        *data = {};
        std::wcsncpy(data->cFileName, std::wstring(win::file_name_of(path)).c_str(), MAX_PATH - 1);
        data->dwFileAttributes = has(path) ? files[path] : FILE_ATTRIBUTE_DIRECTORY;
        return TRUE;
    };
    functions.find_first = [=, this](LPCWSTR mask, LPWIN32_FIND_DATAW data) -> HANDLE {
        if (!answer("FindFirstFileW", text::narrow(mask)))
            return INVALID_HANDLE_VALUE;
        const std::wstring folder = parent_of(mask);
        found_ = {folder + L"\\.", folder + L"\\.."};
        for (const auto& [name, attributes] : files)
            if (win::same_name(parent_of(name), folder))
                found_.push_back(name);
        next_found_ = 0;
        show_next(data);
        return opened("search");
    };
    functions.find_next = [=, this](HANDLE, LPWIN32_FIND_DATAW data) { return answer("FindNextFileW", "") && show_next(data); };
    functions.find_close = [this](HANDLE search) { return given_back(search); };
    functions.module_handle = [this](LPCWSTR name) -> HMODULE {
        return answer("GetModuleHandleW", text::narrow(name)) ? reinterpret_cast<HMODULE>(this) : nullptr;
    };
    functions.module_file_name = [this](HMODULE, LPWSTR path, DWORD size) -> DWORD {
        if (!answer("GetModuleFileNameW", ""))
            return 0;
        return static_cast<DWORD>(std::swprintf(path, size, L"%ls", L"C:\\console\\KorvaProxyClient.dll"));
    };
    functions.file_removal.wait =
        functions.folder_removal.wait = [this](std::uint32_t milliseconds) { waits.push_back(milliseconds); };
}

}  // namespace played
