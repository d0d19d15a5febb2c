#include "deploy/deployer.h"

#include <gmock/gmock.h>

#include "deploy/impersonation_tokens.h"
#include "foundation/format.h"
#include "foundation/system_text.h"
#include "logging/memory_receiver.h"
#include "tests/deploy/played_host.h"
#include "tests/foundation/thrown.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using namespace std::string_literals;
using lines_t = std::vector<std::string>;

const std::wstring local_executable = L"C:\\console\\KorvaDeploymentSvc.exe";
const std::wstring share = L"\\\\host\\ADMIN$";
const std::wstring remote_executable = share + L"\\Korva\\Backup\\KorvaDeploymentSvc.exe";
const std::string command_line = "C:\\Windows\\Korva\\Backup\\KorvaDeploymentSvc.exe -port 6160";
const std::string not_installed = "Failed to install service [KorvaDeploymentService] was not installed on the host [host].";
const std::string not_removed = "Failed to remove deployment service from the host [host].";

struct Deployer : testing::Test {
    played::host_t host;
    logging::captured_log_t log;
    impl::CKorvaDeployer deployer{host.platform()};

    void SetUp() override { deployer.SetEndpoint(L"host", 6160); }
    void TearDown() override {
        expect_all_given_back("");
        EXPECT_FALSE(log.holds("secret"));
    }

    void log_on() {
        deployer.SetAccount(L"KORVA\\admin", L"secret");
        begin();
    }
    // What is recorded from now on is the operation's.
    void begin() {
        host.recover();
        log.clear();
    }
    void put_service(DWORD state, const std::string& line = command_line) {
        host.install(line, state);
        host.add_folder(share + L"\\Korva");
        host.add_folder(share + L"\\Korva\\Backup");
        host.add_file(remote_executable);
    }
    void expect_all_given_back(const std::string& where, const std::string& but = "") {
        EXPECT_EQ(host.left_open(), but) << where;
        EXPECT_EQ(win::impersonation_tokens().find(remote_executable), nullptr) << where;
        EXPECT_FALSE(win::win_impersonation_counter_t::of_thread().inside()) << where;
    }
    std::string installing() {
        return thrown_text([&] { deployer.InstallService(local_executable); });
    }
    std::string removing() {
        return thrown_text([&] { deployer.RemoveService(); });
    }
    // The calls alone, without arguments.
    lines_t call_names() {
        lines_t names = host.calls;
        for (std::string& name : names)
            name.resize(name.find('('));
        return names;
    }

    enum left_t { none, copied, created };  // neither service nor executable on the host, the executable alone, both
    struct failure_t {
        const char* call;
        int nth;  // of the calls of that name; 0: all
        DWORD code;
        std::string causes;  // %1: the code's text; none: it succeeds all the same
        left_t left;         // afterwards: what is done stays
        int last = nth;      // the same up to this one
        const char* left_open = "";
    };
    // Every call that the operation makes fails in its turn; then the operation is repeated, and goes on from there.
    void play(std::vector<failure_t> rows, const std::string& outer, left_t before, const std::function<void()>& prepare,
              const std::function<std::string()>& operation) {
        const left_t after = before == none ? created : none;
        const std::string unconnected = "Failed to create persistent connection to ADMIN$ shared folder on host [host].\n%1\n";
        rows.insert(
            rows.end(),
            {{"ImpersonateLoggedOnUser", 1, 6, "%1\nFailed to impersonate logged on user", before},
             {"WNetAddConnection2W", 1, 53, unconnected + "The network path was not found. (ERROR_BAD_NETPATH)", before},
             {"WNetAddConnection2W", 1, 67, unconnected + "The network name cannot be found. (ERROR_BAD_NET_NAME)", before},
             {"OpenSCManagerW", 1, 1722, "%1\nCannot connect to service control manager. Host: 'host'.", before},
             {"OpenServiceW", 1, 5, "%1\nFailed to open deployment service", before},
             {"NetShareGetInfo", 1, 2310, "%1\nFailed to get information about network share from the target host",
              before == none ? copied : before},
             {"WNetAddConnection2W", 1, 1219, unconnected + "WNetAddConnection2 function call failed.", before},
             {"WNetCancelConnectionW", 1, ERROR_NOT_CONNECTED, "", after, 1, "\\\\host\\ADMIN$ "},
             {"WNetCancelConnectionW", 1, ERROR_OPEN_FILES, "", after, 1, "\\\\host\\ADMIN$ "},
             {"RevertToSelf", 1, 5, "", after}});
        std::set<std::string> unplayed;
        prepare();
        EXPECT_EQ(operation(), "nothing");
        for (const std::string& call : call_names())
            for (int nth = 1; nth <= host.count(call); ++nth)
                unplayed.insert(text::format("%1 %2", call, nth));
        for (const failure_t& row : rows) {
            for (int nth = row.nth; nth <= row.last; ++nth) {
                unplayed.erase(text::format("%1 %2", row.call, nth));
                const std::string where = text::format("%1 %2 -> %3", row.call, nth, row.code);
                const std::string causes = text::format(row.causes, exc::system_error_text(row.code));
                prepare();
                log.clear();
                host.fail(row.call, row.code, nth);
                EXPECT_EQ(operation(), causes.empty() ? "nothing" : outer + "\n" + causes) << where;
                EXPECT_GE(host.count(row.call), nth) << where;
                EXPECT_EQ(log.holds("File not found"), row.code == ERROR_FILE_NOT_FOUND) << where;
                EXPECT_EQ(host.service_exists, row.left == created) << where;
                EXPECT_EQ(host.has(remote_executable), row.left != none) << where;
                expect_all_given_back(where, row.left_open);
                host.recover();
                EXPECT_EQ(operation(), "nothing") << where;
                EXPECT_EQ(host.service_exists, after == created) << where;
                EXPECT_EQ(host.count("CreateServiceW") + host.count("DeleteService"),
                          host.service_exists != (row.left == created))
                    << where << ": only what is not done yet";
            }
        }
        EXPECT_THAT(unplayed, IsEmpty());
    }
};

TEST_F(Deployer, InstallsCopiesCreatesAndStartsUnderTheAccount) {
    log_on();
    deployer.InstallService();
    EXPECT_THAT(
        host.calls,
        ElementsAre(
            "GetModuleHandleW(KorvaProxyClient.dll)", "GetModuleFileNameW()", "ImpersonateLoggedOnUser()",
            "WNetAddConnection2W(\\\\host\\ADMIN$, secret, KORVA\\admin, 0)",
            "OpenSCManagerW(host, ServicesActive, 0x000F003F)", "OpenServiceW(KorvaDeploymentService, 0x10000000)",
            "GetFileAttributesW(\\\\host\\ADMIN$\\Korva)", "CreateDirectoryW(\\\\host\\ADMIN$\\Korva, null)",
            "GetFileAttributesW(\\\\host\\ADMIN$\\Korva\\Backup)", "CreateDirectoryW(\\\\host\\ADMIN$\\Korva\\Backup, null)",
            "GetFileAttributesW(\\\\host\\ADMIN$\\Korva\\Backup\\KorvaDeploymentSvc.exe)",
            "CopyFileW(C:\\console\\KorvaDeploymentSvc.exe, \\\\host\\ADMIN$\\Korva\\Backup\\KorvaDeploymentSvc.exe, 0)",
            "NetShareGetInfo(host, ADMIN$, 2)",
            "CreateServiceW(KorvaDeploymentService, Korva Installer Service, 0x10000000, 16, 2, 1, " + command_line +
                ", null, null, RPCSS, null, null)",
            "ChangeServiceConfig2W(1)", "ChangeServiceConfig2W(2)", "StartServiceA(0, null)", "QueryServiceStatus()",
            "WNetCancelConnectionW(\\\\host\\ADMIN$, 1)", "RevertToSelf()"));
    EXPECT_EQ(host.service_dependencies, "RPCSS;WINMGMT;");
    EXPECT_EQ(host.service_description, "Enables installing, updating and configuring additional Korva Backup components.");
    EXPECT_EQ(host.failure_actions, "reset 1, null, null 1/60000 1/60000 1/60000 1/60000");
    EXPECT_THAT(
        log.texts(),
        ElementsAre("KD: Get KorvaDeploymentSvc local path", "  Path: [C:\\console\\KorvaDeploymentSvc.exe]",
                    "Making sure that the deployment service in installed on host [host].",
                    "  Creating persistent connection to ADMIN$ shared folder on host [host].", "  Network share was opened.",
                    "  Trying to open service 'KorvaDeploymentService'.", "    Service is not installed",
                    "  Deployment service will be installed on the target host.",
                    "  Copying file (C:\\console\\KorvaDeploymentSvc.exe) from the backup console to the remote host.",
                    "    Found impersonation token for share [\\\\host\\ADMIN$].",
                    "    File operations for path '\\\\host\\ADMIN$\\Korva\\Backup\\KorvaDeploymentSvc.exe' will be performed "
                    "under impersonation context.",
                    "    UNC path to the executable on the proxy [\\\\host\\ADMIN$\\Korva\\Backup\\KorvaDeploymentSvc.exe]",
                    "    KD: Get local path on remote machine [host] for [ADMIN$], [Korva\\Backup\\KorvaDeploymentSvc.exe]",
                    "    Local path to the executable on the proxy: [C:\\Windows\\Korva\\Backup\\KorvaDeploymentSvc.exe}",
                    "  Creating  service [KorvaDeploymentService]. Path to executable: "
                    "[C:\\Windows\\Korva\\Backup\\KorvaDeploymentSvc.exe]",
                    "  Starting deployment service",
                    "  Closing persistent connection to ADMIN$ shared folder on host [host]."));
}

TEST_F(Deployer, WithoutAnAccountAnInstalledServiceIsOnlyStartedAndAsTheCaller) {
    put_service(SERVICE_RUNNING);
    deployer.InstallService(L"");
    EXPECT_THAT(call_names(), ElementsAre("OpenSCManagerW", "OpenServiceW", "StartServiceA"));
    EXPECT_TRUE(log.holds("Deployment service is already installed on the remote host."));
    EXPECT_TRUE(log.holds("Already started"));
}

TEST_F(Deployer, AThreadThatStillActsAsTheAccountIsNotTrusted) {
    log_on();
    host.fail("RevertToSelf", ERROR_ACCESS_DENIED, 0);
    const std::string failure =
        exc::system_error_text(ERROR_ACCESS_DENIED) + "\nFailed to end the impersonation of a logged on user";
    EXPECT_EQ(installing(), failure);
    EXPECT_TRUE(host.service_exists);
    host.calls.clear();
    EXPECT_EQ(removing(), not_removed + "\n" + failure);
    EXPECT_EQ(call_names(), lines_t({"RevertToSelf"}));
    host.recover();
    EXPECT_EQ(installing(), "nothing");
    EXPECT_EQ(call_names().front(), "RevertToSelf");
}

TEST_F(Deployer, AnOldCopyIsReplacedThoughItIsHiddenAndReadOnly) {
    put_service(SERVICE_STOPPED);
    host.service_exists = false;
    host.add_file(remote_executable, FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_READONLY);
    host.fail("SetFileAttributesW", ERROR_SHARING_VIOLATION);
    EXPECT_THAT(installing(), EndsWith("FILE_ATTRIBUTE_HIDDEN or FILE_ATTRIBUTE_READONLY attribute set."));
    host.recover();
    EXPECT_EQ(installing(), "nothing");
    EXPECT_EQ(host.files[remote_executable], DWORD{FILE_ATTRIBUTE_ARCHIVE});
}

TEST_F(Deployer, EveryFailedCallOfAnInstallationIsToldAndAllIsGivenBack) {
    const std::string not_made = "Cannot create folder. Folder path: [\\\\host\\ADMIN$\\Korva\\Backup].\n%1\nCreateDirectory(";
    const std::string not_copied = "%1\nFailed to copy file to the proxy host";
    const std::string not_created = "Failed to register deployment service the target host\n%1\nFailed to ";
    const std::string not_started =
        "Failed to start deployment service on the target host\n%1\nFailed to start service 'KorvaDeploymentService'. %1.";
    const std::vector<failure_t> rows = {
        {"GetFileAttributesW", 1, 5, "", created, 3},  // what cannot be seen is made
        {"CreateDirectoryW", 1, 5, not_made + "\\\\host\\ADMIN$\\Korva) function call failed.", none},
        {"CreateDirectoryW", 2, 5, not_made + "\\\\host\\ADMIN$\\Korva\\Backup) function call failed.", none},
        {"CopyFileW", 1, 5,
         not_copied + ". May be the file has FILE_ATTRIBUTE_HIDDEN or FILE_ATTRIBUTE_READONLY attribute set.", none},
        {"CopyFileW", 1, ERROR_DISK_FULL, not_copied, none},
        {"CreateServiceW", 1, 5, not_created + "create service 'KorvaDeploymentService'. %1.", copied},
        {"ChangeServiceConfig2W", 1, 5, not_created + "set description of the service 'KorvaDeploymentService'. %1.", created},
        {"ChangeServiceConfig2W", 2, 5, "", created},
        {"StartServiceA", 1, ERROR_SERVICE_DISABLED, not_started, created},
        {"QueryServiceStatus", 1, 5, not_started, created},
    };
    log_on();
    const auto prepare = [&] {
        host.recover();
        host.service_exists = false;
        for (const wchar_t* made : {L"\\Korva\\Backup\\KorvaDeploymentSvc.exe", L"\\Korva\\Backup", L"\\Korva"})
            host.files.erase(share + made);
    };
    play(rows, not_installed, none, prepare, [&] { return installing(); });
    EXPECT_EQ(host.service_state, DWORD{SERVICE_RUNNING});
}

TEST_F(Deployer, TheModulesPathMustBeKnown) {
    const std::pair<const char*, const char*> rows[] = {
        {"GetModuleHandleW", "Failed to get module handle for [KorvaProxyClient.dll]."},
        {"GetModuleFileNameW", "Fully-qualified path for the module [KorvaProxyClient.dll] cannot be retrieved."}};
    for (const auto& [call, line] : rows) {
        host.fail(call, ERROR_MOD_NOT_FOUND);
        EXPECT_THAT(thrown([&] { deployer.InstallService(); }), ElementsAre(exc::system_error_text(ERROR_MOD_NOT_FOUND), line));
    }
}

TEST_F(Deployer, AHostThatIsNoHostNameFailsBeforeAnythingIsMade) {
    const auto expect_refused = [&](const lines_t& calls) {
        for (const std::wstring& name : {L""s, L"\\\\host"s, L"host\\C$"s, L"host/C$"s, L"host\0x"s, L"."s, L"?"s}) {
            host.recover();
            deployer.SetEndpoint(name, 6160);
            EXPECT_THAT(installing(),
                        EndsWith(name.empty() ? "\nHost is not specified" : text::format("\nInvalid host name: [%1].", name)));
            EXPECT_EQ(call_names(), calls);
        }
    };
    expect_refused({});
    log_on();
    expect_refused({"ImpersonateLoggedOnUser", "RevertToSelf"});
    EXPECT_THAT(removing(), EndsWith("\nInvalid host name: [?]."));
}

TEST_F(Deployer, RemovesServiceExecutableAndFolderUnderTheAccount) {
    put_service(SERVICE_RUNNING);
    log_on();
    deployer.RemoveService();
    EXPECT_FALSE(host.has(share + L"\\Korva"));
    EXPECT_THAT(call_names(),
                ElementsAre("ImpersonateLoggedOnUser", "WNetAddConnection2W", "OpenSCManagerW", "OpenServiceW",
                            "QueryServiceConfigA", "NetShareGetInfo", "ControlService", "QueryServiceStatus", "DeleteService",
                            "GetFileAttributesW", "DeleteFileW", "GetFileAttributesW", "FindFirstFileW", "FindNextFileW",
                            "FindNextFileW", "FindNextFileW", "FindFirstFileW", "FindNextFileW", "FindNextFileW",
                            "RemoveDirectoryW", "RemoveDirectoryW", "WNetCancelConnectionW", "RevertToSelf"));
    lines_t texts = log.texts();
    std::erase_if(texts, [](const std::string& line) { return line.find("mpersonation") != std::string::npos; });
    EXPECT_THAT(texts, ElementsAre("Removing deployment service from the host [host].",
                                   "  Creating persistent connection to ADMIN$ shared folder on host [host].",
                                   "  Network share was opened.", "  Trying to open service 'KorvaDeploymentService'.",
                                   "  KD: Get service install path",
                                   "    Service local path: [\\\\host\\ADMIN$\\Korva\\Backup\\KorvaDeploymentSvc.exe]",
                                   "  KD: Waiting service for stop", "  KD: Delete service", "  KD: Delete service executable",
                                   "    KD: Clearing read-only attr from service executable",
                                   "  KD: Try to deleting remote korva folder [\\\\host\\ADMIN$\\Korva]",
                                   "  Deployment service was successfully deleted.",
                                   "  Closing persistent connection to ADMIN$ shared folder on host [host]."));
}

TEST_F(Deployer, RemovingFindsTheExecutableOnlyUnderTheShare) {
    const std::pair<const char*, const char*> rows[] = {
        {R"("C:\Windows\Korva\Backup\svc x.exe" -port 1)", R"(\\host\ADMIN$\Korva\Backup\svc x.exe)"},
        {R"("C:\Windows\svc.exe)", R"(\\host\ADMIN$\svc.exe)"},
        {R"(c:\WINDOWS\svc.exe)", R"(\\host\ADMIN$\svc.exe)"},
    };
    log_on();
    for (const auto& [line, file] : rows) {
        put_service(SERVICE_RUNNING, line);
        EXPECT_EQ(removing(), "nothing");
        EXPECT_TRUE(log.holds(text::format("Service local path: [%1]", file))) << line;
    }
    for (const char* line : {R"(C:\Program Files\svc.exe -port 1)", R"(C:\Windows2\svc.exe)", R"(C:\Windows)", R"(C:\Windows\)",
                             R"(C:\Windows\..\svc.exe)", R"(C:\Windows\Korva/../../svc.exe)", ""}) {
        begin();
        put_service(SERVICE_RUNNING, line);
        EXPECT_THAT(removing(), HasSubstr("Deployment service was moved to the unknown directory. [")) << line;
        EXPECT_EQ(host.count("ControlService"), 0) << line;
    }
}

TEST_F(Deployer, AnExecutableThatStaysHeldIsTriedThirtyTimes) {
    put_service(SERVICE_STOPPED);
    log_on();
    host.fail("DeleteFileW", ERROR_ACCESS_DENIED, 0);
    EXPECT_EQ(removing(), not_removed + "\n" + exc::system_error_text(ERROR_ACCESS_DENIED) +
                              "\nFailed to remove deployment service file from the target host");
    EXPECT_EQ(host.count("DeleteFileW"), 30);
    EXPECT_EQ(host.waits, std::vector<std::uint32_t>(30, 1000));
}

TEST_F(Deployer, EveryFailedCallOfARemovalIsToldAndAllIsGivenBack) {
    const std::string unreadable = "%1\nFailed to get file attributes for the service executable";
    const std::string undeletable = "%1\nFailed to delete file: [\\\\host\\ADMIN$\\Korva\\Backup\\old.log].";
    const std::string no_search = "%1\nFile search operation has failed. Search mask: [\\\\host\\ADMIN$\\Korva\\";
    const std::string not_emptied = "%1\nFailed to delete existing empty subfolder: [\\\\host\\ADMIN$\\Korva";
    const std::string not_stopped =
        "Failed to stop the deployment service on the target host\n%1\nFailed to stop service 'KorvaDeploymentService'. %1.";
    const std::vector<failure_t> rows = {
        {"QueryServiceConfigA", 1, 5, "%1\nCannot query  configuration of the service 'KorvaDeploymentService'. %1.", created},
        {"ControlService", 1, 5, not_stopped, created},
        {"QueryServiceStatus", 1, 5, not_stopped, created},
        {"DeleteService", 1, 5,
         "Failed to unregister deployment service from the target host\n%1\nFailed to delete service 'KorvaDeploymentService'. "
         "%1.",
         created},
        {"GetFileAttributesW", 1, 5, unreadable, copied},
        {"SetFileAttributesW", 1, 5, unreadable, copied},
        {"DeleteFileW", 1, 32, "%1\nFailed to remove deployment service file from the target host", copied},
        {"DeleteFileW", 1, 5, "", none},
        {"GetFileAttributesW", 1, ERROR_FILE_NOT_FOUND, "", none},
        {"SetFileAttributesW", 1, ERROR_FILE_NOT_FOUND, "", none},
        {"DeleteFileW", 1, ERROR_FILE_NOT_FOUND, "", none},
        {"GetFileAttributesW", 2, 5, "%1\nThe specified directory cannot be removed: [\\\\host\\ADMIN$\\Korva].", none},
        {"FindFirstFileW", 1, 5, no_search + "*].", none},
        {"FindNextFileW", 1, 5, no_search + "*].", none, 3},
        {"FindFirstFileW", 2, 5, no_search + "Backup\\*].", none},
        {"FindNextFileW", 4, 5, no_search + "Backup\\*].", none, 6},
        {"SetFileAttributesW", 2, 5, undeletable, none},
        {"DeleteFileW", 2, 32, undeletable, none},
        {"RemoveDirectoryW", 1, 5, not_emptied + "\\Backup].", none},
        {"RemoveDirectoryW", 1, ERROR_DIR_NOT_EMPTY, "", none},
        {"RemoveDirectoryW", 0, ERROR_DIR_NOT_EMPTY, not_emptied + "\\Backup].", none},
        {"RemoveDirectoryW", 2, 5, not_emptied + "].", none},
    };
    log_on();
    const auto prepare = [&] {
        host.recover();
        put_service(SERVICE_RUNNING);
        host.add_file(remote_executable, FILE_ATTRIBUTE_READONLY);
        host.add_file(share + L"\\Korva\\Backup\\old.log", FILE_ATTRIBUTE_READONLY);
    };
    play(rows, not_removed, created, prepare, [&] { return removing(); });
}

TEST_F(Deployer, RemovalNeedsAnAccountAndAFailedLogonLeavesNobodyLoggedOn) {
    const std::string nobody = "\nUser credentials not specified or logon error";
    EXPECT_EQ(removing(), not_removed + nobody);
    EXPECT_THAT(host.calls, IsEmpty());
    const auto fail_to_log_on = [&] {
        host.fail("LogonUserA", ERROR_LOGON_FAILURE, 0);
        EXPECT_EQ(thrown_text([&] { deployer.SetAccount(L"KORVA\\other", L"secret"); }),
                  exc::system_error_text(ERROR_LOGON_FAILURE) + "\nFailed to logon user [KORVA\\other]");
        host.recover();
    };
    fail_to_log_on();
    EXPECT_EQ(installing(), "nothing");
    EXPECT_EQ(host.count("WNetAddConnection2W"), 0) << "no account was set";
    deployer.SetAccount(L"admin", L"secret");
    EXPECT_EQ(host.calls.back(), "LogonUserA(admin, ., secret, 9, 0)");
    EXPECT_EQ(installing(), "nothing");
    EXPECT_THAT(host.calls, Contains("WNetAddConnection2W(\\\\host\\ADMIN$, secret, .\\admin, 0)"));
    fail_to_log_on();
    EXPECT_EQ(installing(), not_installed + nobody);
    EXPECT_EQ(removing(), not_removed + nobody);
    EXPECT_THAT(host.calls, IsEmpty());
}

}  // namespace
