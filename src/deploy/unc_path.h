#pragma once

#include <optional>
#include <string>
#include <string_view>

// Paths of the form \\server\rest and the names in them.
namespace win {

// The name up to its first ".", or the whole name.
std::wstring_view short_host_name(std::wstring_view name);

struct unc_path_t {
    std::wstring server;
    std::wstring short_name;
    std::wstring rest;  // behind the "\" that ends the server
};

// A path of another form gives nothing when `quiet`, else an exc::runtime_exc_t.
std::optional<unc_path_t> parse_unc(std::wstring_view path, bool quiet);

// "\\server\share" of a path under it; empty for a path that is not under a share.
std::wstring_view share_of(std::wstring_view path);

// Joined by one "\", whether or not the folder already ends in one.
std::wstring join_path(std::wstring_view folder, std::wstring_view rest);

// What follows the last separator.
std::wstring_view file_name_of(std::wstring_view path);

}  // namespace win
