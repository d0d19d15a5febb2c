#include "hv/add_file_result.h"

#include "logging/write.h"

namespace impl {

CKorvaAddFileResult::CKorvaAddFileResult(const win::rpc::add_file_result_t& value)
    : file_id_(value.file_id), index_(std::make_shared<CKorvaChangeIndex>(value.index)) {
    logging::info("KAF: Create instance");
    logging::info("File ID: [%1]", file_id_);
}

}  // namespace impl
