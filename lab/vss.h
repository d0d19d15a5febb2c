#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace lab {

struct vss_provider_t {
    GUID id{};
    std::wstring name;
    std::uint32_t type = 0;  // 0 system, 1 hardware, 2 software
    std::wstring version;
    GUID version_id{};
};

// The VSS set-up of a host.
struct vss_t {
    std::vector<vss_provider_t> providers = default_providers();
    // Taken instead of the answer about volumes, and of the writer's document.
    std::optional<std::wstring> volumes_answer, document;
    // Hostile answer: a list of so many providers that brings none of them.
    std::optional<std::uint32_t> providers_missing;

    // The hardware provider takes cluster shared volumes alone, every other known one takes all.
    bool supports(const std::wstring& volume_or_file, const GUID& provider_id) const;

    static std::vector<vss_provider_t> default_providers();
};

}  // namespace lab
