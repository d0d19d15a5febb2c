#include "deploy/network_connections.h"

#include <memory>
#include <set>
#include <vector>

#include "deploy/unc_path.h"
#include "foundation/errors.h"
#include "foundation/format.h"
#include "foundation/names.h"
#include "foundation/nesting.h"
#include "logging/write.h"

namespace win {
namespace {

using unique_enumeration = std::unique_ptr<void, std::function<decltype(::WNetCloseEnum)>>;

unique_enumeration start_enumeration(const network_functions_t& functions) {
    HANDLE enumeration = nullptr;
    const DWORD usage = RESOURCEUSAGE_CONNECTABLE | RESOURCEUSAGE_CONTAINER | RESOURCEUSAGE_ATTACHED;
    const DWORD code = functions.open_enumeration(RESOURCE_CONNECTED, RESOURCETYPE_ANY, usage, nullptr, &enumeration);
    if (code != NO_ERROR)
        throw exc::win_sys_exc_t("Failed to start enumeration.", code);
    return unique_enumeration(enumeration, functions.close_enumeration);
}

// Reads the next resource into the buffer; null behind the last.
const NETRESOURCEW* next_resource(HANDLE enumeration, std::vector<std::byte>& buffer, const network_functions_t& functions) {
    NETRESOURCEW probe{};
    DWORD count = 1;
    DWORD size = 0;
    DWORD code = functions.next_resource(enumeration, &count, &probe, &size);
    if (code == ERROR_MORE_DATA) {
        if (size < sizeof(NETRESOURCEW))
            size = sizeof(NETRESOURCEW);
        buffer.resize(size);
        count = 1;
        code = functions.next_resource(enumeration, &count, buffer.data(), &size);
        if (code == NO_ERROR)
            return reinterpret_cast<const NETRESOURCEW*>(buffer.data());
    }
    if (code == ERROR_NO_MORE_ITEMS)
        return nullptr;
    throw exc::win_sys_exc_t("Failed to retrieve details for the next enumerated network resource.", code);
}

using names_t = std::set<std::wstring, name_less_t>;

names_t connections_to(const std::wstring& host, const network_functions_t& functions) {
    names_t chosen;
    const unique_enumeration enumeration = start_enumeration(functions);
    std::vector<std::byte> buffer;
    while (const NETRESOURCEW* const resource = next_resource(enumeration.get(), buffer, functions)) {
        if (!resource->lpRemoteName)
            continue;
        logging::debug("Checking whether [%1] should be canceled.", resource->lpRemoteName);
        const auto name = parse_unc(resource->lpRemoteName, true);
        if (name && (same_name(name->server, host) || same_name(name->short_name, short_host_name(host))))
            chosen.insert(resource->lpRemoteName);
    }
    return chosen;
}

}  // namespace

void drop_connections(const std::wstring& host, const network_functions_t& functions) {
    const auto failure = [&] {
        return text::format("Failed to enumerate persistent connection to network shares on server [%1].", host);
    };
    for (const std::wstring& name : exc::wrap_errors(failure, [&] { return connections_to(host, functions); })) {
        const DWORD code = functions.cancel(name.c_str(), TRUE);
        if (code == ERROR_NOT_CONNECTED)
            continue;  // somebody else was faster
        if (code != NO_ERROR)
            throw exc::win_sys_exc_t(text::format("Failed to cancel persistent network connection [%1].", name), code);
        logging::info("Network connection [%1] was cancelled.", name);
    }
}

}  // namespace win
