#include "deploy/deployer.h"

#include <gmock/gmock.h>

#include "deploy/impersonation_tokens.h"
#include "foundation/format.h"
#include "foundation/system_text.h"
#include "logging/memory_receiver.h"
#include "tests/deploy/played_host.h"
#include "tests/expected_texts.h"
#include "tests/foundation/thrown.h"

namespace {

using testing::_;
using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using namespace std::string_literals;
namespace fs = std::filesystem;
using lines_t = std::vector<std::string>;

const char expected[] =
#include "tests/deploy/deployer.txt"
    ;

const std::wstring local_executable = L"C:\\console\\KorvaDeploymentSvc.exe";
const std::wstring share = L"\\\\host\\ADMIN$";
const std::string command_line = "C:\\Windows\\Korva\\Backup\\KorvaDeploymentSvc.exe -port 6160";
const lines_t nothing = {"nothing"};
const std::string not_installed = "Failed to install service [KorvaDeploymentService] was not installed on the host [host].";
const std::string not_removed = "Failed to remove deployment service from the host [host].";

struct Deployer : testing::Test {
    played::host_t host;
    logging::captured_log_t log;
    impl::CKorvaDeployer deployer{host.platform()};
    const fs::path executable = host.at(share + L"\\Korva\\Backup\\KorvaDeploymentSvc.exe");

    void SetUp() override { deployer.SetEndpoint(L"host", 6160); }
    void TearDown() override {
        expect_all_given_back();
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
        fs::create_directories(executable.parent_path());
        write_all(executable, "an old one");
    }
    void expect_all_given_back(const std::string& but = "") {
        EXPECT_EQ(host.left_open(), but);
        EXPECT_EQ(win::impersonation_tokens().find(share + L"\\x"), nullptr);
        EXPECT_FALSE(win::win_impersonation_counter_t::of_thread().inside());
    }
    lines_t installing() {
        return thrown([&] { deployer.InstallService(local_executable); });
    }
    lines_t removing() {
        return thrown([&] { deployer.RemoveService(); });
    }
    // The calls alone, without arguments.
    lines_t call_names() {
        lines_t names = host.calls;
        for (std::string& name : names)
            name.resize(name.find('('));
        return names;
    }

    std::string on_host() const {
        if (!fs::exists(executable))
            return host.service_exists ? "service" : "nothing";
        return host.service_exists ? "service, executable" : "executable";
    }
    // Every call that the operation makes fails in its turn; then the operation is repeated, and goes on from there.
    void play(const char* rows, const std::string& failure, const std::function<void()>& prepare,
              const std::function<lines_t()>& operation) {
        log_on();
        prepare();
        EXPECT_EQ(operation(), nothing);
        const bool is_there = host.service_exists;
        std::set<std::string> unplayed;
        for (const std::string& call : call_names())
            for (int nth = 1; nth <= host.count(call); ++nth)
                unplayed.insert(text::format("%1 %2", call, nth));
        for (const std::string& row : section(expected, rows)) {
            SCOPED_TRACE(row);
            const auto [call, code, left, causes] = columns<4>(row);
            const std::string code_text = exc::system_error_text(std::stoul(code));
            unplayed.erase(call);
            prepare();
            begin();
            host.fail(call, std::stoul(code));
            EXPECT_EQ(operation(), causes.empty() ? nothing : cut(failure + " / " + text::format(causes, code_text), " / "));
            EXPECT_TRUE(host.has_failed());
            EXPECT_EQ(log.holds("File not found"), code == "2");
            EXPECT_EQ(on_host(), left);
            expect_all_given_back(call.starts_with("WNetCancel") ? "\\\\host\\ADMIN$ " : "");
            host.recover();
            EXPECT_EQ(operation(), nothing);
            EXPECT_EQ(host.service_exists, is_there);
            EXPECT_EQ(host.count("CreateServiceW") + host.count("DeleteService"), left.starts_with("service") != is_there)
                << "only what is not done yet";
        }
        EXPECT_THAT(unplayed, IsEmpty());
    }
};

TEST_F(Deployer, InstallsCopiesCreatesAndStartsUnderTheAccount) {
    log_on();
    deployer.InstallService();
    EXPECT_THAT(log.texts(), ElementsAreArray(section(expected, "installation")));
}

TEST_F(Deployer, RemovesServiceExecutableAndFolderUnderTheAccount) {
    put_service(SERVICE_RUNNING);
    log_on();
    deployer.RemoveService();
    EXPECT_THAT(log.texts(), ElementsAreArray(section(expected, "removal")));
    EXPECT_FALSE(fs::exists(host.at(share + L"\\Korva")));
}

TEST_F(Deployer, EveryFailedCallOfAnInstallationIsToldAndAllIsGivenBack) {
    const auto prepare = [&] {
        host.service_exists = false;
        win::remove_folder(host.at(share + L"\\Korva").wstring());
    };
    play("installation, failing", not_installed, prepare, [&] { return installing(); });
    EXPECT_EQ(host.service_state, DWORD{SERVICE_RUNNING});
}

TEST_F(Deployer, EveryFailedCallOfARemovalIsToldAndAllIsGivenBack) {
    const auto prepare = [&] {
        put_service(SERVICE_RUNNING);
        write_all(executable.parent_path() / "old.log", "");
        for (const char* name : {"KorvaDeploymentSvc.exe", "old.log"})
            ::SetFileAttributesW((executable.parent_path() / name).c_str(), FILE_ATTRIBUTE_READONLY);
    };
    play("removal, failing", not_removed, prepare, [&] { return removing(); });
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
    host.fail("RevertToSelf", ERROR_ACCESS_DENIED);
    const std::string denied = exc::system_error_text(ERROR_ACCESS_DENIED);
    const std::string failure = "Failed to end the impersonation of a logged on user";
    EXPECT_THAT(installing(), ElementsAre(denied, failure));
    EXPECT_TRUE(host.service_exists);
    host.calls.clear();
    EXPECT_THAT(removing(), ElementsAre(not_removed, denied, failure));
    EXPECT_EQ(call_names(), lines_t({"RevertToSelf"}));
    host.recover();
    EXPECT_EQ(installing(), nothing);
    EXPECT_EQ(call_names().front(), "RevertToSelf");
}

TEST_F(Deployer, AnOldCopyIsReplacedThoughItIsHiddenAndReadOnly) {
    put_service(SERVICE_STOPPED);
    host.service_exists = false;
    ::SetFileAttributesW(executable.c_str(), FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_READONLY);
    host.fail("SetFileAttributesW", ERROR_SHARING_VIOLATION);
    host.fail("CopyFileW", ERROR_ACCESS_DENIED);
    EXPECT_THAT(installing().back(), EndsWith("FILE_ATTRIBUTE_HIDDEN or FILE_ATTRIBUTE_READONLY attribute set."));
    host.recover();
    EXPECT_EQ(installing(), nothing);
    EXPECT_EQ(read_all(executable), "the executable");
    EXPECT_EQ(::GetFileAttributesW(executable.c_str()), DWORD{FILE_ATTRIBUTE_ARCHIVE});
    EXPECT_THAT(call_names(), ElementsAre(_, _, _, _, _, "SetFileAttributesW", "CopyFileW", _, _, _, _, _, _));
}

TEST_F(Deployer, TheModulesPathMustBeKnown) {
    const std::pair<const char*, const char*> rows[] = {
        {"GetModuleHandleW 1", "Failed to get module handle for [KorvaProxyClient.dll]."},
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
            EXPECT_EQ(installing().at(1),
                      name.empty() ? "Host is not specified" : text::format("Invalid host name: [%1].", name));
            EXPECT_EQ(call_names(), calls);
        }
    };
    expect_refused({});
    log_on();
    expect_refused({"ImpersonateLoggedOnUser", "RevertToSelf"});
    EXPECT_THAT(removing(), ElementsAre(_, "Invalid host name: [?]."));
}

TEST_F(Deployer, RemovingFindsTheExecutableOnlyUnderTheShare) {
    log_on();
    for (const std::string& row : section(expected, "executables")) {
        SCOPED_TRACE(row);
        const auto [line, path] = columns<2>(row);
        begin();
        put_service(SERVICE_RUNNING, line);
        const lines_t told = removing();
        if (!path.empty()) {
            EXPECT_EQ(told, nothing);
            EXPECT_TRUE(log.holds(text::format("Service local path: [%1]", path)));
        } else {
            EXPECT_THAT(told.at(1), HasSubstr("Deployment service was moved to the unknown directory. ["));
            EXPECT_EQ(host.count("ControlService"), 0);
        }
    }
}

TEST_F(Deployer, AnExecutableThatStaysHeldIsTriedThirtyTimes) {
    put_service(SERVICE_STOPPED);
    log_on();
    host.fail("DeleteFileW", ERROR_ACCESS_DENIED);
    EXPECT_THAT(removing(), ElementsAre(not_removed, exc::system_error_text(ERROR_ACCESS_DENIED),
                                        "Failed to remove deployment service file from the target host"));
    EXPECT_EQ(host.count("DeleteFileW"), 30);
    EXPECT_EQ(host.waits, std::vector<std::uint32_t>(30, 1000));
}

TEST_F(Deployer, RemovalNeedsAnAccountAndAFailedLogonLeavesNobodyLoggedOn) {
    const std::string nobody = "User credentials not specified or logon error";
    EXPECT_THAT(removing(), ElementsAre(not_removed, nobody));
    EXPECT_THAT(host.calls, IsEmpty());
    const auto fail_to_log_on = [&] {
        host.fail("LogonUserA", ERROR_LOGON_FAILURE);
        EXPECT_THAT(thrown([&] { deployer.SetAccount(L"KORVA\\other", L"secret"); }),
                    ElementsAre(exc::system_error_text(ERROR_LOGON_FAILURE), "Failed to logon user [KORVA\\other]"));
        host.recover();
    };
    fail_to_log_on();
    EXPECT_EQ(installing(), nothing);
    EXPECT_EQ(host.count("WNetAddConnection2W"), 0) << "no account was set";
    deployer.SetAccount(L"admin", L"secret");
    EXPECT_EQ(host.calls.back(), "LogonUserA(admin, ., the password, 9, 0)");
    EXPECT_EQ(installing(), nothing);
    EXPECT_THAT(host.calls, Contains("WNetAddConnection2W(\\\\host\\ADMIN$, the password, .\\admin, 0)"));
    fail_to_log_on();
    EXPECT_THAT(installing(), ElementsAre(not_installed, nobody));
    EXPECT_THAT(removing(), ElementsAre(not_removed, nobody));
    EXPECT_THAT(host.calls, IsEmpty());
}

}  // namespace
