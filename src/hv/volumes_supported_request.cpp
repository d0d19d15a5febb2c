#include "hv/volumes_supported_request.h"

#include "foundation/errors.h"
#include "foundation/format.h"

namespace impl {

void CKorvaVssIsVolumesSupportedRequest::Add(std::wstring volume_or_file, const GUID& provider_id) {
    const std::lock_guard guard(lock_);
    pairs_.push_back({std::move(volume_or_file), provider_id});
}

std::uint32_t CKorvaVssIsVolumesSupportedRequest::Count() const {
    const std::lock_guard guard(lock_);
    return static_cast<std::uint32_t>(pairs_.size());
}

win::rpc::volume_request_t CKorvaVssIsVolumesSupportedRequest::Get(std::uint32_t index) const {
    const std::lock_guard guard(lock_);
    if (index >= pairs_.size())
        throw exc::win_sys_exc_t(text::format("No volume at index %1, the request holds %2.", index, pairs_.size()),
                                 static_cast<std::uint32_t>(E_INVALIDARG));
    return pairs_[index];
}

}  // namespace impl
