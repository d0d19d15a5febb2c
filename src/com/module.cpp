#include "com/module.h"

#include <atomic>

#include "foundation/module_file_name.h"

namespace com::module {
namespace {

std::atomic<long> locks{0};

}  // namespace

void lock() noexcept { locks.fetch_add(1, std::memory_order_relaxed); }

void unlock() noexcept { locks.fetch_sub(1, std::memory_order_release); }

bool in_use() noexcept { return locks.load(std::memory_order_acquire) != 0; }

HMODULE handle() noexcept {
    HMODULE module = nullptr;
    ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                         reinterpret_cast<const wchar_t*>(&locks), &module);
    return module;
}

std::wstring path() { return win::module_file_name(handle(), "Fully-qualified path for the module cannot be retrieved."); }

}  // namespace com::module
