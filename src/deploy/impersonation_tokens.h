#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "deploy/impersonation.h"
#include "foundation/lock.h"

// Which user's token the process's file operations use on which share.
namespace win {

// One for the process. A token is for the thread that registered it: an operation never acts as a user whom another thread's
// operation on the same host was given. A share ("\\\\host\\ADMIN$", case ignored) may be registered several times; the newest
// registration counts.
class win_impersonation_tokens_map_t {
public:
    using token_t = std::shared_ptr<const CImpersonator>;

    win_impersonation_tokens_map_t() = default;
    ~win_impersonation_tokens_map_t();
    win_impersonation_tokens_map_t(const win_impersonation_tokens_map_t&) = delete;
    win_impersonation_tokens_map_t& operator=(const win_impersonation_tokens_map_t&) = delete;

    // The calling thread's token for the share that the path lies under; null where there is none.
    token_t find(std::wstring_view path) const;

    void add(const std::wstring& share, token_t token);
    // Takes the calling thread's newest registration of the share back.
    void remove(const std::wstring& share) noexcept;

private:
    struct entry_t {
        DWORD thread;
        std::wstring share;
        token_t token;
    };

    std::vector<entry_t>::const_iterator newest(std::wstring_view share) const noexcept;

    mutable reentrant_lock_t lock_;
    std::vector<entry_t> entries_;
};

win_impersonation_tokens_map_t& impersonation_tokens();

// A share is registered while this lives.
class registered_share_t {
public:
    registered_share_t(std::wstring share, win_impersonation_tokens_map_t::token_t token);
    ~registered_share_t() { impersonation_tokens().remove(share_); }
    registered_share_t(const registered_share_t&) = delete;
    registered_share_t& operator=(const registered_share_t&) = delete;

private:
    std::wstring share_;
};

// The thread's impersonated file operations, counted: an operation may run inside another one.
class win_impersonation_counter_t {
public:
    static win_impersonation_counter_t& of_thread() noexcept;

    bool inside() const noexcept { return count_ != 0; }
    std::uint32_t count() const noexcept { return count_; }
    void enter() noexcept { ++count_; }
    void leave() noexcept { --count_; }

private:
    std::uint32_t count_ = 0;
};

// One file operation on a path: while it lives the thread acts as the user whose token is registered for the path's share, if
// any; then it acts again as it did before.
class file_operation_t {
public:
    explicit file_operation_t(std::wstring_view path, impersonation_functions_t functions = {});
    ~file_operation_t();
    file_operation_t(const file_operation_t&) = delete;
    file_operation_t& operator=(const file_operation_t&) = delete;

private:
    impersonation_functions_t functions_;
    win_impersonation_tokens_map_t::token_t token_;
    HANDLE before_ = nullptr;
};

}  // namespace win
