#pragma once

#include <windows.h>

#include <functional>
#include <string>

#include "foundation/poll_policy.h"

namespace win {

struct file_functions_t {
    std::function<decltype(::CreateDirectoryW)> create_directory = ::CreateDirectoryW;
    std::function<decltype(::RemoveDirectoryW)> remove_directory = ::RemoveDirectoryW;
    std::function<decltype(::GetFileAttributesW)> get_attributes = ::GetFileAttributesW;
    std::function<decltype(::SetFileAttributesW)> set_attributes = ::SetFileAttributesW;
    std::function<decltype(::CopyFileW)> copy = ::CopyFileW;
    std::function<decltype(::DeleteFileW)> remove = ::DeleteFileW;
    std::function<decltype(::FindFirstFileW)> find_first = ::FindFirstFileW;
    std::function<decltype(::FindNextFileW)> find_next = ::FindNextFileW;
    std::function<decltype(::FindClose)> find_close = ::FindClose;
    std::function<decltype(::GetModuleHandleW)> module_handle = ::GetModuleHandleW;
    std::function<decltype(::GetModuleFileNameW)> module_file_name = ::GetModuleFileNameW;

    // A file that was in use a moment ago is denied for a while; a folder reads as not empty while its last file goes.
    poll_policy_t file_removal{30, 1000};
    poll_policy_t folder_removal{3, 100};
};

// The full path of a module that the process has loaded. Throws exc::win_sys_exc_t.
std::wstring module_path(const std::wstring& name, const file_functions_t& functions = {});

// Creates the folder with all missing parents; one that is there is left as it is. An error names the folder.
void create_folder(const std::wstring& path, const file_functions_t& functions = {});

// Removes the folder with all its files and subfolders, deepest first, read-only ones too. Links and junctions inside it are
// removed, never followed. A folder that is not there counts as removed. An error names the folder.
void remove_folder(const std::wstring& path, const file_functions_t& functions = {});

}  // namespace win
