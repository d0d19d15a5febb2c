// The example console, as a process of its own, against the lab in this one: what it prints, how it ends, and what it asks of
// the host, above all where something fails.
#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <optional>

#include "lab/failures.h"
#include "lab/host_model.h"
#include "lab/request_log.h"
#include "lab/serve.h"
#include "lab/server.h"
#include "tests/com/loaded_dll.h"
#include "tests/system/client.h"
#include "tests/system/lab_process.h"

namespace {

using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

struct ended_t {
    DWORD exit_code = 0;
    std::string output, requests;
};

// The procedures that were called, with what is reported to the host: "HvTestConnection HvSetVmBackupStatus status=0 ...".
std::string take_requests() {
    std::string all;
    for (const std::string& line : lab::requests().take()) {
        const std::string last = line.substr(line.rfind(' ') + 1);
        all += (all.empty() ? "" : " ") + line.substr(0, line.find(' '));
        if (last.starts_with("status=") || last.starts_with("succeeded="))
            all += ' ' + last;
    }
    return all;
}

// How wide the console's columns are is its own affair.
std::string without_columns(std::string text) {
    text.erase(std::unique(text.begin(), text.end(), [](char a, char b) { return a == ' ' && b == ' '; }), text.end());
    return text;
}

class Console : public ::testing::Test {
protected:
    Console() {
        port();
        lab::reset();
        lab::requests().take();
        ::SetEnvironmentVariableW(L"KORVA_PASSWORD", L"secret");
        std::filesystem::remove_all(folder_);
    }
    ~Console() override { std::filesystem::remove_all(folder_); }

    static unsigned port() {
        static const lab::server server;
        return server.port();
    }

    // "{saved}" in the arguments is a folder of this test.
    child_process start(std::wstring arguments, std::optional<int> other_port = std::nullopt, DWORD flags = 0) {
        for (std::size_t at; (at = arguments.find(L"{saved}")) != std::wstring::npos;)
            arguments.replace(at, 7, folder_.wstring());
        return {L"korva-console.exe",
                L"--account LAB\\operator --port " + std::to_wstring(other_port.value_or(static_cast<int>(port()))) + L' ' +
                    arguments,
                flags};
    }

    static ended_t end_of(child_process& console) {
        ended_t ended;
        ended.output = without_columns(console.read_all());
        ended.exit_code = console.exit_code();
        ended.requests = take_requests();
        EXPECT_THAT(ended.output, Not(HasSubstr("secret")));
        return ended;
    }

    ended_t run(const std::wstring& arguments, std::optional<int> other_port = std::nullopt) {
        child_process console = start(arguments, other_port);
        return end_of(console);
    }

    const single_threaded_com com_;
    const registered_dll dll_;
    const std::filesystem::path folder_ = std::filesystem::temp_directory_path() / L"korva console test";
};

constexpr wchar_t snapshot[] =
    L"snapshot \"<Snapshot Polls='2'><VM ID='6f8d3c1e-0f5b-4a7e-9a53-0c2f5b1a9d02'/>"
    L"<VM ID='6f8d3c1e-0f5b-4a7e-9a53-0c2f5b1a9d03'/></Snapshot>\" \"{saved}\"";
constexpr wchar_t proxy[] = L"import \"{saved}\"";
constexpr wchar_t restore[] = L"restore \"{saved}\" 6f8d3c1e-0f5b-4a7e-9a53-0c2f5b1a9d02 R:\\back";

struct case_t {
    const wchar_t* arguments;
    std::vector<const char*> output;  // what it says, in this order
    const char* requests;             // all, or their end where something fails
    const char* failure = nullptr;    // PROCEDURE=TEXT, as the lab is told
};

const case_t good[] = {
    {snapshot,
     {" not completed after 0 s", "GetTransportableSnapshotInfo 73 characters", "9d02: 2 files",
      "HarddiskVolumeShadowCopy1\\vm\\web\\system.vhd", "9d02: OK", "9d03: 3 files", "数据库.vhdx", "CloseSnapshot ok"},
     "HvTestConnection HvBeginSnapshotCreationEx HvGetAsyncOpStatus HvGetAsyncOpStatus HvGetSnapshotIDByOperationID "
     "HvGetSnapshotIDByOperationID HvGetSnapshotInfo HvGetVMFilesList HvGetVMFilesList HvSetVmBackupStatus status=1 "
     "HvGetVMFilesList HvGetVMFilesList HvSetVmBackupStatus status=1 HvCloseSnapshot"},
    {proxy,
     {"9d02: 2 files", "ShadowCopy2\\vm\\web\\system.vhd", "9d03: 3 files", "CloseSnapshot ok"},
     "HvTestConnection HvBeginSnapshotImportEx HvGetAsyncOpStatus HvGetAsyncOpStatus HvGetSnapshotIDByOperationID "
     "HvConvertOffhostPaths HvConvertOffhostPaths HvCloseSnapshot"},
    {restore,
     {"D:\\vm\\web\\system.vhd -> R:\\back\\system.vhd", "SetRestoreStatus succeeded", "CloseSession ok"},
     "HvTestConnection CreateRestoreSession HvImportConfig HvPreRestore HvGetRestorePaths HvSetRestoreStatus succeeded=1 "
     "HvPostRestore HvCloseRestoreSession"},
    {L"track D:\\vm\\web\\system.vhd 4096",
     {"driver 5, compatible down to 2", "index 1 of", "blocks of 4096 bytes", "flat 2097152", "index 0 of", "RemoveFile"},
     "HvTestConnection HvCtpInit HvCtpGetDriverVersion HvCtpGetCTStorePath HvCtpAddFile HvCtpFlushFileChanges "
     "HvCtpGetFileCache HvCtpSetFileCache HvCtpSetFileIndex HvCtpGetFileStandardInfo HvCtpRemoveFile"},
    {L"--xml cluster \"Virtual Machine web\"",
     {"<Console Command=\"cluster\">\r\n", " <Volume MountPoint=\"Q:\\\" IsCSV=\"false\"/>\r\n",
      " <GetResourceIDByName Name=\"Virtual Machine web\" ID=\"5b0a3c52-7b46-4f6b-8e3e-2f4c9c0d7e02\"/>\r\n", "</Console>\r\n"},
     "HvClsEnumClusterVolumes HvClsGetResourceIdByName HvClsRefreshVmConfig"},
    {L"vss D:\\ C:\\ClusterStorage\\Volume1",
     {"System provider, version 1.0.0.7 (system)", "D:\\ by System provider: yes", "D:\\ by Lab array provider: no",
      "Volume1 by Lab array provider: yes", "CollectHvWriterDoc"},
     "HvTestConnection HvVssEnumProviders HvVssIsVolumesSupported HvVssCollectWriterDoc"},
    {L"invoke Get \"<A/>\"",
     {"-> <LabReply Command=\"Get\"><A/></LabReply>", "4096 bytes -> 8192 bytes"},
     "InvokerTestConnection DoRpc DoRpcWithBinary"},
};

// After a snapshot that went well; those of snapshots come last, because what was saved is gone behind them.
const case_t bad[] = {
    {proxy, {"CloseSnapshot ok", "ConvertOffhostPaths failed with", " gone"}, "HvCloseSnapshot", "HvConvertOffhostPaths=gone"},
    {proxy, {"CloseSnapshot failed with", " stuck"}, "HvCloseSnapshot", "HvCloseSnapshot=stuck"},
    {restore, {"CloseSession ok", "PreRestore failed with", " no room"}, "HvCloseRestoreSession", "HvPreRestore=no room"},
    {restore,
     {"SetRestoreStatus failed", "CloseSession ok", "GetRestorePathsXml failed with"},
     "HvSetRestoreStatus succeeded=0 HvPostRestore HvCloseRestoreSession",
     "HvGetRestorePaths=no room"},
    {restore, {"CloseSession failed with", " stuck"}, "HvPostRestore HvCloseRestoreSession", "HvCloseRestoreSession=stuck"},
    {L"track D:\\a.vhd", {"RemoveFile ok", "FlushFileChanges failed with"}, "HvCtpRemoveFile", "HvCtpFlushFileChanges=gone"},
    {L"--xml snapshot \"<Snapshot Polls='1' Fail='The writer &lt;timed out&gt;.'/>\" \"{saved}\"",
     {"<Error>\r\n <Line>The host's operation ", "<Line>The writer &lt;timed out&gt;.</Line>\r\n </Error>\r\n</Console>"},
     "HvBeginSnapshotCreationEx HvGetAsyncOpStatus"},
    {L"--wait 0 snapshot \"<Snapshot Polls='9'/>\" \"{saved}\"", {" has not completed in 0 seconds; "}, "HvGetAsyncOpStatus"},
    {snapshot, {"CloseSnapshot ok", "GetSnapshotByOpID failed with", " gone"}, "HvCloseSnapshot", "HvGetSnapshotInfo=gone"},
    {snapshot,
     {"9d02: Fail", "9d03: Fail", "CloseSnapshot ok", "EnumVmFiles failed with", " gone"},
     "HvGetVMFilesList HvSetVmBackupStatus status=0 HvSetVmBackupStatus status=0 HvCloseSnapshot",
     "HvGetVMFilesList=gone"},
};

void expect_output(const std::string& output, const std::vector<const char*>& wanted) {
    std::size_t from = 0;
    for (const char* text : wanted) {
        const std::size_t found = output.find(text, from);
        EXPECT_NE(found, std::string::npos) << text << " is not, or not there, in\n" << output;
        from = found == std::string::npos ? from : found;
    }
}

TEST_F(Console, DoesWhatItsCommandsSay) {
    for (const case_t& wanted : good) {
        SCOPED_TRACE(text::narrow(wanted.arguments));
        const ended_t ended = run(wanted.arguments);
        EXPECT_EQ(ended.exit_code, 0u);
        expect_output(ended.output, wanted.output);
        EXPECT_EQ(ended.requests, wanted.requests);
    }
}

TEST_F(Console, TidiesUpWhatFails) {
    EXPECT_EQ(run(snapshot).exit_code, 0u);
    for (const case_t& wanted : bad) {
        SCOPED_TRACE(text::narrow(wanted.arguments) + " " + (wanted.failure ? wanted.failure : ""));
        lab::reset();
        if (wanted.failure)
            lab::set_failure(wanted.failure);
        const ended_t ended = run(wanted.arguments);
        EXPECT_EQ(ended.exit_code, 1u);
        expect_output(ended.output, wanted.output);
        EXPECT_THAT(ended.requests, EndsWith(wanted.requests));
    }
    const GUID operation =
        lab::host()->snapshots.begin_creation(lab::host_model::default_machines(), L"<Snapshot Polls='0'/>", L"", L"");
    EXPECT_THAT(run(L"close " + text::widen(text::guid_text(operation))).requests,
                "HvTestConnection HvGetSnapshotIDByOperationID HvCloseSnapshot");
    const ended_t ended = run(proxy);
    EXPECT_EQ(ended.exit_code, 1u) << "nothing old passes for new";
    EXPECT_THAT(ended.output, AllOf(HasSubstr("korva-console: Cannot open "), HasSubstr(".\r\n File not found.\r\n")));
}

// The host is held in a call, and let go when Ctrl-C was pressed. Under Wine the console is told as that call returns: the
// pauses before the replies give it the time.
TEST_F(Console, StopsAtCtrlCAndTidiesUp) {
    EXPECT_EQ(run(snapshot).exit_code, 0u);
    const struct {
        const wchar_t* arguments;
        const char *running, *output, *never;
    } rows[] = {
        {restore, "CreateRestoreSession", "CloseSession ok\r\n", "HvPreRestore"},
        {snapshot, "HvBeginSnapshotCreationEx", " goes on; 'close' ends ", "HvGetSnapshotIDByOperationID"},
        {L"vss D:\\", "HvVssEnumProviders", "", "HvVssCollectWriterDoc"},
    };
    lab::set_reply_pause(100);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.running);
        std::optional<lab::locked_host> held(lab::host());
        child_process console = start(row.arguments, std::nullopt, CREATE_NO_WINDOW);
        std::string requests;
        for (int i = 0; i < 1000 && !requests.ends_with(row.running); ++i, ::Sleep(10))
            requests += take_requests();
        ASSERT_TRUE(console.press_ctrl_c()) << ::GetLastError();
        held.reset();
        const ended_t ended = end_of(console);
        EXPECT_EQ(ended.exit_code, 130u);
        EXPECT_THAT(ended.output, AllOf(HasSubstr("korva-console: Interrupted.\r\n"), HasSubstr(row.output)));
        EXPECT_THAT(ended.requests, Not(HasSubstr(row.never)));
    }
    lab::set_reply_pause(std::nullopt);
}

TEST_F(Console, RefusesAWrongCommandLineBeforeItDoesAnything) {
    for (const wchar_t* arguments :
         {L"--port 12abc vss", L"--port -1 vss", L"--port 70000 vss", L"--port", L"--wait 1s vss", L"--secure vss",
          L"--none vss", L"none", L"snapshot \"<Snapshot/>\"", L"import a b", L"restore a", L"track a 0", L"close 1", L""}) {
        const ended_t ended = run(arguments);
        EXPECT_EQ(ended.exit_code, 2u) << ended.output;
        EXPECT_THAT(ended.requests, IsEmpty());
    }
    for (const wchar_t* arguments : {L"--help", L"snapshot --help", L"vss --help"}) {
        const ended_t ended = run(arguments);
        EXPECT_EQ(ended.exit_code, 0u);
        EXPECT_THAT(ended.output, HasSubstr("korva-console "));
    }
}

TEST_F(Console, ShowsTheWholeErrorObject) {
    const ended_t ended = run(L"invoke", 1);
    EXPECT_EQ(ended.exit_code, 1u);
    expect_output(ended.output,
                  {"TestConnection failed with HRESULT 0x80020009 by IProxyRpcInvoker\r\n RPC function call failed. ",
                   "Target machine: [localhost].\r\n "});
}

TEST_F(Console, MeetsALabThatIsToldHowItsWorkGoes) {
    const lab_process lab(L"--port 0 --polls 0 --fail-work \"The disk is full.\" --reply-pause 1");
    const ended_t ended = run(L"snapshot \"<Snapshot/>\" \"{saved}\"", lab.port());
    EXPECT_EQ(ended.exit_code, 1u);
    EXPECT_THAT(ended.output, AllOf(HasSubstr("Refresh 1: failed"), HasSubstr("The disk is full.")));
    for (const wchar_t* wrong :
         {L"--port 12abc", L"--port 65536", L"--polls -1", L"--reply-pause", L"--none", L"--fail HvPrerestore=x"})
        EXPECT_EQ(child_process(L"korva-lab.exe", wrong).exit_code(), 1u);
}

}  // namespace
