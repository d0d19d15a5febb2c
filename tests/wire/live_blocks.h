#pragma once

namespace wire {

// Blocks of the stubs' allocator that are in use, in a program that links live_blocks.cpp.
long live_blocks() noexcept;

}  // namespace wire
