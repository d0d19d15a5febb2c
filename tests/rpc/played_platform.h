#pragma once

#include <map>
#include <string>
#include <vector>

#include "foundation/convert.h"
#include "foundation/format.h"
#include "rpc/client.h"

// A platform for connections that plays failures and notes what it is asked for.
struct played_platform_t {
    std::map<std::string, std::uint32_t> failures;  // status by function
    std::vector<std::uint32_t> compose_statuses;    // taken one by one, where there are any
    std::vector<std::string> calls;
    int bindings_alive = 0;
    int bindings_made = 0;
    int strings_alive = 0;
    SEC_WINNT_AUTH_IDENTITY_W identity{};
    std::wstring identity_texts;  // user, domain and password as the record counts them
    bool has_identity = false;

    std::uint32_t status_of(const std::string& function) { return failures.contains(function) ? failures[function] : 0; }

    static std::string text(RPC_CSTR value) { return value ? reinterpret_cast<const char*>(value) : "none"; }

    template <class... Args>
    void note(std::string_view message, const Args&... args) {
        calls.push_back(text::format(message, args...));
    }

    win::rpc::rpc_functions_t table() {
        win::rpc::rpc_functions_t f;
        f.string_binding_compose = [this](RPC_CSTR host, RPC_CSTR endpoint, RPC_CSTR* out) -> RPC_STATUS {
            note("compose %1 %2", text(host), text(endpoint));
            std::uint32_t status = status_of("compose");
            if (!compose_statuses.empty()) {
                status = compose_statuses.front();
                compose_statuses.erase(compose_statuses.begin());
            }
            if (status == 0) {
                ++strings_alive;
                *out = reinterpret_cast<RPC_CSTR>(const_cast<char*>("string binding"));
            }
            return static_cast<RPC_STATUS>(status);
        };
        f.binding_from_string_binding = [this](RPC_CSTR binding, RPC_BINDING_HANDLE* out) -> RPC_STATUS {
            note("bind %1", text(binding));
            if (const auto status = status_of("bind"))
                return static_cast<RPC_STATUS>(status);
            ++bindings_alive;
            *out = reinterpret_cast<RPC_BINDING_HANDLE>(static_cast<std::intptr_t>(++bindings_made));
            return RPC_S_OK;
        };
        f.string_free = [this](RPC_CSTR* string) -> RPC_STATUS {
            if (*string)
                --strings_alive;
            *string = nullptr;
            return RPC_S_OK;
        };
        f.binding_free = [this](RPC_BINDING_HANDLE* handle) -> RPC_STATUS {
            note("free %1", number(*handle));
            --bindings_alive;
            *handle = nullptr;
            return RPC_S_OK;
        };
        f.make_spn = [this](const wchar_t* service, const wchar_t* host, DWORD* length, wchar_t* spn) -> DWORD {
            const std::wstring name = std::wstring(service) + L"/" + host;
            if (const auto status = status_of(spn ? "spn" : "spn length"))
                return status;
            *length = static_cast<DWORD>(name.size() + 1);
            if (!spn)
                return ERROR_BUFFER_OVERFLOW;
            wcscpy(spn, name.c_str());
            return ERROR_SUCCESS;
        };
        f.binding_set_auth_info = [this](RPC_BINDING_HANDLE handle, wchar_t* principal, unsigned long level,
                                         unsigned long service, void* shown, unsigned long authorisation) -> RPC_STATUS {
            note("authenticate %1 as %2 level %3 service %4 authorisation %5", number(handle), principal, level, service,
                 authorisation);
            has_identity = shown != nullptr;
            if (shown) {
                identity = *static_cast<SEC_WINNT_AUTH_IDENTITY_W*>(shown);
                const auto wide = [](unsigned short* text, unsigned long length) {
                    return std::wstring(reinterpret_cast<wchar_t*>(text), length);
                };
                identity_texts = wide(identity.User, identity.UserLength) + L"|" +
                                 wide(identity.Domain, identity.DomainLength) + L"|" +
                                 wide(identity.Password, identity.PasswordLength);
            }
            return static_cast<RPC_STATUS>(status_of("authenticate"));
        };
        f.ep_resolve_binding = [this](RPC_BINDING_HANDLE handle, RPC_IF_HANDLE) -> RPC_STATUS {
            note("resolve %1", number(handle));
            return static_cast<RPC_STATUS>(status_of("resolve"));
        };
        f.mgmt_set_com_timeout = [this](RPC_BINDING_HANDLE handle, unsigned int timeout) -> RPC_STATUS {
            note("com timeout %1 %2", number(handle), timeout);
            return RPC_S_CANNOT_SUPPORT;  // no failure of a connection
        };
        f.binding_set_option = [this](RPC_BINDING_HANDLE handle, unsigned long option, ULONG_PTR value) -> RPC_STATUS {
            note("option %1 %2 %3", number(handle), option, value);
            return RPC_S_CANNOT_SUPPORT;
        };
        return f;
    }

    static std::intptr_t number(RPC_BINDING_HANDLE handle) { return reinterpret_cast<std::intptr_t>(handle); }
};
