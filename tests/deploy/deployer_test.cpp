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
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
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
    void TearDown() override { expect_all_given_back(""); }

    void log_on() { deployer.SetAccount(L"KORVA\\admin", L"secret"); }
    void put_service(DWORD state, const std::string& line = command_line) {
        host.install(line, state);
        host.add_folder(share + L"\\Korva");
        host.add_folder(share + L"\\Korva\\Backup");
        host.add_file(remote_executable);
    }
    void expect_all_given_back(const std::string& where) {
        EXPECT_EQ(host.left_open(), "") << where;
        EXPECT_EQ(win::impersonation_tokens().find(remote_executable), nullptr) << where;
        EXPECT_FALSE(win::win_impersonation_counter_t::of_thread().inside()) << where;
    }
    static std::string expected_text(const std::string& outer, std::string_view causes, DWORD code) {
        return causes.empty() ? "nothing" : outer + "\n" + text::format(causes, exc::system_error_text(code));
    }
    // The calls alone, without arguments.
    lines_t call_names() {
        lines_t names;
        for (const std::string& call : host.calls)
            names.push_back(call.substr(0, call.find('(')));
        return names;
    }
};

TEST_F(Deployer, InstallsCopiesCreatesAndStartsUnderTheAccount) {
    log_on();
    host.recover();
    log.clear();
    deployer.InstallService();
    EXPECT_THAT(
        host.calls,
        ElementsAre(
            "GetModuleHandleW(KorvaProxyClient.dll)", "GetModuleFileNameW()", "ImpersonateLoggedOnUser()",
            "WNetAddConnection2W(\\\\host\\ADMIN$, secret, KORVA\\admin, 0)", "OpenSCManagerW(host, ServicesActive, 0xF003F)",
            "OpenServiceW(KorvaDeploymentService, 0x10000000)", "GetFileAttributesW(\\\\host\\ADMIN$\\Korva)",
            "CreateDirectoryW(\\\\host\\ADMIN$\\Korva)", "GetFileAttributesW(\\\\host\\ADMIN$\\Korva\\Backup)",
            "CreateDirectoryW(\\\\host\\ADMIN$\\Korva\\Backup)",
            "GetFileAttributesW(\\\\host\\ADMIN$\\Korva\\Backup\\KorvaDeploymentSvc.exe)",
            "CopyFileW(C:\\console\\KorvaDeploymentSvc.exe, \\\\host\\ADMIN$\\Korva\\Backup\\KorvaDeploymentSvc.exe, 0)",
            "NetShareGetInfo(host, ADMIN$, 2)",
            "CreateServiceW(KorvaDeploymentService, Korva Installer Service, 0x10000000, 0x10, 2, 1, " + command_line +
                ", null, null, RPCSS;WINMGMT;, null, null)",
            "ChangeServiceConfig2W/1(Enables installing, updating and configuring additional Korva Backup components.)",
            "ChangeServiceConfig2W/2(reset 1, null, null, 4 actions 1/60000 1/60000 1/60000 1/60000)", "StartServiceA(0, null)",
            "QueryServiceStatus()", "WNetCancelConnectionW(\\\\host\\ADMIN$, 1)", "RevertToSelf()"));
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

TEST_F(Deployer, AnInstalledServiceIsOnlyStarted) {
    for (const DWORD state : {SERVICE_STOPPED, SERVICE_RUNNING}) {
        host.recover();
        log.clear();
        put_service(state);
        deployer.InstallService(L"");
        EXPECT_THAT(call_names(), Not(Contains("CopyFileW")));
        EXPECT_THAT(call_names(), Not(Contains("CreateServiceW")));
        EXPECT_THAT(call_names(), Not(Contains("ChangeServiceConfig2W/1")));
        EXPECT_TRUE(log.holds("Deployment service is already installed on the remote host."));
        EXPECT_EQ(log.holds("Already started"), state == SERVICE_RUNNING);
    }
}

TEST_F(Deployer, WithoutAnAccountInstallsAsTheCaller) {
    deployer.InstallService(local_executable);
    EXPECT_TRUE(host.service_exists);
    EXPECT_THAT(call_names(), Not(Contains("WNetAddConnection2W")));
    EXPECT_THAT(call_names(), Not(Contains("ImpersonateLoggedOnUser")));
}

TEST_F(Deployer, AThreadThatStillActsAsTheAccountIsNotTrusted) {
    log_on();
    host.fail("RevertToSelf", ERROR_ACCESS_DENIED, 0);
    const lines_t denied{exc::system_error_text(ERROR_ACCESS_DENIED), "Failed to end the impersonation of a logged on user"};
    EXPECT_EQ(thrown([&] { deployer.InstallService(local_executable); }), denied);
    EXPECT_TRUE(host.service_exists);
    impl::CKorvaDeployer other(host.platform());
    other.SetEndpoint(L"host", 6160);
    const int opened = host.count("OpenSCManagerW");
    EXPECT_EQ(thrown([&] { other.InstallService(local_executable); }), (lines_t{not_installed, denied[0], denied[1]}));
    EXPECT_EQ(host.count("OpenSCManagerW"), opened);
    host.recover();
    other.InstallService(local_executable);
    EXPECT_EQ(call_names().front(), "RevertToSelf");
}

TEST_F(Deployer, AnOldCopyIsReplacedThoughItIsHiddenAndReadOnly) {
    host.add_file(remote_executable, FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_READONLY);
    host.add_folder(share + L"\\Korva");
    host.add_folder(share + L"\\Korva\\Backup");
    deployer.InstallService(local_executable);
    EXPECT_EQ(host.call("SetFileAttributesW"),
              "SetFileAttributesW(\\\\host\\ADMIN$\\Korva\\Backup\\KorvaDeploymentSvc.exe, 0x80)");
    EXPECT_EQ(host.files[remote_executable], DWORD{FILE_ATTRIBUTE_ARCHIVE});
}

TEST_F(Deployer, EveryFailedCallOfAnInstallationIsToldAndAllIsGivenBack) {
    constexpr DWORD denied = ERROR_ACCESS_DENIED;
    const struct {
        const char* call;
        int nth;
        DWORD code;
        const char* causes;  // %1: the code's text; none: it succeeds all the same
        bool copied, created;
    } rows[] = {
        {"ImpersonateLoggedOnUser", 1, 6, "%1\nFailed to impersonate logged on user", false, false},
        {"WNetAddConnection2W", 1, 53,
         "Failed to create persistent connection to ADMIN$ shared folder on host [host].\n%1\nThe network path was not found. "
         "(ERROR_BAD_NETPATH)",
         false, false},
        {"OpenSCManagerW", 1, 1722, "%1\nCannot connect to service control manager. Host: 'host'.", false, false},
        {"OpenServiceW", 1, denied, "%1\nFailed to open deployment service", false, false},
        {"CreateDirectoryW", 1, denied,
         "Cannot create folder. Folder path: [\\\\host\\ADMIN$\\Korva\\Backup].\n%1\nCreateDirectory(\\\\host\\ADMIN$\\Korva) "
         "function call failed.",
         false, false},
        {"CreateDirectoryW", 2, denied,
         "Cannot create folder. Folder path: "
         "[\\\\host\\ADMIN$\\Korva\\Backup].\n%1\nCreateDirectory(\\\\host\\ADMIN$\\Korva\\Backup) function call failed.",
         false, false},
        {"CopyFileW", 1, denied,
         "%1\nFailed to copy file to the proxy host. May be the file has FILE_ATTRIBUTE_HIDDEN or FILE_ATTRIBUTE_READONLY "
         "attribute set.",
         false, false},
        {"CopyFileW", 1, ERROR_DISK_FULL, "%1\nFailed to copy file to the proxy host", false, false},
        {"NetShareGetInfo", 1, 2310, "%1\nFailed to get information about network share from the target host", true, false},
        {"CreateServiceW", 1, denied,
         "Failed to register deployment service the target host\n%1\nFailed to create service 'KorvaDeploymentService'. %1.",
         true, false},
        {"ChangeServiceConfig2W/1", 1, denied,
         "Failed to register deployment service the target host\n%1\nFailed to set description of the service "
         "'KorvaDeploymentService'. %1.",
         true, true},
        {"ChangeServiceConfig2W/2", 1, denied, "", true, true},
        {"StartServiceA", 1, ERROR_SERVICE_DISABLED,
         "Failed to start deployment service on the target host\n%1\nFailed to start service 'KorvaDeploymentService'. %1.",
         true, true},
        {"QueryServiceStatus", 1, denied,
         "Failed to start deployment service on the target host\n%1\nFailed to start service 'KorvaDeploymentService'. %1.",
         true, true},
        {"WNetCancelConnectionW", 1, ERROR_OPEN_FILES, "", true, true},
        {"RevertToSelf", 1, denied, "", true, true},
    };
    log_on();
    for (const auto& row : rows) {
        const std::string where = text::format("%1 %2 -> %3", row.call, row.nth, row.code);
        host.recover();
        host.service_exists = false;
        for (const wchar_t* made : {L"\\Korva\\Backup\\KorvaDeploymentSvc.exe", L"\\Korva\\Backup", L"\\Korva"})
            host.files.erase(share + made);
        host.fail(row.call, row.code, row.nth);
        EXPECT_EQ(thrown_text([&] { deployer.InstallService(local_executable); }),
                  expected_text(not_installed, row.causes, row.code))
            << where;
        EXPECT_GE(host.count(row.call), row.nth) << where;
        EXPECT_EQ(host.has(remote_executable), row.copied) << where << ": what is done stays";
        EXPECT_EQ(host.service_exists, row.created) << where << ": what is done stays";
        expect_all_given_back(where);

        host.recover();
        deployer.InstallService(local_executable);  // the next one goes on from there
        EXPECT_EQ(host.service_state, DWORD{SERVICE_RUNNING}) << where;
    }
}

TEST_F(Deployer, AServiceThatNeverRunsIsToldAfterThirtyLooks) {
    host.polls_until_state = 1000;
    EXPECT_EQ(thrown([&] { deployer.InstallService(local_executable); }),
              (lines_t{not_installed, "Failed to start deployment service on the target host",
                       "Timed out to start service 'KorvaDeploymentService'. ."}));
    EXPECT_EQ(host.count("QueryServiceStatus"), 30);
}

TEST_F(Deployer, OutOfMemoryKeepsItsKindThroughEveryWrapper) {
    impl::deployer_platform_t platform = host.platform();
    platform.services.start = [](auto...) -> BOOL { throw std::bad_alloc(); };
    impl::CKorvaDeployer starved(platform);
    starved.SetEndpoint(L"host", 6160);
    EXPECT_THROW(starved.InstallService(local_executable), std::bad_alloc);
}

TEST_F(Deployer, AMissingExecutableIsToldByTheCopy) {
    for (const wchar_t* missing : {L"C:\\console\\gone.exe", L""})
        EXPECT_EQ(thrown([&] { deployer.InstallService(missing); }),
                  (lines_t{not_installed, exc::system_error_text(2), "Failed to copy file to the proxy host"}));
    EXPECT_FALSE(host.service_exists);
}

TEST_F(Deployer, TheModulesPathMustBeKnown) {
    host.fail("GetModuleHandleW", ERROR_MOD_NOT_FOUND);
    EXPECT_EQ(thrown([&] { deployer.InstallService(); }), (lines_t{exc::system_error_text(ERROR_MOD_NOT_FOUND),
                                                                   "Failed to get module handle for [KorvaProxyClient.dll]."}));
    host.fail("GetModuleFileNameW", ERROR_ACCESS_DENIED);
    EXPECT_EQ(thrown([&] { deployer.InstallService(); }),
              (lines_t{exc::system_error_text(ERROR_ACCESS_DENIED),
                       "Fully-qualified path for the module [KorvaProxyClient.dll] cannot be retrieved."}));
}

TEST_F(Deployer, AHostThatIsNoHostNameFailsBeforeAnythingIsMade) {
    const std::wstring rows[] = {L"", L"\\\\host", L"host\\C$", L"host/C$", {L"host\0x", 6}, L".", L"?"};
    for (const bool with_account : {false, true}) {
        if (with_account)
            log_on();
        for (const std::wstring& name : rows) {
            host.recover();
            deployer.SetEndpoint(name, 6160);
            const lines_t lines = thrown([&] { deployer.InstallService(local_executable); });
            ASSERT_EQ(lines.size(), 2u);
            EXPECT_EQ(lines[1], name.empty() ? "Host is not specified" : text::format("Invalid host name: [%1].", name));
            EXPECT_EQ(call_names(), with_account ? lines_t({"ImpersonateLoggedOnUser", "RevertToSelf"}) : lines_t());
        }
    }
    EXPECT_EQ(thrown([&] { deployer.RemoveService(); })[1], "Invalid host name: [?].");
}

TEST_F(Deployer, RemovesServiceExecutableAndFolderUnderTheAccount) {
    put_service(SERVICE_RUNNING);
    log_on();
    host.recover();
    log.clear();
    deployer.RemoveService();
    EXPECT_FALSE(host.service_exists);
    EXPECT_FALSE(host.has(share + L"\\Korva"));
    EXPECT_TRUE(host.has(share));
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

TEST_F(Deployer, RemovingNeedsAnAccount) {
    put_service(SERVICE_RUNNING);
    EXPECT_EQ(thrown([&] { deployer.RemoveService(); }),
              (lines_t{not_removed, "User credentials not specified or logon error"}));
    EXPECT_THAT(host.calls, IsEmpty());
}

TEST_F(Deployer, RemovingWhatIsNotInstalledTouchesNothing) {
    host.add_folder(share + L"\\Korva");
    log_on();
    deployer.RemoveService();
    EXPECT_TRUE(log.holds("Service not installed"));
    EXPECT_TRUE(host.has(share + L"\\Korva"));
    EXPECT_THAT(call_names(), Not(Contains("QueryServiceConfigA")));
}

TEST_F(Deployer, RemovingFindsTheExecutableOnlyUnderTheShare) {
    const struct {
        const char *line, *unc_file;  // null: refused
    } rows[] = {
        {"\"C:\\Windows\\Korva\\Backup\\svc x.exe\" -port 1", "\\\\host\\ADMIN$\\Korva\\Backup\\svc x.exe"},
        {"\"C:\\Windows\\svc.exe", "\\\\host\\ADMIN$\\svc.exe"},
        {"c:\\WINDOWS\\svc.exe", "\\\\host\\ADMIN$\\svc.exe"},
        {"C:\\Program Files\\svc.exe -port 1", nullptr},
        {"C:\\Windows2\\svc.exe", nullptr},
        {"C:\\Windows", nullptr},
        {"C:\\Windows\\", nullptr},
        {"C:\\Windows\\..\\svc.exe", nullptr},
        {"C:\\Windows\\Korva/../../svc.exe", nullptr},
        {"", nullptr},
    };
    log_on();
    for (const auto& row : rows) {
        host.recover();
        put_service(SERVICE_RUNNING, row.line);
        const lines_t lines = thrown([&] { deployer.RemoveService(); });
        if (row.unc_file) {
            EXPECT_TRUE(log.holds(text::format("Service local path: [%1]", row.unc_file))) << row.line;
        } else {
            ASSERT_EQ(lines.size(), 2u) << row.line;
            EXPECT_THAT(lines[1], HasSubstr("Deployment service was moved to the unknown directory. [")) << row.line;
            EXPECT_EQ(host.count("ControlService"), 0) << row.line;
        }
    }
}

TEST_F(Deployer, AnExecutableThatIsGoneIsNoReasonToStop) {
    const struct {
        const char* call;
        DWORD attributes;
    } rows[] = {{"GetFileAttributesW", 0}, {"SetFileAttributesW", FILE_ATTRIBUTE_READONLY}, {"DeleteFileW", 0}};
    log_on();
    for (const auto& row : rows) {
        host.recover();
        log.clear();
        put_service(SERVICE_STOPPED);
        host.files[remote_executable] |= row.attributes;
        host.fail(row.call, ERROR_FILE_NOT_FOUND);
        deployer.RemoveService();
        EXPECT_TRUE(log.holds("File not found")) << row.call;
        EXPECT_FALSE(host.has(share + L"\\Korva")) << row.call;
    }
}

TEST_F(Deployer, AnExecutableThatStaysHeldIsTriedThirtyTimes) {
    put_service(SERVICE_STOPPED);
    log_on();
    host.fail("DeleteFileW", ERROR_ACCESS_DENIED, 0);
    EXPECT_EQ(thrown([&] { deployer.RemoveService(); }),
              (lines_t{not_removed, exc::system_error_text(ERROR_ACCESS_DENIED),
                       "Failed to remove deployment service file from the target host"}));
    EXPECT_EQ(host.count("DeleteFileW"), 30);
    EXPECT_THAT(host.waits, testing::Each(1000u));
    EXPECT_EQ(host.waits.size(), 30u);
}

TEST_F(Deployer, EveryFailedCallOfARemovalIsToldAndAllIsGivenBack) {
    constexpr DWORD denied = ERROR_ACCESS_DENIED;
    const struct {
        const char* call;
        int nth;
        DWORD code;
        const char* causes;
        bool service_left, executable_left;
    } rows[] = {
        {"ImpersonateLoggedOnUser", 1, 6, "%1\nFailed to impersonate logged on user", true, true},
        {"WNetAddConnection2W", 1, 67,
         "Failed to create persistent connection to ADMIN$ shared folder on host [host].\n%1\nThe network name cannot be "
         "found. (ERROR_BAD_NET_NAME)",
         true, true},
        {"OpenSCManagerW", 1, denied, "%1\nCannot connect to service control manager. Host: 'host'.", true, true},
        {"OpenServiceW", 1, denied, "%1\nFailed to open deployment service", true, true},
        {"QueryServiceConfigA", 1, denied, "%1\nCannot query  configuration of the service 'KorvaDeploymentService'. %1.", true,
         true},
        {"NetShareGetInfo", 1, 2310, "%1\nFailed to get information about network share from the target host", true, true},
        {"ControlService", 1, denied,
         "Failed to stop the deployment service on the target host\n%1\nFailed to stop service 'KorvaDeploymentService'. %1.",
         true, true},
        {"DeleteService", 1, denied,
         "Failed to unregister deployment service from the target host\n%1\nFailed to delete service 'KorvaDeploymentService'. "
         "%1.",
         true, true},
        {"GetFileAttributesW", 1, denied, "%1\nFailed to get file attributes for the service executable", false, true},
        {"SetFileAttributesW", 1, denied, "%1\nFailed to get file attributes for the service executable", false, true},
        {"DeleteFileW", 1, ERROR_SHARING_VIOLATION, "%1\nFailed to remove deployment service file from the target host", false,
         true},
        {"GetFileAttributesW", 2, denied, "%1\nThe specified directory cannot be removed: [\\\\host\\ADMIN$\\Korva].", false,
         false},
        {"FindFirstFileW", 1, denied, "%1\nFile search operation has failed. Search mask: [\\\\host\\ADMIN$\\Korva\\*].", false,
         false},
        {"RemoveDirectoryW", 2, denied, "%1\nFailed to delete existing empty subfolder: [\\\\host\\ADMIN$\\Korva].", false,
         false},
        {"WNetCancelConnectionW", 1, 2250, "", false, false},
    };
    log_on();
    for (const auto& row : rows) {
        const std::string where = text::format("%1 %2 -> %3", row.call, row.nth, row.code);
        host.recover();
        put_service(SERVICE_RUNNING);
        host.files[remote_executable] = FILE_ATTRIBUTE_READONLY;
        host.fail(row.call, row.code, row.nth);
        EXPECT_EQ(thrown_text([&] { deployer.RemoveService(); }), expected_text(not_removed, row.causes, row.code)) << where;
        EXPECT_GE(host.count(row.call), row.nth) << where;
        EXPECT_EQ(host.service_exists, row.service_left) << where;
        EXPECT_EQ(host.has(remote_executable), row.executable_left) << where;
        expect_all_given_back(where);
    }
}

TEST_F(Deployer, AFailedLogonLeavesNobodyLoggedOn) {
    const auto fail_to_log_on = [&] {
        host.fail("LogonUserA", ERROR_LOGON_FAILURE, 0);
        EXPECT_EQ(thrown([&] { deployer.SetAccount(L"KORVA\\other", L"secret"); }),
                  (lines_t{exc::system_error_text(ERROR_LOGON_FAILURE), "Failed to logon user [KORVA\\other]"}));
        host.recover();
    };
    fail_to_log_on();
    deployer.InstallService(local_executable);
    EXPECT_EQ(host.count("WNetAddConnection2W"), 0) << "no account was set";
    deployer.SetAccount(L"admin", L"secret");
    EXPECT_EQ(host.call("LogonUserA"), "LogonUserA(.\\admin)");
    deployer.InstallService(local_executable);
    EXPECT_EQ(host.call("WNetAddConnection2W"), "WNetAddConnection2W(\\\\host\\ADMIN$, secret, .\\admin, 0)");
    fail_to_log_on();
    const std::string nobody = "User credentials not specified or logon error";
    EXPECT_EQ(thrown([&] { deployer.InstallService(local_executable); }), (lines_t{not_installed, nobody}));
    EXPECT_EQ(thrown([&] { deployer.RemoveService(); }), (lines_t{not_removed, nobody}));
    EXPECT_THAT(host.calls, IsEmpty());
    EXPECT_FALSE(log.holds("secret"));
}

}  // namespace
