#include "deploy/uploader.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "foundation/convert.h"
#include "foundation/system_text.h"
#include "lab/deployment_model.h"
#include "lab/failures.h"
#include "lab/host_model.h"
#include "lab/request_log.h"
#include "lab/server.h"
#include "logging/memory_receiver.h"
#include "tests/foundation/thrown.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
namespace fs = std::filesystem;

// Uploads to the lab's installer service, over real remote calls.
struct Uploader : testing::Test {
    static inline std::unique_ptr<lab::server> server;
    static void SetUpTestSuite() {
        server = std::make_unique<lab::server>(lab::server_options{.integration = false, .invoker = false});
    }
    static void TearDownTestSuite() { server.reset(); }

    std::shared_ptr<win::rpc::CRpcClientBase> client = win::rpc::make_deployment_client();
    win::file_uploader_t uploader{client};
    const fs::path local = fs::temp_directory_path() / L"korva upload.bin";
    const fs::path upload_folder = lab::host()->deployment.upload_folder;
    const fs::path remote = upload_folder / L"remote.bin";
    const std::string names = "file '" + text::narrow(local.wstring()) + "' to host 'localhost'. Destination path: '" +
                              text::narrow(remote.wstring()) + "'";

    Uploader() {
        client->SetEndpoint(L"localhost", server->port());
        client->SetAccount(L"KORVA", L"admin", L"secret");
        fs::create_directories(upload_folder);
        write(local, 1000);
    }
    ~Uploader() override {
        lab::reset();
        std::error_code failed;
        fs::remove(local);
        fs::remove(remote, failed);
        EXPECT_FALSE(failed) << "the service still holds the file: " << failed.message();
        fs::remove_all(upload_folder.parent_path());
    }
    static void write(const fs::path& path, std::size_t size) {
        std::string bytes(size, '\0');
        for (std::size_t i = 0; i < size; ++i)
            bytes[i] = static_cast<char>(i * 2654435761u >> 13);
        std::ofstream(path, std::ios::binary) << bytes;
    }
    static std::string bytes_of(const fs::path& path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    // Of every request since the last call the name, and the size of its block.
    std::vector<std::string> requests() {
        std::vector<std::string> names;
        for (std::string& line : lab::requests().take())
            names.push_back(line.starts_with("FcWriteFile") ? line : line.substr(0, line.find(' ')));
        return names;
    }
    std::vector<std::string> uploading() {
        requests();
        return thrown([&] { uploader.upload(local.wstring(), remote.wstring()); });
    }
};

TEST_F(Uploader, SendsAFileOfAnySizeInBlocksOfHalfAMegabyte) {
    const struct {
        std::size_t size;
        std::vector<std::string> blocks;
    } rows[] = {
        {0, {}}, {1, {"1"}}, {524'288, {"524288"}}, {524'289, {"524288", "1"}}, {1'200'000, {"524288", "524288", "151424"}}};
    for (const auto& row : rows) {
        write(local, row.size);
        EXPECT_THAT(uploading(), ElementsAre("nothing"));
        std::vector<testing::Matcher<std::string>> expected{"FcCreateFile"};
        for (const std::string& block : row.blocks)
            expected.push_back(HasSubstr(block));
        expected.push_back("FcCloseFile");
        EXPECT_THAT(requests(), testing::ElementsAreArray(expected)) << row.size;
        EXPECT_TRUE(bytes_of(remote) == bytes_of(local)) << row.size;
    }
}

TEST_F(Uploader, OpensTheRemoteFileToReplaceItAlone) {
    logging::captured_log_t log;
    write(remote, 5000);
    lab::requests().take();
    EXPECT_EQ(uploader.upload_folder(), upload_folder.wstring());
    uploader.upload(local.wstring(), remote.wstring());
    EXPECT_THAT(lab::requests().take()[1],
                testing::EndsWith("desired_access=1073741824 share_mode=0 creation_disposition=2 flags_and_attributes=0"));
    EXPECT_EQ(fs::file_size(remote), 1000u);
    std::vector<std::string> texts = log.texts();
    std::erase_if(texts, [](const std::string& line) { return line.starts_with("Connecting"); });
    EXPECT_THAT(texts, ElementsAre("Getting upload folder path for host 'localhost'.",
                                   "Upload folder path: '" + text::narrow(upload_folder.wstring()) + "'",
                                   "Uploading " + names + ".", "File was successfully uploaded."));
}

TEST_F(Uploader, ALocalFileThatCannotBeReadSendsNothing) {
    {
        const win::unique_file writer(
            ::CreateFileW(local.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
        EXPECT_THAT(uploading(), ElementsAre("Failed to upload " + names, exc::system_error_text(ERROR_SHARING_VIOLATION),
                                             "Failed to open local file '" + text::narrow(local.wstring()) + "'."));
    }
    fs::remove(local);
    EXPECT_THAT(uploading(), ElementsAre("Failed to upload " + names, exc::system_error_text(ERROR_FILE_NOT_FOUND),
                                         "Failed to open local file '" + text::narrow(local.wstring()) + "'."));
    EXPECT_THAT(requests(), IsEmpty());
}

TEST_F(Uploader, EveryFailureIsToldAndTheRemoteFileClosed) {
    const std::string outer = "Failed to upload " + names;
    lab::host()->deployment.writes_one_byte_less = true;
    EXPECT_THAT(uploading(), ElementsAre(outer, "Failed to write to destination file"));
    EXPECT_THAT(requests(), ElementsAre("FcCreateFile", HasSubstr("1000"), "FcCloseFile"));
    lab::reset();

    lab::set_failure("FcWriteFile", "disk full");
    EXPECT_THAT(uploading(), ElementsAre(outer, "disk full"));
    EXPECT_THAT(requests(), ElementsAre("FcCreateFile", HasSubstr("1000"), "FcCloseFile"));
    lab::clear_failures();

    lab::set_failure("FcCreateFile", "no access");
    EXPECT_THAT(uploading(), ElementsAre(outer, "no access"));
    EXPECT_THAT(requests(), ElementsAre("FcCreateFile")) << "what was not opened is not closed";
    lab::clear_failures();

    win::local_file_functions_t files;
    files.read = [](auto...) { return ::SetLastError(ERROR_CRC), FALSE; };
    EXPECT_THAT(thrown([&] { win::file_uploader_t(client, files).upload(local.wstring(), remote.wstring()); }),
                ElementsAre(outer, exc::system_error_text(ERROR_CRC),
                            "Failed to read from local file '" + text::narrow(local.wstring()) + "'."));
    EXPECT_THAT(requests(), ElementsAre("FcCreateFile", "FcCloseFile"));
}

TEST_F(Uploader, AFailedCloseIsNobodysResult) {
    lab::set_failure("FcCloseFile", "cannot close");
    EXPECT_THAT(uploading(), ElementsAre("nothing"));
    client.reset();
    uploader = win::file_uploader_t(nullptr);
    // With the connection goes, a moment later, what the service still holds.
    std::error_code failed;
    for (int look = 0; fs::remove(remote, failed), failed && look < 250; ++look)
        ::Sleep(20);
}

TEST_F(Uploader, AnUploadFolderThatIsRefusedIsTold) {
    lab::set_failure("SureUploadFolderExists", "no room");
    EXPECT_THAT(thrown([&] { uploader.upload_folder(); }),
                ElementsAre("Failed to define upload folder for host 'localhost'.", "no room"));
}

}  // namespace
