#include "deploy/impersonation_tokens.h"

#include <algorithm>

#include "deploy/unc_path.h"
#include "logging/write.h"

namespace win {

bool name_less_t::operator()(const std::wstring& left, const std::wstring& right) const noexcept {
    return ::CompareStringOrdinal(left.data(), static_cast<int>(left.size()), right.data(), static_cast<int>(right.size()),
                                  TRUE) == CSTR_LESS_THAN;
}

win_impersonation_tokens_map_t::~win_impersonation_tokens_map_t() {
    try {
        const std::lock_guard guard(lock_);
        shares_.clear();
    } catch (const std::exception& error) {
        logging::error_with(error, "Failed to destroy WinImpersonationTokensMap");
    }
}

win_impersonation_tokens_map_t::token_t win_impersonation_tokens_map_t::find(std::wstring_view path) const {
    const std::wstring_view share = share_of(path);
    if (share.empty())
        return nullptr;
    const std::lock_guard guard(lock_);
    const auto found = shares_.find(std::wstring(share));
    if (found == shares_.end())
        return nullptr;
    logging::debug("Found impersonation token for share [%1].", share);
    const auto& entries = found->second;
    const auto own = [thread = ::GetCurrentThreadId()](const entry_t& entry) { return entry.thread == thread; };
    const auto newest = std::find_if(entries.rbegin(), entries.rend(), own);
    return newest != entries.rend() ? newest->token : entries.back().token;
}

void win_impersonation_tokens_map_t::add(const std::wstring& share, token_t token) {
    const std::lock_guard guard(lock_);
    std::vector<entry_t>& entries = shares_[share];
    entries.push_back({::GetCurrentThreadId(), std::move(token)});
}

void win_impersonation_tokens_map_t::remove(const std::wstring& share) noexcept {
    const std::lock_guard guard(lock_);
    const auto found = shares_.find(share);
    if (found == shares_.end())
        return;
    auto& entries = found->second;
    const auto own = [thread = ::GetCurrentThreadId()](const entry_t& entry) { return entry.thread == thread; };
    const auto newest = std::find_if(entries.rbegin(), entries.rend(), own);
    if (newest != entries.rend())
        entries.erase(std::next(newest).base());
    if (entries.empty())
        shares_.erase(found);
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
    before_ = current_impersonation();
    if (before_ != token_->token())
        impersonate(token_->token(), functions_);
    win_impersonation_counter_t::of_thread().enter();
}

file_operation_t::~file_operation_t() {
    if (!token_)
        return;
    win_impersonation_counter_t::of_thread().leave();
    if (before_ == token_->token())
        return;
    try {
        impersonate(before_, functions_);
    } catch (const std::exception& error) {
        logging::log_exception(error);
    }
}

}  // namespace win
