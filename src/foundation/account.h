#pragma once

#include <string>
#include <string_view>

// The one rule by which every object reads an account that the console gives it.
namespace win {

struct account_t {
    std::wstring domain;
    std::wstring user;

    // domain\user
    std::wstring full_name() const { return domain + L'\\' + user; }
};

// Splits at the first "\"; a name without one belongs to the local machine, written ".". A name in principal form
// (user, at-sign, domain) is not split.
inline account_t split_account(std::wstring_view name) {
    const std::size_t separator = name.find(L'\\');
    if (separator == std::wstring_view::npos)
        return {L".", std::wstring(name)};
    return {std::wstring(name.substr(0, separator)), std::wstring(name.substr(separator + 1))};
}

}  // namespace win
