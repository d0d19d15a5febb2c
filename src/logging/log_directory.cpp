#include "logging/log_directory.h"

#include <windows.h>

#include <shlobj.h>

#include "foundation/convert.h"
#include "foundation/errors.h"
#include "foundation/names.h"
#include "logging/registry_values.h"

namespace logging {
namespace {

bool is_separator(char c) { return c == '\\' || c == '/'; }

std::string with_separator(std::string directory) {
    if (directory.empty() || !is_separator(directory.back()))
        directory += '\\';
    return directory;
}

}  // namespace

std::optional<std::string> configured_log_directory() try {
    const win::unique_registry_key key = win::open_machine_key("SOFTWARE\\Korva\\Quorvane", KEY_WOW64_64KEY);
    std::optional<std::string> directory = win::string_value(key, "LogDirectory");
    return directory && !directory->empty() ? directory : std::nullopt;
} catch (const exc::exc_base_t&) {
    return std::nullopt;
}

std::string common_log_directory() {
    wchar_t path[MAX_PATH];
    const HRESULT result = ::SHGetFolderPathW(nullptr, CSIDL_COMMON_APPDATA, nullptr, SHGFP_TYPE_CURRENT, path);
    if (FAILED(result))
        throw exc::win_sys_exc_t("Failed to get the common application data folder.", static_cast<std::uint32_t>(result));
    return text::narrow(path) + "\\Korva\\Backup\\";
}

std::string default_log_directory() {
    const std::optional<std::string> configured = configured_log_directory();
    return configured ? with_separator(*configured) : common_log_directory();
}

std::optional<std::string> tail_below(const std::string& path, std::string directory) {
    directory = with_separator(directory);
    if (path.size() < directory.size() || !is_separator(path[directory.size() - 1]))
        return std::nullopt;
    const std::string_view front = std::string_view(path).substr(0, directory.size() - 1);
    if (!win::same_name(front, std::string_view(directory).substr(0, directory.size() - 1)))
        return std::nullopt;
    return path.substr(directory.size());
}

}  // namespace logging
