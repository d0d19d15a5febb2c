#include "deploy/uploader.h"

#include <gmock/gmock.h>

#include "deploy/deployer.h"
#include "foundation/format.h"
#include "foundation/system_text.h"
#include "lab/deployment_model.h"
#include "lab/failures.h"
#include "lab/host_model.h"
#include "lab/request_log.h"
#include "lab/server.h"
#include "logging/memory_receiver.h"
#include "tests/expected_texts.h"
#include "tests/files.h"
#include "tests/foundation/thrown.h"

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using lines_t = std::vector<std::string>;

const char expected[] =
#include "tests/deploy/deployer.txt"
    ;

// Uploads to the lab's installer service, and the deployer's other operations on it, over real remote calls.
struct Uploader : testing::Test {
    static inline std::unique_ptr<lab::server> server;
    static void SetUpTestSuite() {
        server = std::make_unique<lab::server>(lab::server_options{.integration = false, .invoker = false});
    }
    static void TearDownTestSuite() { server.reset(); }

    std::shared_ptr<win::rpc::CRpcClientBase> client = win::rpc::make_deployment_client();
    win::file_uploader_t uploader{client};
    impl::CKorvaDeployer deployer{{}, client};
    const scratch_t scratch;  // goes before the connection: the service must not hold a file then
    const std::string local = scratch / "a.dll", upload_folder = scratch / "Upload", remote = upload_folder + "\\remote.dll";
    const std::wstring wide_local = text::widen(local), wide_remote = text::widen(remote);
    const std::string names = "file '" + local + "' to host 'localhost'. Destination path: '" + remote + "'";

    Uploader() {
        client->SetEndpoint(L"localhost", server->port());
        client->SetAccount(L"KORVA", L"admin", L"secret");
        lab::host()->deployment.upload_folder = file_path(upload_folder);
        std::filesystem::create_directory(file_path(upload_folder));
        write_all(local, numbered_lines(1000));
    }
    ~Uploader() override { lab::reset(); }
    // Of every request since the last call the name, and the size of its block.
    lines_t requests() {
        lines_t names;
        for (std::string& line : lab::requests().take())
            names.push_back(line.starts_with("FcWriteFile") ? line : line.substr(0, line.find(' ')));
        return names;
    }
    static std::string block_of(std::size_t size) { return text::format("FcWriteFile data=<%1 bytes>", size); }
    lines_t uploading() {
        requests();
        return thrown([&] { uploader.upload(wide_local, wide_remote); });
    }
};

TEST_F(Uploader, SendsAFileOfAnySizeInBlocksOfHalfAMegabyte) {
    const struct {
        std::size_t size;
        std::vector<std::size_t> blocks;
    } rows[] = {{0, {}}, {524'288, {524'288}}, {524'289, {524'288, 1}}};
    for (const auto& row : rows) {
        write_all(local, numbered_lines(row.size));
        EXPECT_THAT(uploading(), ElementsAre("nothing"));
        lines_t expected{"FcCreateFile"};
        for (const std::size_t block : row.blocks)
            expected.push_back(block_of(block));
        expected.push_back("FcCloseFile");
        EXPECT_EQ(requests(), expected) << row.size;
        EXPECT_TRUE(read_all(remote) == read_all(local)) << row.size;
    }
}

TEST_F(Uploader, OpensTheRemoteFileToReplaceItAlone) {
    write_all(remote, numbered_lines(5000));
    uploader.upload_folder();  // makes the connection
    logging::captured_log_t log;
    lab::requests().take();
    EXPECT_EQ(uploader.upload_folder(), text::widen(upload_folder));
    uploader.upload(wide_local, wide_remote);
    EXPECT_THAT(lab::requests().take()[1],
                testing::EndsWith("desired_access=1073741824 share_mode=0 creation_disposition=2 flags_and_attributes=0"));
    EXPECT_EQ(read_all(remote), read_all(local));
    EXPECT_THAT(log.texts(),
                ElementsAre("Getting upload folder path for host 'localhost'.", "Upload folder path: '" + upload_folder + "'",
                            "Uploading " + names + ".", "File was successfully uploaded."));
}

TEST_F(Uploader, ALocalFileThatCannotBeOpenedSendsNothing) {
    const std::string not_opened = "Failed to open local file '" + local + "'.";
    win::unique_file writer(::CreateFileA(local.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_THAT(uploading(), ElementsAre("Failed to upload " + names, exc::system_error_text(32), not_opened));
    writer.reset();
    ::DeleteFileA(local.c_str());
    EXPECT_THAT(uploading(), ElementsAre("Failed to upload " + names, exc::system_error_text(2), not_opened));
    EXPECT_THAT(requests(), IsEmpty());
}

TEST_F(Uploader, AShortWriteAndAFailedReadAreToldAndTheRemoteFileClosed) {
    const std::string outer = "Failed to upload " + names;
    lab::host()->deployment.writes_one_byte_less = true;
    EXPECT_THAT(uploading(), ElementsAre(outer, "Failed to write to destination file"));
    EXPECT_THAT(requests(), ElementsAre("FcCreateFile", block_of(1000), "FcCloseFile"));

    win::local_file_functions_t files;
    files.read = [](auto...) { return ::SetLastError(ERROR_CRC), FALSE; };
    EXPECT_THAT(thrown([&] { win::file_uploader_t(client, files).upload(wide_local, wide_remote); }),
                ElementsAre(outer, exc::system_error_text(ERROR_CRC), "Failed to read from local file '" + local + "'."));
    EXPECT_THAT(requests(), ElementsAre("FcCreateFile", "FcCloseFile"));
}

TEST_F(Uploader, AFailedCloseIsNobodysResult) {
    lab::set_failure("FcCloseFile", "cannot close");
    EXPECT_THAT(uploading(), ElementsAre("nothing"));
    client.reset();
    uploader = win::file_uploader_t(nullptr);
    deployer = impl::CKorvaDeployer({}, nullptr);
    // With the connection goes, a moment later, what the service still holds.
    for (int look = 0; !::DeleteFileA(remote.c_str()) && look < 250; ++look)
        ::Sleep(20);
}

TEST_F(Uploader, TheDeployersOtherRemoteOperationsAreToldInTheLog) {
    logging::captured_log_t log;
    lab::host()->deployment.dll_version_high = 0x00070000;
    lab::host()->deployment.dll_version_low = 0x00010002;
    deployer.SetEndpoint(L"elsewhere", -1);
    const int port = static_cast<int>(server->port());
    deployer.SetEndpoint(L"localhost", port);
    deployer.SetAccount(L"KORVA\\admin", L"secret");
    deployer.SetRpcTimeout(30);
    deployer.Connect();
    deployer.PingService();
    EXPECT_EQ(deployer.ServiceVersion(), 6);
    EXPECT_EQ(deployer.ServiceDllVersion(), L"7.0.1.2");
    EXPECT_EQ(client->GetRpcTimeout(), 30);
    EXPECT_THAT(log.texts(), ElementsAreArray(section(expected, "versions", port)));
}

TEST_F(Uploader, APingIsNotRepeatedAndAVersionIs) {
    int waits = 0;
    client->retry_policy().wait = [&](auto) { ++waits; };
    deployer.SetEndpoint(L"localhost", 1);
    EXPECT_NE(thrown_text([&] { deployer.PingService(); }), "nothing");
    EXPECT_EQ(waits, 0);
    EXPECT_NE(thrown_text([&] { deployer.ServiceVersion(); }), "nothing");
    EXPECT_GT(waits, 1);
}

TEST_F(Uploader, AnUpgradeUploadsAndThenReplacesAndStopsWhereAStepFails) {
    const std::string not_uploaded =
        "Failed to upload file '" + local + "' to host 'localhost'. Destination path: '" + upload_folder + "\\a.dll'";
    const lines_t all = {"SureUploadFolderExists", "FcCreateFile", block_of(1000), "FcCloseFile", "UpgradeSvcDll"};
    const struct {
        const char* refused;
        lines_t lines;
        std::size_t sent;
    } rows[] = {
        {"", {"nothing"}, 5},
        {"SureUploadFolderExists", {"Failed to define upload folder for host 'localhost'.", "no"}, 1},
        {"FcCreateFile", {not_uploaded, "no"}, 2},
        {"FcWriteFile", {not_uploaded, "no"}, 4},
        {"UpgradeSvcDll", {"no"}, 5},
    };
    for (const auto& row : rows) {
        lab::clear_failures();
        lab::set_failure(row.refused, "no");
        logging::captured_log_t log;
        requests();
        EXPECT_EQ(thrown([&] { deployer.UpgradeServiceDll(wide_local); }), row.lines);
        EXPECT_EQ(requests(), lines_t(all.begin(), all.begin() + row.sent)) << row.refused;
        EXPECT_EQ(log.texts().front(), "KD: Upgrading deployment service dll...");
    }
}

}  // namespace
