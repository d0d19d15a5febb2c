#pragma once

#include <windows.h>

#include <cstdint>

#include "foundation/handles.h"

namespace win {

// One of the platform's privileges: its place in the platform's list (winnt.h's SE_..._NAME, from 0 for
// SeCreateTokenPrivilege), which is how the log names it, and its name.
struct privilege_t {
    std::uint32_t index;
    const wchar_t* name;
};
inline constexpr privilege_t manage_volume_privilege{27, SE_MANAGE_VOLUME_NAME};
inline constexpr privilege_t create_symbolic_link_privilege{34, SE_CREATE_SYMBOLIC_LINK_NAME};

// A privilege held by the calling thread until this goes, on the same thread. Threads of the host process that do other things
// see nothing of it: a thread that does not impersonate gets a token of its own for that time. A privilege that cannot be given
// up is logged as an error.
class held_privilege_t {
public:
    // Holds nothing.
    held_privilege_t() noexcept = default;
    held_privilege_t(held_privilege_t&& other) noexcept;
    ~held_privilege_t();

private:
    friend held_privilege_t take_privilege(const privilege_t& privilege);

    const wchar_t* name_ = L"";
    unique_handle token_;
    TOKEN_PRIVILEGES before_{};
    bool own_token_ = false;
};

// Throws exc::win_sys_exc_t; code 1300 where the account does not have the privilege.
held_privilege_t take_privilege(const privilege_t& privilege);

}  // namespace win
