// Every procedure over a real connection, authenticated, through the server half of the same stubs.
#include <gmock/gmock.h>

#include "foundation/errors.h"
#include "rpc/client.h"
#include "tests/rpc/all_commands.h"
#include "tests/rpc/loopback_server.h"

namespace {

using namespace win::rpc;
using loopback::guid;
using ::testing::HasSubstr;

const std::string g = "00000001-0001-0002-0304-05060708090a";  // guid(1)

class RoundTrip : public ::testing::Test {
protected:
    static void SetUpTestSuite() { server_ = new loopback::server_t(); }
    static void TearDownTestSuite() { delete server_; }

    void SetUp() override {
        for (const auto& client : {deployment_, integration_, invoker_}) {
            client->SetEndpoint(L"127.0.0.1", server_->port);
            client->SetAccount(L".", L"tester", L"password");
            client->retry_policy().wait = [](std::uint32_t) {};
        }
    }
    void TearDown() override {
        loopback::succeed();
        loopback::set_records(loopback::records_t::whole);
        // The server frees what it sent after the client has read it.
        for (int i = 0; i < 200 && loopback::live_blocks() != 0; ++i)
            ::Sleep(10);
        EXPECT_EQ(loopback::live_blocks(), 0);
    }

    // Runs the command on its service's client, and expects that the service saw this.
    template <class Command>
    Command& ran(CRpcClientBase& client, Command&& command, const std::string& request) {
        client.Call(command);
        EXPECT_EQ(loopback::last_request(), request);
        return command;
    }
    template <class Command>
    Command& hv(Command&& command, const std::string& request) {
        return ran(*integration_, command, request);
    }

    static loopback::server_t* server_;
    loopback::watchdog_t watchdog_;
    std::shared_ptr<CRpcClientBase> deployment_ = make_deployment_client();
    std::shared_ptr<CRpcClientBase> integration_ = make_integration_client();
    std::shared_ptr<CRpcClientBase> invoker_ = make_invoker_client();
};
loopback::server_t* RoundTrip::server_ = nullptr;

TEST_F(RoundTrip, Deployment) {
    CRpcClientBase& c = *deployment_;
    EXPECT_EQ(ran(c, CGetSvcVersionMethod(true), "GetSvcVersion").version(), -2);
    EXPECT_EQ(ran(c, CSureUploadFolderExistsMethod(), "SureUploadFolderExists").folder(), L"C:\\Upload\u00e9\u4e16");
    const dll_version_t version = ran(c, CGetSvcDllVersionMethod(), "GetSvcDllVersion").version();
    EXPECT_EQ(version.high, 0x70000u);
    EXPECT_EQ(version.low, 0x10002u);
    ran(c, CUpgradeSvcDllMethod(L"C:\\Upload\\new.dll"), "UpgradeSvcDll|C:\\Upload\\new.dll");
}

TEST_F(RoundTrip, ARemoteFileIsCreatedWrittenAndClosed) {
    CRpcClientBase& c = *deployment_;
    CFcCreateFileMethod create(L"C:\\f", 0x40000000, 1, 2, 3);
    unique_remote_file file = ran(c, create, "FcCreateFile|C:\\f|1073741824|1|2|3").take_file();
    ASSERT_TRUE(file);
    EXPECT_EQ(loopback::open_files(), 1);
    const unsigned char block[] = {'a', 'b', 0, 'c'};
    EXPECT_EQ(ran(c, CFcWriteFileMethod(file, block), std::string("FcWriteFile|7|ab\0c", 18)).written(), 4u);
    EXPECT_EQ(ran(c, CFcWriteFileMethod(file, {}), "FcWriteFile|7|").written(), 0u);
    std::vector<unsigned char> big(0x80000, 'x');
    EXPECT_EQ(ran(c, CFcWriteFileMethod(file, big), "FcWriteFile|7|" + std::string(big.size(), 'x')).written(), big.size());
    ran(c, CFcCloseFileMethod(std::move(file)), "FcCloseFile|7");
    EXPECT_EQ(loopback::open_files(), 0);
}

TEST_F(RoundTrip, ARemoteFileThatCannotBeClosedIsGivenUpLocally) {
    {
        CFcCreateFileMethod create(L"f", 0, 0, 0, 0);
        deployment_->Call(create);
        CFcCloseFileMethod close(create.take_file());
        loopback::fail_with(L"locked");
        EXPECT_THROW(deployment_->Call(close), exc::runtime_exc_t);
        CFcCreateFileMethod not_created(L"f", 0, 0, 0, 0);
        EXPECT_THROW(deployment_->Call(not_created), exc::runtime_exc_t);
        EXPECT_FALSE(not_created.take_file()) << "the service gave a handle and said that it failed";
    }
    EXPECT_EQ(loopback::open_files(), 2);
    // The service learns of it with the connection's end.
    deployment_ = make_deployment_client();
    for (int i = 0; i < 200 && loopback::open_files() != 0; ++i)
        ::Sleep(10);
    EXPECT_EQ(loopback::open_files(), 0);
}

TEST_F(RoundTrip, Invoker) {
    CRpcClientBase& c = *invoker_;
    EXPECT_EQ(ran(c, CDoRpcMethod(L"cmd", L"<\u4e16/>"), "DoRpc|cmd|<\xe4\xb8\x96/>").output_xml(), L"<\u4e16/>");
    const unsigned char bytes[] = {1, 2, 3};
    CDoRpcWithBinaryMethod binary(L"cmd", L"", bytes);
    ran(c, binary, "DoRpcWithBinary|cmd||\x1\x2\x3");
    EXPECT_EQ(binary.output_xml(), L"");
    EXPECT_THAT(binary.output_data(), ::testing::ElementsAre(1, 2, 3, 1, 2, 3));
    EXPECT_TRUE(ran(c, CDoRpcWithBinaryMethod(L"", L"x", {}), "DoRpcWithBinary||x|").output_data().empty());
    loopback::set_records(loopback::records_t::missing);
    EXPECT_TRUE(ran(c, CDoRpcWithBinaryMethod(L"", L"x", {}), "DoRpcWithBinary||x|").output_data().empty());
    ran(c, CInvokerTestConnectionMethod(L"6.0"), "InvokerTestConnection|6.0");
}

TEST_F(RoundTrip, SnapshotsAndOperations) {
    hv(CHvTestConnectionMethod(), "HvTestConnection");
    const async_status_t status = hv(CHvGetAsyncOpStatusMethod(guid(1)), "HvGetAsyncOpStatus|" + g).status();
    EXPECT_TRUE(status.completed);
    EXPECT_FALSE(status.succeeded);
    EXPECT_EQ(status.error, L"why \u4e16");
    CHvGetAsyncOpStatusMethod without_text(guid(2));
    integration_->Call(without_text);
    EXPECT_EQ(without_text.status().error, L"");
    const snapshot_info_t info = hv(CHvGetSnapshotInfoMethod(guid(1)), "HvGetSnapshotInfo|" + g).info();
    EXPECT_EQ(info.backup_document, L"backup");
    EXPECT_EQ(info.writer_document, L"");
    EXPECT_EQ(info.transportable_info, L"transportable");
    EXPECT_EQ(hv(CHvGetVMFilesListMethod(guid(1), L"vm"), "HvGetVMFilesList|" + g + "|vm").files_xml(), L"<FilesList/>");
    hv(CHvSetVmBackupStatusMethod(guid(1), L"vm", true), "HvSetVmBackupStatus|" + g + "|vm|1");
    hv(CHvSetVmBackupStatusMethod(guid(1), L"vm", false), "HvSetVmBackupStatus|" + g + "|vm|0");
    EXPECT_EQ(hv(CHvBeginSnapshotCreationMethod(L"spec"), "HvBeginSnapshotCreation|spec").operation(), guid(5));
    EXPECT_EQ(hv(CHvGetSnapshotIDByOperationIDMethod(guid(1)), "HvGetSnapshotIDByOperationID|" + g).snapshot(), guid(6));
    hv(CHvCloseSnapshotMethod(guid(1)), "HvCloseSnapshot|" + g);
    EXPECT_EQ(hv(CHvBeginSnapshotImportMethod(L"doc", L"ids"), "HvBeginSnapshotImport|doc|ids").operation(), guid(8));
    EXPECT_EQ(hv(CHvConvertOffhostPathsMethod(guid(1), L"p"), "HvConvertOffhostPaths|" + g + "|p").files_xml(), L"<shadow/>");
    hv(CHvReleaseOperationIDMethod(guid(1)), "HvReleaseOperationID|" + g);
    EXPECT_EQ(
        hv(CHvBeginSnapshotCreationExMethod(L"spec", L"job", L"con"), "HvBeginSnapshotCreationEx|spec|job|con").operation(),
        guid(40));
    EXPECT_EQ(
        hv(CHvBeginSnapshotImportExMethod(L"", L"ids", L"job", L"con"), "HvBeginSnapshotImportEx||ids|job|con").operation(),
        guid(41));
}

TEST_F(RoundTrip, RestoreSessions) {
    EXPECT_EQ(hv(CHvCreateRestoreSessionMethod(), "CreateRestoreSession").session(), guid(11));
    hv(CHvImportConfig(guid(1), L"b", L"w"), "HvImportConfig|" + g + "|b|w");
    hv(CHvPreRestoreMethod(guid(1), L"vm", L"files", L"path"), "HvPreRestore|" + g + "|vm|files|path");
    hv(CHvPreRestoreExMethod(guid(1), L"spec"), "HvPreRestoreEx|" + g + "|spec");
    EXPECT_EQ(hv(CHvGetRestorePathsMethod(guid(1)), "HvGetRestorePaths|" + g).paths_xml(), L"<paths/>");
    hv(CHvSetRestoreStatusMethod(guid(1), true), "HvSetRestoreStatus|" + g + "|1");
    hv(CHvSetRestoreStatusMethod(guid(1), false), "HvSetRestoreStatus|" + g + "|0");
    hv(CHvPostRestoreMethod(guid(1)), "HvPostRestore|" + g);
    hv(CHvCloseRestoreSessionMethod(guid(1)), "HvCloseRestoreSession|" + g);
}

TEST_F(RoundTrip, ChangeTracking) {
    hv(CHvCtpInitMethod(), "HvCtpInit");
    hv(CHvCtpDoneMethod(), "HvCtpDone");
    const driver_version_t version = hv(CHvCtpGetDriverVersionMethod(), "HvCtpGetDriverVersion").version();
    EXPECT_EQ(version.compatible, 0xFFFE);
    EXPECT_EQ(version.current, 3);
    EXPECT_EQ(hv(CHvCtpGetCTStorePathMethod(), "HvCtpGetCTStorePath").path(), L"D:\\store");
    hv(CHvCtpSetCTStorePathMethod(L"E:"), "HvCtpSetCTStorePath|E:");
    const add_file_result_t added = hv(CHvCtpAddFileMethod(L"f", 65536, 257), "HvCtpAddFile|f|65536|257").added();
    EXPECT_EQ(added.file_id, 24u);
    EXPECT_EQ(added.index.generation_id, guid(24));
    EXPECT_EQ(added.index.current_index, 0xFFFF);
    EXPECT_EQ(hv(CHvCtpGetFileIDMethod(L"f"), "HvCtpGetFileID|f").file_id(), 0xFFFFFFFF);
    hv(CHvCtpRemoveFileMethod(26, 1), "HvCtpRemoveFile|26|1");
    EXPECT_EQ(hv(CHvCtpGetFileNameMethod(27), "HvCtpGetFileName|27").name(), L"");
    const change_index_t index = hv(CHvCtpGetFileIndexMethod(28), "HvCtpGetFileIndex|28").index();
    EXPECT_EQ(index.generation_id, guid(28));
    EXPECT_EQ(index.current_index, 28);
    hv(CHvCtpSetFileIndexMethod(29, {guid(1), 0xFFFE}), "HvCtpSetFileIndex|29|" + g + "|65534");
    for (const bool flush : {false, true}) {
        const file_standard_info_t info = hv(CHvCtpGetFileStandardInfoOrFlushChangesMethod(30, flush),
                                             flush ? "HvCtpFlushFileChanges|30" : "HvCtpGetFileStandardInfo|30")
                                              .info();
        EXPECT_EQ(info.index.generation_id, guid(30));
        EXPECT_EQ(info.index.current_index, 0xFFFE);
        EXPECT_EQ(info.block_size, 4096u);
        EXPECT_EQ(info.options, 513u);
        EXPECT_EQ(info.name, L"file.ctp");
    }
    const file_cache_t cache = hv(CHvCtpGetFileCacheMethod(32), "HvCtpGetFileCache|32").cache();
    EXPECT_EQ(cache.max_flat_size, 0xFFFFFFFFFFFFFFFE);
    EXPECT_EQ(cache.max_indirect_size, 1u);
    hv(CHvCtpSetFileCacheMethod(33, {1ull << 40, 2}), "HvCtpSetFileCache|33|1099511627776|2");
}

TEST_F(RoundTrip, ClustersAndVss) {
    const auto volumes = hv(CHvClsEnumClusterVolumesMethod(), "HvClsEnumClusterVolumes").volumes();
    ASSERT_EQ(volumes.size(), 2u);
    EXPECT_EQ(volumes[0].mount_point, L"C:\\ClusterStorage\\Volume1");
    EXPECT_TRUE(volumes[0].is_csv);
    EXPECT_EQ(volumes[1].mount_point, L"");
    EXPECT_FALSE(volumes[1].is_csv);
    EXPECT_EQ(hv(CHvClsGetResourceIdByNameMethod(L"res"), "HvClsGetResourceIdByName|res").id(), L"id");
    hv(CHvClsRefreshVmConfigMethod(L"res"), "HvClsRefreshVmConfig|res");
    const auto providers = hv(CHvVssEnumProvidersMethod(), "HvVssEnumProviders").providers();
    ASSERT_EQ(providers.size(), 2u);
    EXPECT_EQ(providers[0].id, guid(37));
    EXPECT_EQ(providers[0].name, L"System");
    EXPECT_EQ(providers[0].type, 0u);
    EXPECT_EQ(providers[0].version, L"1.0");
    EXPECT_EQ(providers[0].version_id, guid(38));
    EXPECT_EQ(providers[1].name, L"");
    EXPECT_EQ(providers[1].type, 2u);
    EXPECT_EQ(
        hv(CHvVssIsVolumesSupportedMethod({{L"C:\\", guid(1)}, {L"", guid(1)}}), "HvVssIsVolumesSupported|C:\\|" + g + "||" + g)
            .answer_xml(),
        L"<answer/>");
    hv(CHvVssIsVolumesSupportedMethod({}), "HvVssIsVolumesSupported");
    EXPECT_EQ(hv(CHvVssCollectWriterDocMethod(), "HvVssCollectWriterDoc").document(), L"<writer/>");
}

TEST_F(RoundTrip, AServiceThatFailsGivesItsTextAndNoOutputs) {
    loopback::fail_with(L"Datei fehlt \u4e16");
    CHvGetSnapshotInfoMethod info(guid(1));
    CHvClsEnumClusterVolumesMethod volumes;
    CDoRpcWithBinaryMethod binary(L"c", L"x", {});
    CHvBeginSnapshotCreationMethod begin(L"s");
    try {
        integration_->Call(info);
        FAIL();
    } catch (const exc::runtime_exc_t& error) {
        EXPECT_STREQ(error.what(), "Datei fehlt \xe4\xb8\x96");
    }
    EXPECT_THROW(integration_->Call(volumes), exc::runtime_exc_t);
    EXPECT_THROW(invoker_->Call(binary), exc::runtime_exc_t);
    EXPECT_EQ(binary.output_xml(), L"");
    loopback::fail_with(std::nullopt);
    try {
        integration_->Call(begin);
        FAIL();
    } catch (const exc::runtime_exc_t& error) {
        EXPECT_STREQ(error.what(), "");
    }
    EXPECT_EQ(begin.operation(), GUID{});
}

TEST_F(RoundTrip, AReplyWithoutItsRecordOrListFailsInItsAccessor) {
    loopback::set_records(loopback::records_t::missing);
    CHvGetAsyncOpStatusMethod status(guid(1));
    integration_->Call(status);
    try {
        status.status();
        FAIL();
    } catch (const exc::runtime_exc_t& error) {
        EXPECT_STREQ(error.what(), "The reply to remote function [HvGetAsyncOpStatus] is not valid: its record is missing.");
    }
    const auto all_fail = [&] {
        CHvClsEnumClusterVolumesMethod volumes;
        integration_->Call(volumes);
        EXPECT_THROW(volumes.volumes(), exc::runtime_exc_t);
        CHvVssEnumProvidersMethod providers;
        integration_->Call(providers);
        EXPECT_THROW(providers.providers(), exc::runtime_exc_t);
    };
    all_fail();
    loopback::set_records(loopback::records_t::counted_but_missing);
    all_fail();
}

}  // namespace
