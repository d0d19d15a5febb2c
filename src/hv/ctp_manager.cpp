#include "hv/ctp_manager.h"

#include "logging/write.h"
#include "rpc/commands/hv_tracking.h"

namespace impl {

CKorvaHvCtpMngr::CKorvaHvCtpMngr(std::shared_ptr<win::rpc::CRpcClientBase> client) : client_(std::move(client)) {
    logging::info("HCM: Create instance");
}

CKorvaHvCtpMngr::~CKorvaHvCtpMngr() { logging::info("HCM: Destroy instance"); }

void CKorvaHvCtpMngr::Init() {
    logging::info("HCM: Init");
    const std::lock_guard guard(init_lock_);
    if (initialised_)
        return;
    win::rpc::CHvCtpInitMethod command;
    client_->Call(command);
    initialised_ = true;
}

win::rpc::driver_version_t CKorvaHvCtpMngr::GetVersion() {
    logging::info("HCM: Get driver version");
    win::rpc::CHvCtpGetDriverVersionMethod command;
    client_->Call(command);
    const win::rpc::driver_version_t version = command.version();
    logging::info("HCM: Compatible version: [%1], current version: [%2]", version.compatible, version.current);
    return version;
}

std::wstring CKorvaHvCtpMngr::BasePath() {
    logging::info("HCM: Get CT store path");
    win::rpc::CHvCtpGetCTStorePathMethod command;
    client_->Call(command);
    std::wstring path = command.path();
    logging::info("HCM: CT store path: [%1]", path);
    return path;
}

void CKorvaHvCtpMngr::SetBasePath(const std::wstring& path) {
    logging::info("HCM: Set CT store path: [%1}", path);  // the brace is the line's known text
    win::rpc::CHvCtpSetCTStorePathMethod command(path);
    client_->Call(command);
}

std::shared_ptr<CKorvaAddFileResult> CKorvaHvCtpMngr::AddFile(const std::wstring& name, std::uint32_t block_size,
                                                              std::uint32_t options) {
    logging::info("HCM: Register file for change tracking. Name: [%1], Block size: [%2], Options: [%3]", name, block_size,
                  options);
    win::rpc::CHvCtpAddFileMethod command(name, block_size, options);
    client_->Call(command);
    return std::make_shared<CKorvaAddFileResult>(command.added());
}

std::uint32_t CKorvaHvCtpMngr::GetFileID(const std::wstring& name) {
    logging::info("HCM: Get file id by name: [%1]", name);
    win::rpc::CHvCtpGetFileIDMethod command(name);
    client_->Call(command);
    logging::info("File ID: [%1]", command.file_id());
    return command.file_id();
}

void CKorvaHvCtpMngr::RemoveFile(std::uint32_t file_id, std::uint32_t options) {
    logging::info("HCM: De register file from change tracking. ID: [%1], Options: [%2]", file_id, options);
    win::rpc::CHvCtpRemoveFileMethod command(file_id, options);
    client_->Call(command);
}

std::wstring CKorvaHvCtpMngr::GetFileName(std::uint32_t file_id) {
    logging::info("HCM: Get file name by id: [%1]", file_id);
    win::rpc::CHvCtpGetFileNameMethod command(file_id);
    client_->Call(command);
    std::wstring name = command.name();
    logging::info("File name: [%1]", name);
    return name;
}

std::shared_ptr<CKorvaChangeIndex> CKorvaHvCtpMngr::GetFileCTIndex(std::uint32_t file_id) {
    logging::info("HCM: Get file change tracking index: [%1]", file_id);
    win::rpc::CHvCtpGetFileIndexMethod command(file_id);
    client_->Call(command);
    return std::make_shared<CKorvaChangeIndex>(command.index());
}

void CKorvaHvCtpMngr::SetFileCTIndex(std::uint32_t file_id, const CKorvaChangeIndex& index) {
    logging::info("HCM: Set file change tracking index: [%1], Generation ID: [%2], Index: [%3]", file_id, index.GenerationID(),
                  index.CurrentIndex());
    win::rpc::CHvCtpSetFileIndexMethod command(file_id, index.value());
    client_->Call(command);
}

std::shared_ptr<CKorvaFileStandardInfo> CKorvaHvCtpMngr::StandardInfo(std::string_view title, std::uint32_t file_id,
                                                                      bool flush) {
    logging::info("HCM: %1: [%2]", title, file_id);
    win::rpc::CHvCtpGetFileStandardInfoOrFlushChangesMethod command(file_id, flush);
    client_->Call(command);
    return std::make_shared<CKorvaFileStandardInfo>(command.info());
}

std::shared_ptr<CKorvaFileStandardInfo> CKorvaHvCtpMngr::GetFileStandardInfo(std::uint32_t file_id) {
    return StandardInfo("Get file standard info", file_id, false);
}

std::shared_ptr<CKorvaFileStandardInfo> CKorvaHvCtpMngr::FlushFileChanges(std::uint32_t file_id) {
    return StandardInfo("Flush file change tracking", file_id, true);
}

std::shared_ptr<CKorvaFileCache> CKorvaHvCtpMngr::GetFileCache(std::uint32_t file_id) {
    logging::info("HCM: Get file caching settings: [%1]", file_id);
    win::rpc::CHvCtpGetFileCacheMethod command(file_id);
    client_->Call(command);
    return std::make_shared<CKorvaFileCache>(command.cache());
}

void CKorvaHvCtpMngr::SetFileCache(std::uint32_t file_id, const CKorvaFileCache& cache) {
    logging::info("HCM: Set file caching settings: [%1], Max flat size: [%2], Max indirect size: [%3]", file_id,
                  cache.MaxFlatSize(), cache.MaxIndirectSize());
    win::rpc::CHvCtpSetFileCacheMethod command(file_id, cache.value());
    client_->Call(command);
}

}  // namespace impl
