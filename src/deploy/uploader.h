#pragma once

#include <windows.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "foundation/handles.h"
#include "rpc/client.h"
#include "rpc/remote_file.h"

namespace win {

struct local_file_functions_t {
    std::function<decltype(::CreateFileW)> open = ::CreateFileW;
    std::function<decltype(::ReadFile)> read = ::ReadFile;
};

// A file that the service holds open for this client; the service closes it when the object goes, and whatever happens then is
// nobody's result.
class remote_file_t {
public:
    remote_file_t(std::shared_ptr<rpc::CRpcClientBase> client, rpc::unique_remote_file file)
        : client_(std::move(client)), file_(std::move(file)) {}
    ~remote_file_t();
    remote_file_t(const remote_file_t&) = delete;
    remote_file_t& operator=(const remote_file_t&) = delete;

    const rpc::unique_remote_file& handle() const noexcept { return file_; }

private:
    std::shared_ptr<rpc::CRpcClientBase> client_;
    rpc::unique_remote_file file_;
};

// Sends local files to a host through the file commands of its installer service.
class file_uploader_t {
public:
    // One request carries at most this much.
    static constexpr std::size_t block_size = 0x80000;

    explicit file_uploader_t(std::shared_ptr<rpc::CRpcClientBase> client, local_file_functions_t files = {})
        : client_(std::move(client)), files_(std::move(files)) {}

    // The folder into which the host takes uploads, as the host names it.
    std::wstring upload_folder();

    // Replaces a remote file of that name. A failed upload leaves the part that was sent; the next one replaces it.
    void upload(const std::wstring& local_path, const std::wstring& destination);

private:
    unique_file open_local(const std::wstring& path) const;
    void send(const unique_file& local, const std::wstring& local_path, const std::wstring& destination);

    std::shared_ptr<rpc::CRpcClientBase> client_;
    local_file_functions_t files_;
};

}  // namespace win
