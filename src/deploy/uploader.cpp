#include "deploy/uploader.h"

#include "foundation/errors.h"
#include "foundation/format.h"
#include "foundation/nesting.h"
#include "logging/write.h"
#include "rpc/commands/deployment.h"

namespace win {

remote_file_t::~remote_file_t() {
    if (!file_)
        return;
    try {
        rpc::CFcCloseFileMethod close(std::move(file_));
        client_->Call(close);
    } catch (const std::exception&) {
    }
}

std::wstring file_uploader_t::upload_folder() {
    const std::wstring host = client_->host();
    return exc::wrap_errors([&] { return text::format("Failed to define upload folder for host '%1'.", host); },
                            [&] {
                                logging::info("Getting upload folder path for host '%1'.", host);
                                rpc::CSureUploadFolderExistsMethod command;
                                client_->Call(command);
                                std::wstring folder = command.folder();
                                logging::info("Upload folder path: '%1'", folder);
                                return folder;
                            });
}

void file_uploader_t::upload(const std::wstring& local_path, const std::wstring& destination) {
    const std::wstring host = client_->host();
    exc::wrap_errors(
        [&] {
            return text::format("Failed to upload file '%1' to host '%2'. Destination path: '%3'", local_path, host,
                                destination);
        },
        [&] {
            logging::info("Uploading file '%1' to host '%2'. Destination path: '%3'.", local_path, host, destination);
            send(open_local(local_path), local_path, destination);
        });
}

unique_file file_uploader_t::open_local(const std::wstring& path) const {
    unique_file file(files_.open(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    if (!file)
        exc::throw_last_error("Failed to open local file '%1'.", path);
    return file;
}

void file_uploader_t::send(const unique_file& local, const std::wstring& local_path, const std::wstring& destination) {
    rpc::CFcCreateFileMethod create(destination, GENERIC_WRITE, 0, CREATE_ALWAYS, 0);
    client_->Call(create);
    const remote_file_t remote(client_, create.take_file());

    const auto buffer = std::make_unique_for_overwrite<unsigned char[]>(block_size);
    for (;;) {
        DWORD count = 0;
        if (!files_.read(local.get(), buffer.get(), block_size, &count, nullptr))
            exc::throw_last_error("Failed to read from local file '%1'.", local_path);
        if (count == 0)
            break;
        // Repeated, like every command, when its answer is lost. The service gives the file up with the connection: the repeat
        // then fails and does not write the block twice.
        rpc::CFcWriteFileMethod write(remote.handle(), {buffer.get(), count});
        client_->Call(write);
        if (write.written() != count)
            throw exc::runtime_exc_t("Failed to write to destination file");
    }
    logging::info("File was successfully uploaded.");
}

}  // namespace win
