#pragma once

#include <cstdint>

#include "rpc/values.h"

namespace impl {

// How much of a tracked file's change map the driver may keep in memory, in the driver's units. Its setters change this copy
// alone; the host learns of them when the object is passed to SetFileCache.
class CKorvaFileCache {
public:
    explicit CKorvaFileCache(const win::rpc::file_cache_t& value);

    std::uint64_t MaxFlatSize() const noexcept { return value_.max_flat_size; }
    void SetMaxFlatSize(std::uint64_t size) noexcept { value_.max_flat_size = size; }
    std::uint64_t MaxIndirectSize() const noexcept { return value_.max_indirect_size; }
    void SetMaxIndirectSize(std::uint64_t size) noexcept { value_.max_indirect_size = size; }

    const win::rpc::file_cache_t& value() const noexcept { return value_; }

private:
    win::rpc::file_cache_t value_;
};

}  // namespace impl
