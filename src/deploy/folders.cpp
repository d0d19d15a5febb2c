#include "deploy/folders.h"

#include <memory>
#include <string_view>
#include <vector>

#include "deploy/unc_path.h"
#include "foundation/errors.h"
#include "foundation/format.h"
#include "foundation/module_file_name.h"
#include "foundation/nesting.h"
#include "logging/write.h"

namespace win {
namespace {

// Of "\\host\share\a" the length of "\\host\share\", of "C:\a" that of "C:\": what no call can create.
std::size_t root_length(std::wstring_view path) {
    if (const std::wstring_view share = share_of(path); !share.empty())
        return share.size() + 1;
    return path.size() > 3 && path[1] == L':' && path[2] == L'\\' ? 3 : 0;
}

bool is_folder(const std::wstring& path, const file_functions_t& functions) {
    const DWORD attributes = functions.get_attributes(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

void create_levels(const std::wstring& path, const file_functions_t& functions) {
    const std::size_t root = root_length(path);
    if (root == 0 || root >= path.size())
        throw exc::runtime_exc_t(text::format("Invalid folder path: [%1].", path));
    for (std::size_t end = root; end < path.size();) {
        end = path.find(L'\\', end + 1);
        if (end == std::wstring::npos)
            end = path.size();
        const std::wstring level = path.substr(0, end);
        if (is_folder(level, functions) || functions.create_directory(level.c_str(), nullptr))
            continue;
        const DWORD code = ::GetLastError();
        if (code != ERROR_ALREADY_EXISTS || !is_folder(level, functions))
            throw exc::win_sys_exc_t(text::format("CreateDirectory(%1) function call failed.", level), code);
    }
}

struct found_t {
    std::wstring path;
    DWORD attributes;
};

// The whole content at once, so that nothing is removed under a running search.
std::vector<found_t> content_of(const std::wstring& folder, const file_functions_t& functions) {
    const std::wstring mask = join_path(folder, L"*");
    const auto fail = [&] { exc::throw_last_error("File search operation has failed. Search mask: [%1].", mask); };
    std::vector<found_t> content;
    WIN32_FIND_DATAW data{};
    const HANDLE search = functions.find_first(mask.c_str(), &data);
    if (search == INVALID_HANDLE_VALUE) {
        if (::GetLastError() != ERROR_FILE_NOT_FOUND)
            fail();
        return content;
    }
    const std::unique_ptr<void, std::function<decltype(::FindClose)>> owner(search, functions.find_close);
    do {
        const std::wstring_view name = data.cFileName;
        if (name != L"." && name != L"..")
            content.push_back({join_path(folder, name), data.dwFileAttributes});
    } while (functions.find_next(search, &data));
    if (::GetLastError() != ERROR_NO_MORE_FILES)
        fail();
    return content;
}

void make_writable(const found_t& found, const file_functions_t& functions) {
    if (found.attributes & FILE_ATTRIBUTE_READONLY)
        functions.set_attributes(found.path.c_str(), FILE_ATTRIBUTE_NORMAL);  // where it fails, the removal says why
}

void remove_emptied(const std::wstring& path, const file_functions_t& functions) {
    const poll_policy_t& tries = functions.folder_removal;
    for (std::uint32_t retry = 0;; ++retry) {
        if (functions.remove_directory(path.c_str()))
            return;
        if (::GetLastError() != ERROR_DIR_NOT_EMPTY || retry + 1 >= tries.attempts)
            exc::throw_last_error("Failed to delete existing empty subfolder: [%1].", path);
        logging::warning("Retrying remove directory '%1'. Retry number: '%2'.", path, retry);
        tries.wait(tries.interval_ms);
    }
}

void remove_tree(const found_t& folder, const file_functions_t& functions) {
    if ((folder.attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) {
        for (const found_t& found : content_of(folder.path, functions)) {
            if (found.attributes & FILE_ATTRIBUTE_DIRECTORY) {
                remove_tree(found, functions);
                continue;
            }
            make_writable(found, functions);
            if (!functions.remove(found.path.c_str()) && ::GetLastError() != ERROR_FILE_NOT_FOUND)
                exc::throw_last_error("Failed to delete file: [%1].", found.path);
        }
    }
    make_writable(folder, functions);
    remove_emptied(folder.path, functions);
}

}  // namespace

std::wstring module_path(const std::wstring& name, const file_functions_t& functions) {
    const HMODULE module = functions.module_handle(name.c_str());
    if (!module)
        exc::throw_last_error("Failed to get module handle for [%1].", name);
    return module_file_name(module, text::format("Fully-qualified path for the module [%1] cannot be retrieved.", name),
                            functions.module_file_name);
}

void create_folder(const std::wstring& path, const file_functions_t& functions) {
    exc::wrap_errors([&] { return text::format("Cannot create folder. Folder path: [%1].", path); },
                     [&] { create_levels(path, functions); });
}

void remove_folder(const std::wstring& path, const file_functions_t& functions) {
    const DWORD attributes = functions.get_attributes(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        const DWORD code = ::GetLastError();
        if (code == ERROR_FILE_NOT_FOUND || code == ERROR_PATH_NOT_FOUND)
            return;
        throw exc::win_sys_exc_t(text::format("The specified directory cannot be removed: [%1].", path), code);
    }
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
        throw exc::runtime_exc_t(text::format("Invalid folder path: [%1].", path));
    remove_tree({path, attributes}, functions);
}

}  // namespace win
