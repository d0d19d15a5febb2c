#include "deploy/unc_path.h"

#include "foundation/errors.h"
#include "foundation/format.h"

namespace win {
namespace {

constexpr std::wstring_view prefix = L"\\\\";

}  // namespace

std::wstring_view short_host_name(std::wstring_view name) { return name.substr(0, name.find(L'.')); }

std::optional<unc_path_t> parse_unc(std::wstring_view path, bool quiet) {
    if (path.size() <= prefix.size() || !path.starts_with(prefix)) {
        if (quiet)
            return std::nullopt;
        throw exc::runtime_exc_t(text::format("Invalid UNC path [%1].", path));
    }
    const std::wstring_view names = path.substr(prefix.size());
    const std::size_t separator = names.find(L'\\');
    if (separator == std::wstring_view::npos) {
        if (quiet)
            return std::nullopt;
        throw exc::runtime_exc_t(text::format("Invalid UNC path [%1]", path));
    }
    const std::wstring_view server = names.substr(0, separator);
    return unc_path_t{std::wstring(server), std::wstring(short_host_name(server)), std::wstring(names.substr(separator + 1))};
}

std::wstring_view share_of(std::wstring_view path) {
    const auto parsed = parse_unc(path, true);
    if (!parsed || parsed->server.empty())
        return {};
    const std::wstring_view rest = parsed->rest;
    const std::size_t share = rest.substr(0, rest.find(L'\\')).size();
    if (share == 0)
        return {};
    return path.substr(0, path.size() - rest.size() + share);
}

std::wstring join_path(std::wstring_view folder, std::wstring_view rest) {
    std::wstring joined(folder);
    if (!joined.ends_with(L'\\'))
        joined += L'\\';
    return joined.append(rest);
}

std::wstring_view file_name_of(std::wstring_view path) {
    const std::size_t separator = path.find_last_of(L"\\/");
    return separator == std::wstring_view::npos ? path : path.substr(separator + 1);
}

}  // namespace win
