#pragma once

#include <array>
#include <cstdint>
#include <deque>

#include "vdisk/volume_context.h"

namespace impl::vdmount {

// The platform's FILE_REPARSE_POINT_INFORMATION.
struct index_entry_t {
    std::int64_t file_reference;
    std::uint32_t tag;
    std::uint32_t alignment;
};
static_assert(sizeof(index_entry_t) == 16);

// All entries of a volume's reparse index, in blocks of what one query returns: a volume may hold millions, and an array that
// grows in one piece would for a moment take up to three times their size.
class reparse_index_t {
public:
    static constexpr std::size_t pass_size = 1024;
    using pass_t = std::array<index_entry_t, pass_size>;

    std::size_t size() const noexcept { return size_; }
    const index_entry_t& operator[](std::size_t i) const { return passes_[i / pass_size][i % pass_size]; }

    // The buffer of the next pass; `added` then says how many entries came. Only the last pass may be short.
    pass_t& grow() { return passes_.emplace_back(); }
    void added(std::size_t count) noexcept { size_ += count; }

private:
    std::deque<pass_t> passes_;
    std::size_t size_ = 0;
};

// `root` is the volume's root directory. Throws exc::CNtStatusExc.
reparse_index_t read_reparse_index(const volume_context_t& volume, HANDLE root);

}  // namespace impl::vdmount
