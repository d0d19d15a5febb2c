#pragma once

#include <cstdint>

#include "hv/shared_record.h"
#include "rpc/values.h"

namespace impl {

// How much of a tracked file's change map the driver may keep in memory, in the driver's units. Its setters change this copy
// alone; the host learns of them when the object is passed to SetFileCache.
class CKorvaFileCache {
public:
    explicit CKorvaFileCache(const win::rpc::file_cache_t& value);

    std::uint64_t MaxFlatSize() const { return value().max_flat_size; }
    void SetMaxFlatSize(std::uint64_t size) { value_.set(&win::rpc::file_cache_t::max_flat_size, size); }
    std::uint64_t MaxIndirectSize() const { return value().max_indirect_size; }
    void SetMaxIndirectSize(std::uint64_t size) { value_.set(&win::rpc::file_cache_t::max_indirect_size, size); }

    win::rpc::file_cache_t value() const { return value_.value(); }

private:
    hv::shared_record_t<win::rpc::file_cache_t> value_;
};

}  // namespace impl
