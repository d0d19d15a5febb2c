#pragma once

#include <cstddef>
#include <span>

#include "rpc/scoped_buf.h"

namespace win::rpc {

// The entries that a list's block really holds, whatever the list says its count is.
template <class List>
auto entries_of(const List& list) noexcept {
    return std::span(list.entries, rpc_buffer_size(list.entries) / sizeof(*list.entries));
}

}  // namespace win::rpc
