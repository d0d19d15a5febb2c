#include <memory>

#include "foundation/convert.h"
#include "foundation/errors.h"
#include "foundation/module_file_name.h"
#include "logging/default_log.h"
#include "logging/write.h"

namespace logging {
namespace {

constexpr std::string_view ruler = "=============================================================================";

std::string path_of_executable() {
    return text::narrow(win::module_file_name(nullptr, "Fully-qualified path for the executable file cannot be retrieved."));
}

std::string version_of_file(const std::string& path) {
    const std::wstring wide = text::widen(path);
    DWORD unused = 0;
    const DWORD length = ::GetFileVersionInfoSizeW(wide.c_str(), &unused);
    if (length == 0)
        exc::throw_last_error("Size of the version resource is unknown.");
    const auto resource = std::make_unique<char[]>(length);
    if (!::GetFileVersionInfoW(wide.c_str(), 0, length, resource.get()))
        exc::throw_last_error("GetFileVersionInfo() function call has failed.");
    void* found = nullptr;
    UINT found_length = 0;
    if (!::VerQueryValueW(resource.get(), L"\\", &found, &found_length) || found_length < sizeof(VS_FIXEDFILEINFO))
        throw exc::runtime_exc_t("Module version cannot be extracted from the version resource.");
    const auto* fixed = static_cast<const VS_FIXEDFILEINFO*>(found);
    return text::version_text(fixed->dwFileVersionMS, fixed->dwFileVersionLS);
}

OSVERSIONINFOA version_of_os() {
    OSVERSIONINFOA version{};
    version.dwOSVersionInfoSize = sizeof version;
    if (!::GetVersionExA(&version))
        exc::throw_last_error("Failed to retrieve OS version");
    return version;
}

template <class Group>
void guarded(const Group& group) noexcept try {
    group();
} catch (const std::exception& error) {
    log_exception(error);
}

}  // namespace

header_facts_t::header_facts_t()
    : executable_path(path_of_executable), file_version(version_of_file), os_version(version_of_os) {}

void write_log_header(const header_facts_t& facts) noexcept {
    info("");
    info(ruler);
    info("{");
    {
        const log_scope scope;
        guarded([&] {
            const std::string path = facts.executable_path();
            info("Path to the executable module:%1", path);
            info("Agent version:%1", facts.file_version(path));
        });
        guarded([&] {
            const OSVERSIONINFOA version = facts.os_version();
            // Major and minor go in as whole halves: 6.1 reads 0.6.0.1, as readers of these logs expect it.
            info("OS version: %1", text::version_text(version.dwMajorVersion, version.dwMinorVersion));
            info("OS build: %1", version.dwBuildNumber);
            info("OS description: %1", text::from_code_page(version.szCSDVersion));
        });
    }
    info("}");
}

}  // namespace logging
