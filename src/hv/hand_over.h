#pragma once

#include <functional>
#include <memory>

namespace impl {

// Passes a new object on to whoever asked for it, while the operation that made it is still under way: where that fails, the
// operation fails.
template <class Object>
using hand_over_t = std::function<void(std::shared_ptr<Object>)>;

}  // namespace impl
