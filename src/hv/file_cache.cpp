#include "hv/file_cache.h"

#include "logging/write.h"

namespace impl {

CKorvaFileCache::CKorvaFileCache(const win::rpc::file_cache_t& value) : value_(value) {
    logging::info("KFK: Create instance");
    logging::info("Max flat size: [%1], Max indirect size: [%2]", value.max_flat_size, value.max_indirect_size);
}

}  // namespace impl
