#pragma once

#include <windows.h>

#include <cstdint>

#include "rpc/values.h"

namespace impl {

// Where a tracked file stands: the change-tracking generation that counts its changes, and the count. Its setters change
// this copy alone; the host learns of them when the index is passed to SetFileCTIndex.
class CKorvaChangeIndex {
public:
    explicit CKorvaChangeIndex(const win::rpc::change_index_t& value);

    const GUID& GenerationID() const noexcept { return value_.generation_id; }
    void SetGenerationID(const GUID& generation_id) noexcept { value_.generation_id = generation_id; }
    std::uint16_t CurrentIndex() const noexcept { return value_.current_index; }
    void SetCurrentIndex(std::uint16_t current_index) noexcept { value_.current_index = current_index; }

    const win::rpc::change_index_t& value() const noexcept { return value_; }

private:
    win::rpc::change_index_t value_;
};

}  // namespace impl
