#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "foundation/lock.h"
#include "rpc/values.h"

namespace impl {

// The question that a console puts together for IsVolumesSupported, perhaps from several threads.
class CKorvaVssIsVolumesSupportedRequest {
public:
    void Add(std::wstring volume_or_file, const GUID& provider_id);
    std::uint32_t Count() const;
    // Throws exc::win_sys_exc_t with E_INVALIDARG (0x80070057) past the end.
    win::rpc::volume_request_t Get(std::uint32_t index) const;

private:
    mutable win::lock_t lock_;
    std::vector<win::rpc::volume_request_t> pairs_;
};

}  // namespace impl
