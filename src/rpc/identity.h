#pragma once

#include <rpc.h>
#include <windows.h>

#include <string>
#include <string_view>

#include "foundation/secret.h"

namespace win::rpc {

// An account and the record that shows it to the RPC runtime, which keeps pointers to it: it stays where it is, and as long
// as a binding that it was given to.
class identity_t {
public:
    identity_t(std::wstring_view domain, std::wstring_view user, std::wstring_view password)
        : domain_(domain), user_(user), password_(password) {
        identity_.User = characters(user_);
        identity_.UserLength = static_cast<unsigned long>(user_.size());
        identity_.Domain = characters(domain_);
        identity_.DomainLength = static_cast<unsigned long>(domain_.size());
        identity_.Password = characters(password_.text());
        identity_.PasswordLength = static_cast<unsigned long>(password_.text().size());
        identity_.Flags = SEC_WINNT_AUTH_IDENTITY_UNICODE;
    }
    identity_t(const identity_t&) = delete;
    identity_t& operator=(const identity_t&) = delete;

    // The runtime's functions take it without const; they do not write to it.
    SEC_WINNT_AUTH_IDENTITY_W* identity() const noexcept { return &identity_; }

private:
    static unsigned short* characters(const std::wstring& text) noexcept {
        return reinterpret_cast<unsigned short*>(const_cast<wchar_t*>(text.c_str()));
    }

    std::wstring domain_;
    std::wstring user_;
    secret_t password_;
    mutable SEC_WINNT_AUTH_IDENTITY_W identity_{};
};

}  // namespace win::rpc
