#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "hv/change_index.h"
#include "rpc/values.h"

namespace impl {

// What the driver knows of a tracked file.
class CKorvaFileStandardInfo {
public:
    explicit CKorvaFileStandardInfo(win::rpc::file_standard_info_t value);

    const std::shared_ptr<CKorvaChangeIndex>& Index() const noexcept { return index_; }
    // Bytes of the file that one mark of the change map stands for.
    std::uint32_t BlockSize() const noexcept { return value_.block_size; }
    const std::wstring& CTPFileName() const noexcept { return value_.name; }
    std::uint32_t FileOptions() const noexcept { return value_.options; }

private:
    std::shared_ptr<CKorvaChangeIndex> index_;
    win::rpc::file_standard_info_t value_;
};

}  // namespace impl
