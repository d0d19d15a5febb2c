#include "tests/deploy/played_host.h"

#include <algorithm>
#include <concepts>
#include <cstring>
#include <memory>

#include "foundation/format.h"

namespace played {
namespace {

// What is shown of an argument: texts, numbers, and that a pointer is null.
std::string shown(const wchar_t* text) { return text ? text::narrow(text) : "null"; }
std::string shown(const char* text) { return text ? text : "null"; }
std::string shown(const void* pointer) { return pointer ? "" : "null"; }
std::string shown(std::integral auto number) {
    return number < 0x10000 ? std::to_string(number) : text::hex8(static_cast<std::uint32_t>(number));
}
std::string shown(NETRESOURCEW* resource) {
    NETRESOURCEW plain{};
    plain.lpRemoteName = resource->lpRemoteName;
    return shown(resource->lpRemoteName) + (std::memcmp(&plain, resource, sizeof plain) == 0 ? "" : " and more");
}

template <class... Args>
std::string list_of(Args... args) {
    std::string list;
    for (const std::string& text : std::initializer_list<std::string>{shown(args)...})
        if (!text.empty())
            list += (list.empty() ? "" : ", ") + text;
    return list;
}

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

DWORD host_t::enter(const std::string& name, const std::string& arguments) {
    const int nth = ++counts_[name];
    calls.push_back(name + "(" + arguments + ")");
    const auto found = failures_.find(name);
    return found != failures_.end() && (found->second.nth == 0 || found->second.nth == nth) ? found->second.code : NO_ERROR;
}

template <class Result, class... Args, class Model>
void host_t::play(std::function<Result(Args...)>& function, const char* name, Model model) {
    function = [=, this](Args... args) -> Result {
        DWORD code = enter(name, list_of(args...));
        if constexpr (std::is_void_v<decltype(model(args...))>) {
            if (code == NO_ERROR)
                model(args...);
        } else if (code == NO_ERROR) {
            code = static_cast<DWORD>(model(args...));
        }
        ::SetLastError(code);
        if constexpr (std::is_same_v<Result, DWORD>)
            return code;
        else if constexpr (std::is_same_v<Result, BOOL>)
            return code == NO_ERROR;
        else if (code == NO_ERROR)
            return static_cast<Result>(opened(name));
        else
            return std::is_same_v<Result, HANDLE> ? static_cast<Result>(INVALID_HANDLE_VALUE) : nullptr;
    };
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

void* host_t::opened(const std::string& kind, void* handle) {
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
    play(platform.accounts.logon_user, "LogonUserA",
         [](auto, auto, auto, auto, auto, PHANDLE token) { *token = ::CreateEventW(nullptr, FALSE, FALSE, nullptr); });
    play(platform.impersonation.impersonate, "ImpersonateLoggedOnUser", [this](HANDLE token) { acting_as = token; });
    play(platform.impersonation.revert, "RevertToSelf", [this] { acting_as = nullptr; });
    play(platform.shares.get_info, "NetShareGetInfo", [this](auto, auto, auto, LPBYTE* buffer) {
        auto information = std::make_unique<SHARE_INFO_2>();
        information->shi2_path = const_cast<wchar_t*>(share_path);
        *buffer = static_cast<BYTE*>(opened("share buffer", information.release()));
    });
    platform.shares.free_buffer = [this](LPVOID buffer) -> DWORD {
        given_back(buffer);
        delete static_cast<SHARE_INFO_2*>(buffer);
        return NO_ERROR;
    };
    play_network(platform.network);
    play_services(platform.services);
    play_files(platform.files);
    return platform;
}

void host_t::play_network(win::network_functions_t& functions) {
    play(functions.add, "WNetAddConnection2W", [this](LPNETRESOURCEW resource, auto...) {
        for (const std::wstring& name : connections)
            if (win::same_name(short_host_of(name), short_host_of(resource->lpRemoteName)))
                return ERROR_SESSION_CREDENTIAL_CONFLICT;
        connected.insert(resource->lpRemoteName);
        return NO_ERROR;
    });
    play(functions.cancel, "WNetCancelConnectionW", [this](LPCWSTR name, auto) {
        connected.erase(name);
        std::erase_if(connections, [name](const std::wstring& each) { return win::same_name(each, name); });
    });
    play(functions.open_enumeration, "WNetOpenEnumA", [this](auto, auto, auto, auto, LPHANDLE handle) {
        *handle = opened("enumeration");
        next_connection_ = 0;
    });
    play(functions.next_resource, "WNetEnumResourceW", [this](HANDLE, LPDWORD, LPVOID buffer, LPDWORD size) {
        if (next_connection_ == connections.size())
            return ERROR_NO_MORE_ITEMS;
        const std::wstring& name = connections[next_connection_];
        const std::size_t needed = sizeof(NETRESOURCEW) + (name.size() + 1) * sizeof(wchar_t);
        if (*size < needed) {
            *size = static_cast<DWORD>(needed);
            return ERROR_MORE_DATA;
        }
        auto* const resource = static_cast<NETRESOURCEW*>(buffer);
        *resource = {};
        if (!name.empty())
            resource->lpRemoteName = std::wcscpy(reinterpret_cast<wchar_t*>(resource + 1), name.c_str());
        ++next_connection_;
        return NO_ERROR;
    });
    functions.close_enumeration = [this](HANDLE handle) -> DWORD { return given_back(handle), NO_ERROR; };
}

void host_t::play_services(win::service_functions_t& functions) {
    const auto change = [this](DWORD target, DWORD code_when_there) -> DWORD {
        if (service_state == target)
            return code_when_there;
        service_state = 0;  // on its way
        target_state_ = target;
        polls_ = 0;
        return NO_ERROR;
    };
    play(functions.open_manager, "OpenSCManagerW", [](auto...) {});
    play(functions.open, "OpenServiceW", [this](auto...) { return service_exists ? NO_ERROR : ERROR_SERVICE_DOES_NOT_EXIST; });
    play(functions.create, "CreateServiceW",
         [this](SC_HANDLE, LPCWSTR, LPCWSTR, DWORD, DWORD, DWORD, DWORD, LPCWSTR path, LPCWSTR, LPDWORD, LPCWSTR needed,
                auto...) {
             install(text::narrow(path), SERVICE_STOPPED);
             service_dependencies.clear();
             for (; *needed; needed += std::wcslen(needed) + 1)
                 service_dependencies += text::narrow(needed) + ";";
         });
    play(functions.start, "StartServiceA", [=](auto...) { return change(SERVICE_RUNNING, ERROR_SERVICE_ALREADY_RUNNING); });
    play(functions.control, "ControlService", [=](auto...) { return change(SERVICE_STOPPED, ERROR_SERVICE_NOT_ACTIVE); });
    play(functions.query_status, "QueryServiceStatus", [this](SC_HANDLE, LPSERVICE_STATUS status) {
        if (++polls_ >= polls_until_state)
            service_state = target_state_;
        status->dwCurrentState = service_state;
    });
    play(functions.remove, "DeleteService", [this](SC_HANDLE) { marked_for_deletion_ = true; });
    play(functions.query_configuration, "QueryServiceConfigA",
         [this](SC_HANDLE, LPQUERY_SERVICE_CONFIGA found, DWORD size, LPDWORD needed) {
             *needed = static_cast<DWORD>(sizeof *found + service_command_line.size() + 1);
             if (size < *needed)
                 return ERROR_INSUFFICIENT_BUFFER;
             *found = {};
             found->lpBinaryPathName = std::strcpy(reinterpret_cast<char*>(found + 1), service_command_line.c_str());
             return NO_ERROR;
         });
    play(functions.change_configuration, "ChangeServiceConfig2W", [this](SC_HANDLE, DWORD level, LPVOID information) {
        if (level == SERVICE_CONFIG_DESCRIPTION) {
            service_description = text::narrow(static_cast<SERVICE_DESCRIPTIONW*>(information)->lpDescription);
            return;
        }
        const auto& actions = *static_cast<SERVICE_FAILURE_ACTIONSW*>(information);
        failure_actions = "reset " + list_of(actions.dwResetPeriod, actions.lpRebootMsg, actions.lpCommand);
        for (DWORD i = 0; i < actions.cActions; ++i)
            failure_actions +=
                text::format(" %1/%2", static_cast<int>(actions.lpsaActions[i].Type), actions.lpsaActions[i].Delay);
    });
    functions.close = [this](SC_HANDLE handle) {
        given_back(handle);
        if (marked_for_deletion_ && open_.empty())
            service_exists = marked_for_deletion_ = false;
        return TRUE;
    };
    functions.polls.wait = [this](std::uint32_t milliseconds) { waits.push_back(milliseconds); };
}

void host_t::play_files(win::file_functions_t& functions) {
    const auto attributes_of = [this](LPCWSTR path) { return has(path) ? files[path] : 0; };
    play(functions.create_directory, "CreateDirectoryW", [this](LPCWSTR path, auto) {
        if (!has(parent_of(path)))
            return ERROR_PATH_NOT_FOUND;
        add_folder(path);
        return NO_ERROR;
    });
    play(functions.remove_directory, "RemoveDirectoryW", [=, this](LPCWSTR path) {
        const bool link = attributes_of(path) & FILE_ATTRIBUTE_REPARSE_POINT;
        for (const auto& [name, attributes] : files)
            if (!link && win::same_name(parent_of(name), path))
                return ERROR_DIR_NOT_EMPTY;
        files.erase(path);
        return NO_ERROR;
    });
    play(functions.set_attributes, "SetFileAttributesW", [this](LPCWSTR path, DWORD attributes) { files[path] = attributes; });
    play(functions.copy, "CopyFileW", [=, this](LPCWSTR from, LPCWSTR to, BOOL) {
        if (attributes_of(to) & (FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_READONLY))
            return ERROR_ACCESS_DENIED;
        files[to] = files.at(from);
        return NO_ERROR;
    });
    play(functions.remove, "DeleteFileW", [=, this](LPCWSTR path) {
        if (attributes_of(path) & FILE_ATTRIBUTE_READONLY)
            return ERROR_ACCESS_DENIED;
        return files.erase(path) ? NO_ERROR : ERROR_FILE_NOT_FOUND;
    });
    functions.get_attributes = [this](LPCWSTR path) -> DWORD {
        const DWORD code = enter("GetFileAttributesW", text::narrow(path));
        ::SetLastError(code ? code : ERROR_FILE_NOT_FOUND);
        return code == NO_ERROR && has(path) ? files[path] : INVALID_FILE_ATTRIBUTES;
    };
    const auto show_next = [this](LPWIN32_FIND_DATAW data) {
        if (found_.empty())
            return ERROR_NO_MORE_FILES;
        *data = {};
        std::wcsncpy(data->cFileName, std::wstring(win::file_name_of(found_.back())).c_str(), MAX_PATH - 1);
        data->dwFileAttributes = has(found_.back()) ? files[found_.back()] : FILE_ATTRIBUTE_DIRECTORY;
        found_.pop_back();
        return NO_ERROR;
    };
    play(functions.find_first, "FindFirstFileW", [=, this](LPCWSTR mask, LPWIN32_FIND_DATAW data) {
        const std::wstring folder = parent_of(mask);
        found_ = {folder + L"\\..", folder + L"\\."};
        for (const auto& [name, attributes] : files)
            if (win::same_name(parent_of(name), folder))
                found_.push_back(name);
        return show_next(data);
    });
    play(functions.find_next, "FindNextFileW", [=](HANDLE, LPWIN32_FIND_DATAW data) { return show_next(data); });
    functions.find_close = [this](HANDLE search) { return given_back(search); };
    functions.module_handle = [this](LPCWSTR name) {
        ::SetLastError(enter("GetModuleHandleW", text::narrow(name)));
        return ::GetLastError() ? nullptr : reinterpret_cast<HMODULE>(this);
    };
    functions.module_file_name = [this](HMODULE, LPWSTR path, DWORD size) -> DWORD {
        ::SetLastError(enter("GetModuleFileNameW", ""));
        return ::GetLastError() ? 0 : static_cast<DWORD>(std::swprintf(path, size, L"C:\\console\\KorvaProxyClient.dll"));
    };
    functions.file_removal.wait =
        functions.folder_removal.wait = [this](std::uint32_t milliseconds) { waits.push_back(milliseconds); };
}

}  // namespace played
