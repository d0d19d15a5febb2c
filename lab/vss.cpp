#include "lab/vss.h"

#include <algorithm>

namespace lab {

std::vector<vss_provider_t> vss_t::default_providers() {
    return {
        {{0xb5946137, 0x7b9f, 0x4925, {0xaf, 0x80, 0x51, 0xab, 0xd6, 0x0b, 0x20, 0xd5}},
         L"System provider",
         0,
         L"1.0.0.7",
         {0x00000001, 0x0000, 0x0000, {0, 0, 0, 0, 0, 0, 0, 7}}},
        {{0x3f1b6c2a, 0x51d4, 0x4e0b, {0x9c, 0x77, 0x1d, 0x2e, 0x3a, 0x4b, 0x5c, 0x6d}},
         L"Lab array provider",
         1,
         L"2.4",
         {0x7d0c9a11, 0x8e42, 0x4b3f, {0xa0, 0x15, 0x66, 0x27, 0x38, 0x49, 0x5a, 0x6b}}},
    };
}

bool vss_t::supports(const std::wstring& volume_or_file, const GUID& provider_id) const {
    constexpr std::uint32_t hardware = 1;
    const auto found = std::ranges::find(providers, provider_id, &vss_provider_t::id);
    return found != providers.end() && (found->type != hardware || volume_or_file.starts_with(LR"(C:\ClusterStorage\)"));
}

}  // namespace lab
