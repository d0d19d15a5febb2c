#include "tests/deploy/played_host.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <winternl.h>

#include <algorithm>
#include <concepts>
#include <cstring>

#include "deploy/unc_path.h"
#include "foundation/format.h"
#include "foundation/names.h"
#include "logging/write.h"

namespace played {
namespace {

// What is shown of an argument: texts, numbers, and that a pointer is null.
std::string shown(const char* text) { return !text ? "null" : text == std::string_view("secret") ? "the password" : text; }
std::string shown(const wchar_t* text) { return shown(text ? text::narrow(text).c_str() : nullptr); }
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

std::wstring short_host_of(const std::wstring& path) {
    const auto parsed = win::parse_unc(path, true);
    return parsed ? parsed->short_name : L"";
}

}  // namespace

host_t::host_t() : account_(::CreateEventW(nullptr, FALSE, FALSE, nullptr)) {
    std::filesystem::create_directories(at(L"\\\\host\\ADMIN$"));
    std::filesystem::create_directories(at(L"C:\\console"));
    write_all(at(L"C:\\console\\KorvaDeploymentSvc.exe"), "the executable");
}

host_t::~host_t() {
    PUBLIC_OBJECT_BASIC_INFORMATION of{};
    EXPECT_EQ(::NtQueryObject(account_.get(), ObjectBasicInformation, &of, sizeof of, nullptr), 0);
    EXPECT_EQ(of.HandleCount, 1u) << "tokens that nobody closed";
    win::remove_folder(scratch_.path().wstring());  // read-only files too
}

std::filesystem::path host_t::at(std::wstring_view path) const {
    std::wstring inside;
    std::ranges::remove_copy(path.substr(path.find_first_not_of(L'\\')), std::back_inserter(inside), L':');
    return scratch_.path() / inside;
}

void host_t::recover() {
    failures_.clear();
    has_failed_ = false;
    counts_.clear();
    calls.clear();
    waits.clear();
}

DWORD host_t::enter(const std::string& name, const std::string& arguments) {
    calls.push_back(name + "(" + arguments + ")");
    logging::info("> " + calls.back());
    const int nth = ++counts_[name];
    for (const std::string& call : {name, text::format("%1 %2", name, nth)})
        if (const auto found = failures_.find(call); found != failures_.end())
            return has_failed_ = true, found->second;
    return NO_ERROR;
}

template <class Result, class... Args, class Real>
void host_t::record(std::function<Result(Args...)>& function, const char* name, Real real, failure_t<Result> failure) {
    function = [=, this](Args... args) -> Result {
        const DWORD code = enter(name, list_of(args...));
        if (code == NO_ERROR)
            return real(args...);
        ::SetLastError(code);
        return failure(code);
    };
}

template <class Result, class... Args, class Model>
void host_t::play(std::function<Result(Args...)>& function, const char* name, Model model) {
    constexpr bool returns_code = std::is_same_v<Result, DWORD>;
    const auto new_handle = [this, name] { return opened(name); };
    const auto played = [=](Args... args) -> Result {
        DWORD code = NO_ERROR;
        if constexpr (std::is_void_v<decltype(model(args...))>)
            model(args...);
        else
            code = static_cast<DWORD>(model(args...));
        ::SetLastError(code);
        if constexpr (returns_code)
            return code;
        else if constexpr (std::is_same_v<Result, BOOL>)
            return code == NO_ERROR;
        else
            return code == NO_ERROR ? static_cast<Result>(new_handle()) : nullptr;
    };
    record(function, name, played, [](DWORD code) -> Result {
        if constexpr (returns_code)
            return code;
        return {};
    });
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
    play(platform.accounts.logon_user, "LogonUserA", [this](auto, auto, auto, auto, auto, PHANDLE token) {
        const HANDLE self = ::GetCurrentProcess();
        ::DuplicateHandle(self, account_.get(), self, token, 0, FALSE, DUPLICATE_SAME_ACCESS);
    });
    play(platform.impersonation.impersonate, "ImpersonateLoggedOnUser", [this](HANDLE token) { acting_as = token; });
    play(platform.impersonation.revert, "RevertToSelf", [this] { acting_as = nullptr; });
    play(platform.shares.get_info, "NetShareGetInfo", [this](auto, auto, auto, LPBYTE* buffer) {
        static SHARE_INFO_2 information;
        information.shi2_path = const_cast<wchar_t*>(share_path);
        *buffer = static_cast<BYTE*>(opened("share buffer", &information));
    });
    platform.shares.free_buffer = [this](LPVOID buffer) -> DWORD { return given_back(buffer), NO_ERROR; };
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
             for (; *needed; needed += std::wcslen(needed) + 1)
                 logging::info("depends on %1", needed);
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
    play(functions.change_configuration, "ChangeServiceConfig2W", [](SC_HANDLE, DWORD level, LPVOID information) {
        if (level == SERVICE_CONFIG_DESCRIPTION)
            return logging::info("%1", static_cast<SERVICE_DESCRIPTIONW*>(information)->lpDescription);
        const auto& actions = *static_cast<SERVICE_FAILURE_ACTIONSW*>(information);
        logging::info("reset " + list_of(actions.dwResetPeriod, actions.lpRebootMsg, actions.lpCommand));
        for (const SC_ACTION& action : std::span(actions.lpsaActions, actions.cActions))
            logging::info("action %1 after %2 ms", static_cast<int>(action.Type), action.Delay);
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
    record(functions.create_directory, "CreateDirectoryW",
           [this](LPCWSTR path, auto) { return ::CreateDirectoryW(at(path).c_str(), nullptr); });
    record(functions.remove_directory, "RemoveDirectoryW", [this](auto path) { return ::RemoveDirectoryW(at(path).c_str()); });
    record(
        functions.get_attributes, "GetFileAttributesW", [this](auto path) { return ::GetFileAttributesW(at(path).c_str()); },
        [](DWORD) { return INVALID_FILE_ATTRIBUTES; });
    record(functions.set_attributes, "SetFileAttributesW",
           [this](LPCWSTR path, DWORD value) { return ::SetFileAttributesW(at(path).c_str(), value); });
    record(functions.copy, "CopyFileW",
           [this](LPCWSTR from, LPCWSTR to, BOOL) { return ::CopyFileW(at(from).c_str(), at(to).c_str(), FALSE); });
    record(functions.remove, "DeleteFileW", [this](auto path) { return ::DeleteFileW(at(path).c_str()); });
    record(
        functions.find_first, "FindFirstFileW",
        [this](LPCWSTR mask, auto data) { return opened("search", ::FindFirstFileW(at(mask).c_str(), data)); },
        [](DWORD) { return INVALID_HANDLE_VALUE; });
    record(functions.find_next, "FindNextFileW", ::FindNextFileW);
    functions.find_close = [this](HANDLE search) { return given_back(search) && ::FindClose(search); };
    record(functions.module_handle, "GetModuleHandleW", [](auto) { return ::GetModuleHandleW(nullptr); });
    functions.module_file_name = [this](HMODULE, LPWSTR path, DWORD size) -> DWORD {
        ::SetLastError(enter("GetModuleFileNameW", ""));
        return ::GetLastError() ? 0 : static_cast<DWORD>(std::swprintf(path, size, L"C:\\console\\KorvaProxyClient.dll"));
    };
    functions.file_removal.wait =
        functions.folder_removal.wait = [this](std::uint32_t milliseconds) { waits.push_back(milliseconds); };
}

}  // namespace played
