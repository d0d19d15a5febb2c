#pragma once

#include <cstdint>
#include <memory>

#include "hv/change_index.h"
#include "rpc/values.h"

namespace impl {

// What the host answers to a file that it now tracks.
class CKorvaAddFileResult {
public:
    explicit CKorvaAddFileResult(const win::rpc::add_file_result_t& value);

    std::uint32_t FileID() const noexcept { return file_id_; }
    const std::shared_ptr<CKorvaChangeIndex>& Index() const noexcept { return index_; }

private:
    std::uint32_t file_id_;
    std::shared_ptr<CKorvaChangeIndex> index_;
};

}  // namespace impl
