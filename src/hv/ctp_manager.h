#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "foundation/lock.h"
#include "hv/add_file_result.h"
#include "hv/change_index.h"
#include "hv/file_cache.h"
#include "hv/file_standard_info.h"
#include "rpc/client.h"

namespace impl {

// The remote control of a host's change-tracking driver. All state is the host's; the manager keeps only whether its own Init
// has succeeded. Options are the host's bit flags and pass through unread. Errors pass through as the connection and the
// commands throw them.
class CKorvaHvCtpMngr {
public:
    explicit CKorvaHvCtpMngr(std::shared_ptr<win::rpc::CRpcClientBase> client);
    ~CKorvaHvCtpMngr();
    CKorvaHvCtpMngr(const CKorvaHvCtpMngr&) = delete;
    CKorvaHvCtpMngr& operator=(const CKorvaHvCtpMngr&) = delete;

    // Sends its command until one has succeeded, then nothing any more. A second thread waits for the first one's.
    void Init();
    win::rpc::driver_version_t GetVersion();
    std::wstring BasePath();
    void SetBasePath(const std::wstring& path);

    // The block size is in bytes.
    std::shared_ptr<CKorvaAddFileResult> AddFile(const std::wstring& name, std::uint32_t block_size, std::uint32_t options);
    std::uint32_t GetFileID(const std::wstring& name);
    void RemoveFile(std::uint32_t file_id, std::uint32_t options);
    std::wstring GetFileName(std::uint32_t file_id);
    std::shared_ptr<CKorvaChangeIndex> GetFileCTIndex(std::uint32_t file_id);
    void SetFileCTIndex(std::uint32_t file_id, const CKorvaChangeIndex& index);
    std::shared_ptr<CKorvaFileStandardInfo> GetFileStandardInfo(std::uint32_t file_id);
    // As GetFileStandardInfo, after the driver has written out what it holds in memory.
    std::shared_ptr<CKorvaFileStandardInfo> FlushFileChanges(std::uint32_t file_id);
    std::shared_ptr<CKorvaFileCache> GetFileCache(std::uint32_t file_id);
    void SetFileCache(std::uint32_t file_id, const CKorvaFileCache& cache);

private:
    std::shared_ptr<CKorvaFileStandardInfo> StandardInfo(std::string_view title, std::uint32_t file_id, bool flush);

    const std::shared_ptr<win::rpc::CRpcClientBase> client_;
    win::lock_t init_lock_;
    bool initialised_ = false;
};

}  // namespace impl
