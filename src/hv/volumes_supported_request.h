#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "rpc/values.h"

namespace impl {

// The question that a console puts together for IsVolumesSupported.
class CKorvaVssIsVolumesSupportedRequest {
public:
    void Add(std::wstring volume_or_file, const GUID& provider_id);
    std::uint32_t Count() const noexcept { return static_cast<std::uint32_t>(pairs_.size()); }
    // Throws exc::win_sys_exc_t with E_INVALIDARG (0x80070057) past the end.
    const win::rpc::volume_request_t& Get(std::uint32_t index) const;

private:
    std::vector<win::rpc::volume_request_t> pairs_;
};

}  // namespace impl
