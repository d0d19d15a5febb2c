#pragma once

#include <windows.h>

#include <cstdint>

#include "hv/shared_record.h"
#include "rpc/values.h"

namespace impl {

// Where a tracked file stands: the change-tracking generation that counts its changes, and the count. Its setters change
// this copy alone; the host learns of them when the index is passed to SetFileCTIndex.
class CKorvaChangeIndex {
public:
    explicit CKorvaChangeIndex(const win::rpc::change_index_t& value);

    GUID GenerationID() const { return value().generation_id; }
    void SetGenerationID(const GUID& generation_id) { value_.set(&win::rpc::change_index_t::generation_id, generation_id); }
    std::uint16_t CurrentIndex() const { return value().current_index; }
    void SetCurrentIndex(std::uint16_t current_index) { value_.set(&win::rpc::change_index_t::current_index, current_index); }

    win::rpc::change_index_t value() const { return value_.value(); }

private:
    hv::shared_record_t<win::rpc::change_index_t> value_;
};

}  // namespace impl
