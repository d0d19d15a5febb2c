#pragma once

#include "foundation/unique_resource.h"

namespace win {

// Kernel objects whose creation fails with a null handle (mutexes, tokens, ...).
struct kernel_handle_traits {
    using handle = HANDLE;
    static handle invalid() noexcept { return nullptr; }
    static void close(handle h) noexcept { ::CloseHandle(h); }
};
using unique_handle = unique_resource<kernel_handle_traits>;

// Files and directories: CreateFile fails with INVALID_HANDLE_VALUE.
struct file_handle_traits {
    using handle = HANDLE;
    static handle invalid() noexcept { return INVALID_HANDLE_VALUE; }
    static void close(handle h) noexcept { ::CloseHandle(h); }
};
using unique_file = unique_resource<file_handle_traits>;

struct registry_key_traits {
    using handle = HKEY;
    static handle invalid() noexcept { return nullptr; }
    static void close(handle h) noexcept { ::RegCloseKey(h); }
};
using unique_registry_key = unique_resource<registry_key_traits>;

struct local_memory_traits {
    using handle = void*;
    static handle invalid() noexcept { return nullptr; }
    static void close(handle h) noexcept { ::LocalFree(h); }
};
using unique_local_memory = unique_resource<local_memory_traits>;

}  // namespace win
