#include "com/module.h"

#include <atomic>

#include "foundation/errors.h"

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

std::wstring path() {
    std::wstring text(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = ::GetModuleFileNameW(handle(), text.data(), static_cast<DWORD>(text.size()));
        if (length == 0)
            exc::throw_last_error("Fully-qualified path for the module cannot be retrieved.");
        if (length < text.size()) {
            text.resize(length);
            return text;
        }
        text.resize(text.size() * 2);  // a path longer than the buffer is cut, not refused
    }
}

}  // namespace com::module
