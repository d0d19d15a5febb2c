#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

#include "logging/write.h"

namespace impl {

// What an enumerator says. A text that is null is not logged.
struct enumerator_texts_t {
    const char* next;
    const char* more;
    const char* end;
    const char* current;
    const char* bad_index;
};

// A walk over a list of an answer that starts before the first item: Next steps and tells whether it stands on an item.
template <class Item>
class CEnumerator {
public:
    CEnumerator(std::vector<Item> items, const enumerator_texts_t& texts)
        : items_(std::make_shared<const std::vector<Item>>(std::move(items))), texts_(texts) {}

    // Past the end it goes on counting and answers false.
    bool Next() {
        log(texts_.next);
        const bool more = position(++index_) < items_->size();
        log(more ? texts_.more : texts_.end);
        return more;
    }

    // The item, which keeps the whole list alive. Throws std::out_of_range before the first Next and past the end.
    std::shared_ptr<const Item> Current() const {
        log(texts_.current);
        const std::uint64_t at = position(index_);
        if (at >= items_->size())
            throw std::out_of_range(texts_.bad_index);
        return {items_, &(*items_)[at]};
    }

private:
    // Widened with its sign, so that -1 lies beyond every list.
    static std::uint64_t position(std::int32_t index) noexcept { return static_cast<std::uint64_t>(std::int64_t{index}); }

    static void log(const char* text) {
        if (text)
            logging::info(text);
    }

    std::shared_ptr<const std::vector<Item>> items_;
    const enumerator_texts_t& texts_;
    std::atomic<std::int32_t> index_ = -1;  // atomic: a walk from two threads skips items, it never leaves the list
};

}  // namespace impl
