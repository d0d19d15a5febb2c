#include "deploy/impersonation_tokens.h"

#include <algorithm>
#include <mutex>

#include "deploy/unc_path.h"
#include "foundation/names.h"
#include "logging/write.h"

namespace win {

win_impersonation_tokens_map_t::~win_impersonation_tokens_map_t() {
    if (!entries_.empty())  // an operation outlives the map
        logging::error("Failed to destroy WinImpersonationTokensMap");
}

std::vector<win_impersonation_tokens_map_t::entry_t>::const_iterator win_impersonation_tokens_map_t::newest(
    std::wstring_view share) const noexcept {
    const auto found =
        std::find_if(entries_.rbegin(), entries_.rend(), [share, thread = ::GetCurrentThreadId()](const entry_t& entry) {
            return entry.thread == thread && same_name(entry.share, share);
        });
    return found == entries_.rend() ? entries_.end() : std::prev(found.base());
}

win_impersonation_tokens_map_t::token_t win_impersonation_tokens_map_t::find(std::wstring_view path) const {
    const std::wstring_view share = share_of(path);
    if (share.empty())
        return nullptr;
    const std::lock_guard guard(lock_);
    const auto found = newest(share);
    if (found == entries_.end())
        return nullptr;
    logging::debug("Found impersonation token for share [%1].", share);
    return found->token;
}

void win_impersonation_tokens_map_t::add(const std::wstring& share, token_t token) {
    const std::lock_guard guard(lock_);
    entries_.push_back({::GetCurrentThreadId(), share, std::move(token)});
}

void win_impersonation_tokens_map_t::remove(const std::wstring& share) noexcept {
    const std::lock_guard guard(lock_);
    const auto found = newest(share);
    if (found != entries_.end())
        entries_.erase(found);
}

win_impersonation_tokens_map_t& impersonation_tokens() {
    static win_impersonation_tokens_map_t map;
    return map;
}

registered_share_t::registered_share_t(std::wstring share, win_impersonation_tokens_map_t::token_t token)
    : share_(std::move(share)) {
    impersonation_tokens().add(share_, std::move(token));
}

win_impersonation_counter_t& win_impersonation_counter_t::of_thread() noexcept {
    thread_local win_impersonation_counter_t counter;
    return counter;
}

file_operation_t::file_operation_t(std::wstring_view path, impersonation_functions_t functions)
    : functions_(std::move(functions)), token_(impersonation_tokens().find(path)) {
    if (!token_)
        return;
    logging::debug("File operations for path '%1' will be performed under impersonation context.", path);
    settle_impersonation(functions_);
    before_ = current_impersonation();
    if (before_ != token_->token())
        impersonate(token_->token(), functions_);
    win_impersonation_counter_t::of_thread().enter();
}

file_operation_t::~file_operation_t() {
    if (!token_)
        return;
    win_impersonation_counter_t::of_thread().leave();
    if (before_ != token_->token())
        restore_impersonation(before_, functions_);
}

}  // namespace win
