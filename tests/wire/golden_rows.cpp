#include "tests/wire/golden_rows.h"

#include <gtest/gtest.h>

#include <string>

#include "foundation/errors.h"
#include "rpc/commands/deployment.h"
#include "rpc/commands/hv_cluster.h"
#include "rpc/commands/hv_restore.h"
#include "rpc/commands/hv_snapshots.h"
#include "rpc/commands/hv_tracking.h"
#include "rpc/commands/hv_vss.h"
#include "rpc/commands/invoker.h"

namespace wire {
namespace {

using namespace win::rpc;
using client_t = CRpcClientBase;

const GUID guid1 = {0x11223344, 0x5566, 0x7788, {0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF, 0x00}};
const GUID guid2 = {0xA1A2A3A4, 0xB1B2, 0xC1C2, {1, 2, 3, 4, 5, 6, 7, 8}};
const std::string g1 = " 44332211 6655 8877 99aabbcc ddeeff00 ";
const std::string g2 = " a4a3a2a1 b2b1 c2c1 01020304 05060708 ";
const std::string done = " 01 ...... 00000000 ";  // ok = 1, three bytes to the alignment of the pointer, no message
const std::string refused = " 00 ...... PTR S'нет'";
const std::string file = " 00000000" + g1;  // a context handle: attributes, then what the service chose

void expect_guid(const GUID& actual, const GUID& expected) { EXPECT_TRUE(IsEqualGUID(actual, expected)); }

// Runs a command without outputs.
template <class Command, class... Inputs>
std::function<void(client_t&)> call(Inputs... inputs) {
    return [=](client_t& client) {
        Command command(inputs...);
        client.Call(command);
    };
}

// Runs a command and compares one output with what is expected.
template <class Command, class Output, class Expected, class... Inputs>
std::function<void(client_t&)> expect(Output output, Expected expected, Inputs... inputs) {
    return [=](client_t& client) {
        Command command(inputs...);
        client.Call(command);
        if constexpr (std::is_same_v<Expected, GUID>)
            expect_guid(std::invoke(output, command), expected);
        else
            EXPECT_EQ(std::invoke(output, command), expected);
    };
}

// The text of the error that a step ends with.
template <class Step>
std::string failure_of(Step step) {
    try {
        step();
    } catch (const exc::runtime_exc_t& error) {
        return error.what();
    }
    return "(no failure)";
}

// Runs a command that the service refuses with its text; its outputs, which travel all the same, are not to be seen.
void expect_refused(client_t& client, IRpcMethod& command) {
    EXPECT_EQ(failure_of([&] { client.Call(command); }), "\u043d\u0435\u0442");
}

// Runs a command whose reply the accessor finds to be wrong.
template <class Command, class Output, class... Inputs>
std::function<void(client_t&)> bad_reply(Output output, std::string what, Inputs... inputs) {
    return [=](client_t& client) {
        Command command(inputs...);
        client.Call(command);
        EXPECT_EQ(failure_of([&] { std::invoke(output, command); }),
                  "The reply to remote function [" + std::string(command.GetName()) + "] is not valid: " + what);
    };
}

constexpr unsigned char block[] = {0xAA, 0xBB, 0xCC};

void check_standard_info(client_t& client, bool flush) {
    CHvCtpGetFileStandardInfoOrFlushChangesMethod command(42, flush);
    client.Call(command);
    const file_standard_info_t info = command.info();
    expect_guid(info.index.generation_id, guid2);
    EXPECT_EQ(info.index.current_index, 5);
    EXPECT_EQ(info.block_size, 4096u);
    EXPECT_EQ(info.options, 3u);
    EXPECT_EQ(info.name, L"f.ctp");
}

const std::string standard_info = "PTR" + g2 + "0500 .... 00100000 03000000 PTR S'f.ctp'" + done;

unique_remote_file create_remote_file(client_t& client) {
    CFcCreateFileMethod create(L"ab", 0x40000000, 0, 2, 0);
    client.Call(create);
    return create.take_file();
}

const row_t deployment_rows[] = {
    {"GetSvcVersion", 0, "", "fdffffff" + done, expect<CGetSvcVersionMethod>(&CGetSvcVersionMethod::version, -3, true)},
    {"SureUploadFolderExists", 1, "", "PTR S'C:\\u' ...." + done,
     expect<CSureUploadFolderExistsMethod>(&CSureUploadFolderExistsMethod::folder, std::wstring(L"C:\\u"))},
    {"SureUploadFolderExists, null", 1, "", "00000000" + done,
     expect<CSureUploadFolderExistsMethod>(&CSureUploadFolderExistsMethod::folder, std::wstring())},
    {"FcCreateFile", 2, "S'ab' .... 00000040 01000000 02000000 80000000", file + done,
     [](client_t& client) {
         CFcCreateFileMethod create(L"ab", 0x40000000, 1, 2, 0x80);
         client.Call(create);
         EXPECT_TRUE(create.take_file());
     }},
    {"FcCreateFile, refused with a handle", 2, "S'ab' .... 00000040 01000000 02000000 80000000", file + refused,
     [](client_t& client) {
         CFcCreateFileMethod create(L"ab", 0x40000000, 1, 2, 0x80);
         expect_refused(client, create);
         EXPECT_FALSE(create.take_file());
     }},
    {"FcWriteFile", 3, file + "03000000 03000000 aabbcc", "02000000" + done,
     [](client_t& client) {
         const unique_remote_file remote = create_remote_file(client);
         CFcWriteFileMethod write(remote, block);
         client.Call(write);
         EXPECT_EQ(write.written(), 2u);
     }},
    {"FcWriteFile, nothing", 3, file + "00000000 00000000", "00000000" + done,
     [](client_t& client) {
         const unique_remote_file remote = create_remote_file(client);
         CFcWriteFileMethod write(remote, {});
         client.Call(write);
     }},
    {"FcCloseFile", 4, file, "00000000 00000000 0000 0000 00000000 00000000" + done,
     [](client_t& client) {
         CFcCloseFileMethod close(create_remote_file(client));
         client.Call(close);
     }},
    {"GetSvcDllVersion", 5, "", "00000700 02000100" + done,
     [](client_t& client) {
         CGetSvcDllVersionMethod command;
         client.Call(command);
         EXPECT_EQ(command.version().high, 0x00070000u);
         EXPECT_EQ(command.version().low, 0x00010002u);
     }},
    {"UpgradeSvcDll", 6, "S'C:\\x.dll'", done, call<CUpgradeSvcDllMethod>(L"C:\\x.dll")},
    {"UpgradeSvcDll, empty", 6, "S''", done, call<CUpgradeSvcDllMethod>(L"")},
};

const row_t snapshot_rows[] = {
    {"HvTestConnection", 0, "", done, call<CHvTestConnectionMethod>()},
    {"HvGetAsyncOpStatus", 1, g1, "PTR 01 00 .... PTR S'нет'" + done,
     [](client_t& client) {
         CHvGetAsyncOpStatusMethod command(guid1);
         client.Call(command);
         EXPECT_TRUE(command.status().completed);
         EXPECT_FALSE(command.status().succeeded);
         EXPECT_EQ(command.status().error, L"\u043d\u0435\u0442");
     }},
    {"HvGetAsyncOpStatus, no text", 1, g1, "PTR 00 ff .... 00000000" + done,
     [](client_t& client) {
         CHvGetAsyncOpStatusMethod command(guid1);
         client.Call(command);
         EXPECT_FALSE(command.status().completed);
         EXPECT_TRUE(command.status().succeeded);
         EXPECT_EQ(command.status().error, L"");
     }},
    {"HvGetAsyncOpStatus, no record", 1, g1, "00000000" + done,
     bad_reply<CHvGetAsyncOpStatusMethod>(&CHvGetAsyncOpStatusMethod::status, "its record is missing.", guid1)},
    {"HvGetSnapshotInfo", 2, g1, "PTR PTR 00000000 PTR S'<b/>' .... S'ids'" + done,
     [](client_t& client) {
         CHvGetSnapshotInfoMethod command(guid1);
         client.Call(command);
         EXPECT_EQ(command.info().backup_document, L"<b/>");
         EXPECT_EQ(command.info().writer_document, L"");
         EXPECT_EQ(command.info().transportable_info, L"ids");
     }},
    {"HvGetSnapshotInfo, refused with a record", 2, g1, "PTR PTR 00000000 PTR S'<b/>' .... S'ids'" + refused,
     [](client_t& client) {
         CHvGetSnapshotInfoMethod command(guid1);
         expect_refused(client, command);
         EXPECT_THROW(command.info(), exc::runtime_exc_t);
     }},
    {"HvGetVMFilesList", 3, g1 + "S'vm'", "PTR S'<F/>' ...." + done,
     expect<CHvGetVMFilesListMethod>(&CHvGetVMFilesListMethod::files_xml, std::wstring(L"<F/>"), guid1, L"vm")},
    {"HvSetVmBackupStatus, good", 4, g1 + "S'vm' .... 01000000", done, call<CHvSetVmBackupStatusMethod>(guid1, L"vm", true)},
    {"HvSetVmBackupStatus, bad", 4, g1 + "S'vm1' 00000000", done, call<CHvSetVmBackupStatusMethod>(guid1, L"vm1", false)},
    {"HvBeginSnapshotCreation", 5, "S'<s/>'", g2 + done,
     expect<CHvBeginSnapshotCreationMethod>(&CHvBeginSnapshotCreationMethod::operation, guid2, L"<s/>")},
    {"HvBeginSnapshotCreation, refused without a text", 5, "S'<s/>'", g2 + "00 ...... 00000000",
     [](client_t& client) {
         CHvBeginSnapshotCreationMethod command(L"<s/>");
         EXPECT_EQ(failure_of([&] { client.Call(command); }), "");
         expect_guid(command.operation(), GUID{});
     }},
    {"HvGetSnapshotIDByOperationID", 6, g1, g2 + done,
     expect<CHvGetSnapshotIDByOperationIDMethod>(&CHvGetSnapshotIDByOperationIDMethod::snapshot, guid2, guid1)},
    {"HvCloseSnapshot", 7, g1, done, call<CHvCloseSnapshotMethod>(guid1)},
    {"HvBeginSnapshotImport", 8, "PTR PTR S'do' .... S'ids'", g2 + done,
     expect<CHvBeginSnapshotImportMethod>(&CHvBeginSnapshotImportMethod::operation, guid2, L"do", L"ids")},
    {"HvConvertOffhostPaths", 9, g1 + "S'<p/>'", "PTR S'<FilesList/>' ...." + done,
     expect<CHvConvertOffhostPathsMethod>(&CHvConvertOffhostPathsMethod::files_xml, std::wstring(L"<FilesList/>"), guid1,
                                          L"<p/>")},
    {"HvReleaseOperationID", 10, g1, done, call<CHvReleaseOperationIDMethod>(guid1)},
    {"HvBeginSnapshotCreation, extended", 40, "S'<s/>' .... S'job' S'磁💾'", g2 + done,
     expect<CHvBeginSnapshotCreationExMethod>(&CHvBeginSnapshotCreationExMethod::operation, guid2, L"<s/>", L"job",
                                              L"\u78c1\U0001F4BE")},
    {"HvBeginSnapshotImport, extended", 41, "PTR PTR S'do' .... S'ids' S'job' S''", g2 + done,
     expect<CHvBeginSnapshotImportExMethod>(&CHvBeginSnapshotImportExMethod::operation, guid2, L"do", L"ids", L"job", L"")},
};

const row_t restore_rows[] = {
    {"CreateRestoreSession", 11, "", g2 + done,
     expect<CHvCreateRestoreSessionMethod>(&CHvCreateRestoreSessionMethod::session, guid2)},
    {"HvImportConfig", 12, g1 + "S'bc' .... S'w'", done, call<CHvImportConfig>(guid1, L"bc", L"w")},
    {"HvPreRestore", 13, g1 + "S'vm' .... S'<f/>' .... S''", done, call<CHvPreRestoreMethod>(guid1, L"vm", L"<f/>", L"")},
    {"HvPreRestoreEx", 14, g1 + "S'<r/>'", done, call<CHvPreRestoreExMethod>(guid1, L"<r/>")},
    {"HvGetRestorePaths", 15, g1, "PTR S'<p/>' ...." + done,
     expect<CHvGetRestorePathsMethod>(&CHvGetRestorePathsMethod::paths_xml, std::wstring(L"<p/>"), guid1)},
    {"HvSetRestoreStatus, good", 16, g1 + "01000000", done, call<CHvSetRestoreStatusMethod>(guid1, true)},
    {"HvSetRestoreStatus, bad", 16, g1 + "00000000", done, call<CHvSetRestoreStatusMethod>(guid1, false)},
    {"HvPostRestore", 17, g1, done, call<CHvPostRestoreMethod>(guid1)},
    {"HvCloseRestoreSession", 18, g1, done, call<CHvCloseRestoreSessionMethod>(guid1)},
};

const row_t tracking_rows[] = {
    {"HvCtpInit", 19, "", done, call<CHvCtpInitMethod>()},
    {"HvCtpDone", 20, "", done, call<CHvCtpDoneMethod>()},
    {"HvCtpGetDriverVersion", 21, "", "0100 0203" + done,
     [](client_t& client) {
         CHvCtpGetDriverVersionMethod command;
         client.Call(command);
         EXPECT_EQ(command.version().compatible, 1);
         EXPECT_EQ(command.version().current, 0x0302);
     }},
    {"HvCtpGetCTStorePath", 22, "", "PTR S'C:\\ct'" + done,
     expect<CHvCtpGetCTStorePathMethod>(&CHvCtpGetCTStorePathMethod::path, std::wstring(L"C:\\ct"))},
    {"HvCtpSetCTStorePath", 23, "S'D:\\Диск'", done, call<CHvCtpSetCTStorePathMethod>(L"D:\\\u0414\u0438\u0441\u043a")},
    {"HvCtpAddFile", 24, "PTR 00000100 01020000 S'a.vhd'", "PTR 2a000000" + g2 + "0500 ...." + done,
     [](client_t& client) {
         CHvCtpAddFileMethod command(L"a.vhd", 0x10000, 0x201);
         client.Call(command);
         EXPECT_EQ(command.added().file_id, 42u);
         expect_guid(command.added().index.generation_id, guid2);
         EXPECT_EQ(command.added().index.current_index, 5);
     }},
    {"HvCtpGetFileID", 25, "S'a.vhd'", "2a000000" + done,
     expect<CHvCtpGetFileIDMethod>(&CHvCtpGetFileIDMethod::file_id, 42u, L"a.vhd")},
    {"HvCtpRemoveFile", 26, "2a000000 01000000", done, call<CHvCtpRemoveFileMethod>(42, 1)},
    {"HvCtpGetFileName", 27, "2a000000", "PTR S'a.vhd'" + done,
     expect<CHvCtpGetFileNameMethod>(&CHvCtpGetFileNameMethod::name, std::wstring(L"a.vhd"), 42)},
    {"HvCtpGetFileIndex", 28, "2a000000", "PTR" + g2 + "0500 ...." + done,
     [](client_t& client) {
         CHvCtpGetFileIndexMethod command(42);
         client.Call(command);
         expect_guid(command.index().generation_id, guid2);
         EXPECT_EQ(command.index().current_index, 5);
     }},
    {"HvCtpSetFileIndex", 29, "2a000000" + g1 + "0807", done,
     call<CHvCtpSetFileIndexMethod>(42, change_index_t{guid1, 0x0708})},
    {"HvCtpGetFileStandardInfo", 30, "2a000000", standard_info, [](client_t& client) { check_standard_info(client, false); }},
    {"HvCtpFlushFileChanges", 31, "2a000000", standard_info, [](client_t& client) { check_standard_info(client, true); }},
    {"HvCtpGetFileCache", 32, "2a000000", "PTR ........ 0000010000000000 0000020000000080" + done,
     [](client_t& client) {
         CHvCtpGetFileCacheMethod command(42);
         client.Call(command);
         EXPECT_EQ(command.cache().max_flat_size, 0x10000u);
         EXPECT_EQ(command.cache().max_indirect_size, 0x8000000000020000u);
     }},
    {"HvCtpSetFileCache", 33, "2a000000 ........ 0100000000000000 0200000000000000", done,
     call<CHvCtpSetFileCacheMethod>(42, file_cache_t{1, 2})},
};

const row_t cluster_and_vss_rows[] = {
    {"HvClsEnumClusterVolumes", 34, "", "PTR 02000000 PTR 02000000 PTR 01 ...... 00000000 00 ...... S'C:\\a' ...." + done,
     [](client_t& client) {
         CHvClsEnumClusterVolumesMethod command;
         client.Call(command);
         const auto volumes = command.volumes();
         ASSERT_EQ(volumes.size(), 2u);
         EXPECT_EQ(volumes[0].mount_point, L"C:\\a");
         EXPECT_TRUE(volumes[0].is_csv);
         EXPECT_EQ(volumes[1].mount_point, L"");
         EXPECT_FALSE(volumes[1].is_csv);
     }},
    {"HvClsEnumClusterVolumes, none", 34, "", "PTR 00000000 00000000" + done,
     [](client_t& client) {
         CHvClsEnumClusterVolumesMethod command;
         client.Call(command);
         EXPECT_TRUE(command.volumes().empty());
     }},
    {"HvClsEnumClusterVolumes, a count alone", 34, "", "PTR 02000000 00000000" + done,
     bad_reply<CHvClsEnumClusterVolumesMethod>(&CHvClsEnumClusterVolumesMethod::volumes,
                                               "it counts 2 entries but brings no list.")},
    {"HvClsGetResourceIdByName", 35, "S'res'", "PTR S'id' ...." + done,
     expect<CHvClsGetResourceIdByNameMethod>(&CHvClsGetResourceIdByNameMethod::id, std::wstring(L"id"), L"res")},
    {"HvClsRefreshVmConfig", 36, "S'res'", done, call<CHvClsRefreshVmConfigMethod>(L"res")},
    {"HvVssEnumProviders", 37, "",
     "PTR 02000000 PTR 02000000" + g1 + "PTR 01000000 PTR" + g2 + g2 + "00000000 02000000 00000000" + g1 + "S'P1' .... S'1.0'" +
         done,
     [](client_t& client) {
         CHvVssEnumProvidersMethod command;
         client.Call(command);
         const auto providers = command.providers();
         ASSERT_EQ(providers.size(), 2u);
         expect_guid(providers[0].id, guid1);
         EXPECT_EQ(providers[0].name, L"P1");
         EXPECT_EQ(providers[0].type, 1u);
         EXPECT_EQ(providers[0].version, L"1.0");
         expect_guid(providers[0].version_id, guid2);
         EXPECT_EQ(providers[1].name, L"");
         expect_guid(providers[1].version_id, guid1);
     }},
    {"HvVssEnumProviders, a count alone", 37, "", "PTR 01000000 00000000" + done,
     bad_reply<CHvVssEnumProvidersMethod>(&CHvVssEnumProvidersMethod::providers, "it counts 1 entries but brings no list.")},
    {"HvVssIsVolumesSupported", 38, "02000000 02000000 PTR" + g1 + "PTR" + g2 + "S'C:\\' S'D'", "PTR S'<a/>' ...." + done,
     expect<CHvVssIsVolumesSupportedMethod>(&CHvVssIsVolumesSupportedMethod::answer_xml, std::wstring(L"<a/>"),
                                            std::vector<volume_request_t>{{L"C:\\", guid1}, {L"D", guid2}})},
    {"HvVssIsVolumesSupported, none", 38, "00000000 00000000", "PTR S'<a/>' ...." + done,
     expect<CHvVssIsVolumesSupportedMethod>(&CHvVssIsVolumesSupportedMethod::answer_xml, std::wstring(L"<a/>"),
                                            std::vector<volume_request_t>())},
    {"HvVssCollectWriterDoc", 39, "", "PTR S'<w/>' ...." + done,
     expect<CHvVssCollectWriterDocMethod>(&CHvVssCollectWriterDocMethod::document, std::wstring(L"<w/>"))},
};

const row_t invoker_rows[] = {
    {"DoRpc", 0, "S'cmd' S'<i/>'", "PTR S'<o/>' ...." + done,
     expect<CDoRpcMethod>(&CDoRpcMethod::output_xml, std::wstring(L"<o/>"), L"cmd", L"<i/>")},
    {"DoRpcWithBinary", 1, "S'cmd' S'<i/>' .... 03000000 03000000 aabbcc",
     "PTR S'<o/>' .... 02000000 PTR 02000000 ddee ...." + done,
     [](client_t& client) {
         CDoRpcWithBinaryMethod command(L"cmd", L"<i/>", block);
         client.Call(command);
         EXPECT_EQ(command.output_xml(), L"<o/>");
         ASSERT_EQ(command.output_data().size(), 2u);
         EXPECT_EQ(command.output_data()[1], 0xEE);
     }},
    {"DoRpcWithBinary, nothing", 1, "S'' .... S'' .... 00000000 00000000", "PTR S'' .... 00000000 PTR 00000000" + done,
     [](client_t& client) {
         CDoRpcWithBinaryMethod command(L"", L"", {});
         client.Call(command);
         EXPECT_EQ(command.output_xml(), L"");
         EXPECT_TRUE(command.output_data().empty());
     }},
    {"DoRpcWithBinary, null for nothing", 1, "S'' .... S'' .... 00000000 00000000", "00000000 00000000 00000000" + done,
     [](client_t& client) {
         CDoRpcWithBinaryMethod command(L"", L"", {});
         client.Call(command);
         EXPECT_TRUE(command.output_data().empty());
     }},
    {"DoRpcWithBinary, refused with outputs", 1, "S'' .... S'' .... 00000000 00000000",
     "PTR S'<o/>' .... 02000000 PTR 02000000 ddee ...." + refused,
     [](client_t& client) {
         CDoRpcWithBinaryMethod command(L"", L"", {});
         expect_refused(client, command);
         EXPECT_EQ(command.output_xml(), L"");
         EXPECT_TRUE(command.output_data().empty());
     }},
    {"InvokerTestConnection", 2, "S'6.0'", done, call<CInvokerTestConnectionMethod>(L"6.0")},
};

}  // namespace

std::span<const table_t> golden_tables() {
    static const table_t tables[] = {
        {"deployment", make_deployment_client, deployment_rows},
        {"snapshots", make_integration_client, snapshot_rows},
        {"restore", make_integration_client, restore_rows},
        {"tracking", make_integration_client, tracking_rows},
        {"cluster and VSS", make_integration_client, cluster_and_vss_rows},
        {"invoker", make_invoker_client, invoker_rows},
    };
    return tables;
}

bytes golden_reply(const row_t& row, const request_t& request) {
    return parse(request.operation == row.operation ? row.reply : file + done);
}

}  // namespace wire
