#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <string>

struct gzFile_s;  // zlib's open file

namespace logging {

// Every call of the rotating log file and its archives that touches a disk; a new table holds the real ones. Those that answer
// a truth value leave the reason of a failure in the thread's last error.
struct file_functions_t {
    file_functions_t();

    // For reading and writing, shared with readers only, made where it is missing, not inherited by child processes. Plain
    // write access on purpose: access that can only append costs more than twice as much on some hosts, and cannot be cut.
    std::function<HANDLE(const std::wstring& path)> open;
    std::function<bool(HANDLE file, const void* bytes, DWORD length, DWORD& written)> write;
    std::function<bool(HANDLE file, void* buffer, DWORD length, DWORD& got)> read;
    std::function<bool(HANDLE file, std::uint64_t from_start)> seek;
    std::function<bool(HANDLE file)> cut;  // at the present position
    std::function<bool(HANDLE file, std::uint64_t& bytes)> size;
    std::function<bool(HANDLE file)> flush;

    std::function<bool(const std::wstring& path)> exists;
    std::function<bool(const std::wstring& path)> remove;
    std::function<bool(const std::wstring& from, const std::wstring& to)> rename;  // fails where `to` exists
    std::function<bool(const std::wstring& path)> create_directories;              // with all missing parents

    // A new archive (fails where one of that name exists), shared with nobody while it is open, not inherited by child
    // processes; null and errno on failure.
    std::function<gzFile_s*(const std::wstring& path, const char* mode)> gz_open;
    std::function<int(gzFile_s* archive, const void* bytes, unsigned length)> gz_write;  // 0 on failure
    std::function<int(gzFile_s* archive)> gz_finish;                                     // a zlib code
    std::function<int(gzFile_s* archive)> gz_close;                                      // a zlib code
};

}  // namespace logging
