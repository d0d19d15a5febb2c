#include "hv/file_standard_info.h"

#include "logging/write.h"

namespace impl {

CKorvaFileStandardInfo::CKorvaFileStandardInfo(win::rpc::file_standard_info_t value)
    : index_(std::make_shared<CKorvaChangeIndex>(value.index)), value_(std::move(value)) {
    logging::info("KFSI: Create instance");
    logging::info("CTP file name: [%1], Block size: [%2], File options: [%3]", value_.name, value_.block_size, value_.options);
}

}  // namespace impl
