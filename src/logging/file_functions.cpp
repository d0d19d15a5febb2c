#include "logging/file_functions.h"

#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <sys/stat.h>
#include <zlib.h>

#include <boost/filesystem/operations.hpp>

namespace logging {
namespace {

HANDLE open_log(const std::wstring& path) {
    return ::CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_ALWAYS,
                         FILE_ATTRIBUTE_NORMAL, nullptr);
}

bool seek_to(HANDLE file, std::uint64_t from_start) {
    LARGE_INTEGER position;
    position.QuadPart = static_cast<LONGLONG>(from_start);
    return ::SetFilePointerEx(file, position, nullptr, FILE_BEGIN) != FALSE;
}

bool size_of(HANDLE file, std::uint64_t& bytes) {
    LARGE_INTEGER size;
    if (!::GetFileSizeEx(file, &size))
        return false;
    bytes = static_cast<std::uint64_t>(size.QuadPart);
    return true;
}

bool create_with_parents(const std::wstring& path) {
    boost::system::error_code error;
    boost::filesystem::create_directories(path, error);
    if (!error)
        return true;
    ::SetLastError(static_cast<DWORD>(error.value()));
    return false;
}

// zlib's own gzopen takes a narrow path and makes a handle that child processes inherit; it goes on from an open file as well.
// Nobody may read the archive before it is whole: who holds it would keep an unfinished one from being deleted.
gzFile open_archive(const std::wstring& path, const char* mode) {
    const int file =
        ::_wsopen(path.c_str(), _O_CREAT | _O_EXCL | _O_WRONLY | _O_BINARY | _O_NOINHERIT, _SH_DENYRW, _S_IREAD | _S_IWRITE);
    if (file == -1)
        return nullptr;
    const gzFile archive = ::gzdopen(file, mode);
    if (!archive) {
        ::_close(file);
        ::DeleteFileW(path.c_str());
        errno = ENOMEM;  // the only reason that gzdopen has, and does not tell
    }
    return archive;
}

}  // namespace

file_functions_t::file_functions_t()
    : open(open_log),
      write([](HANDLE file, const void* bytes, DWORD length, DWORD& written) {
          return ::WriteFile(file, bytes, length, &written, nullptr) != FALSE;
      }),
      read([](HANDLE file, void* buffer, DWORD length, DWORD& got) {
          return ::ReadFile(file, buffer, length, &got, nullptr) != FALSE;
      }),
      seek(seek_to),
      cut([](HANDLE file) { return ::SetEndOfFile(file) != FALSE; }),
      size(size_of),
      flush([](HANDLE file) { return ::FlushFileBuffers(file) != FALSE; }),
      exists([](const std::wstring& path) { return ::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES; }),
      remove([](const std::wstring& path) { return ::DeleteFileW(path.c_str()) != FALSE; }),
      rename(
          [](const std::wstring& from, const std::wstring& to) { return ::MoveFileExW(from.c_str(), to.c_str(), 0) != FALSE; }),
      create_directories(create_with_parents),
      gz_open(open_archive),
      gz_write([](gzFile archive, const void* bytes, unsigned length) { return ::gzwrite(archive, bytes, length); }),
      gz_finish([](gzFile archive) { return ::gzflush(archive, Z_FINISH); }),
      gz_close([](gzFile archive) { return ::gzclose(archive); }) {}

}  // namespace logging
