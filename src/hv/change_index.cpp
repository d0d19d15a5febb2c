#include "hv/change_index.h"

#include "logging/write.h"

namespace impl {

CKorvaChangeIndex::CKorvaChangeIndex(const win::rpc::change_index_t& value) : value_(value) {
    logging::info("KCI: Create instance");
    logging::info("Generation ID: [%1], Changes index: [%2]", value.generation_id, value.current_index);
}

}  // namespace impl
