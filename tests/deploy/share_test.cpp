#include <gmock/gmock.h>

#include "deploy/admin_share.h"
#include "deploy/share_information.h"
#include "deploy/unc_path.h"
#include "foundation/format.h"
#include "foundation/system_text.h"
#include "logging/memory_receiver.h"
#include "tests/deploy/played_host.h"
#include "tests/foundation/thrown.h"

namespace {

using testing::Contains;
using testing::ElementsAre;

const std::string creating = "Creating persistent connection to ADMIN$ shared folder on host [host].";
const std::string not_created = "Failed to create persistent connection to ADMIN$ shared folder on host [host].";
const std::string closing = "Closing persistent connection to ADMIN$ shared folder on host [host].";

struct AdminShare : testing::Test {
    played::host_t host;
    logging::captured_log_t log;

    void open(const wchar_t* name = L"host", const wchar_t* user = L"KORVA\\admin", const wchar_t* password = L"secret") {
        win::CAdmPersistentShare(name, user, win::secret_t(std::wstring_view(password)), host.platform().network);
    }
    void TearDown() override { EXPECT_EQ(host.left_open(), ""); }
};

TEST_F(AdminShare, IsConnectedForTheSessionAndClosedWithForce) {
    open(L"host", L"", L"");
    EXPECT_EQ(host.calls[0], "WNetAddConnection2W(\\\\host\\ADMIN$, null, null, 0)") << "the caller's own";
    host.recover();
    log.clear();
    open();
    EXPECT_THAT(host.calls, ElementsAre("WNetAddConnection2W(\\\\host\\ADMIN$, secret, KORVA\\admin, 0)",
                                        "WNetCancelConnectionW(\\\\host\\ADMIN$, 1)"));
    EXPECT_THAT(log.texts(), ElementsAre(creating, "Network share was opened.", closing));
    EXPECT_FALSE(log.holds("secret"));
}

TEST_F(AdminShare, OneThatIsRememberedAlreadyCountsAsOpenedAndEveryOtherResultFails) {
    host.fail("WNetAddConnection2W", ERROR_DEVICE_ALREADY_REMEMBERED);
    open();
    EXPECT_THAT(log.texts(), ElementsAre(creating, "Network share already opened.", closing));
    host.recover();
    host.fail("WNetAddConnection2W", ERROR_NO_NETWORK);
    EXPECT_THAT(thrown([&] { open(); }),
                ElementsAre(not_created, exc::system_error_text(ERROR_NO_NETWORK), "WNetAddConnection2 function call failed."));
    EXPECT_EQ(host.count("WNetCancelConnectionW"), 0) << "nothing was opened";
}

TEST_F(AdminShare, ClosingOneThatIsGoneSucceedsAndAnyOtherFailureIsOnlyLogged) {
    host.fail("WNetCancelConnectionW", ERROR_NOT_CONNECTED);
    open();
    EXPECT_THAT(log.texts(), ElementsAre(creating, "Network share was opened.", closing, "Connection already closed."));

    host.recover();
    host.fail("WNetCancelConnectionW", ERROR_OPEN_FILES, 0);
    {
        win::CAdmPersistentShare share(L"host", L"", {}, host.platform().network);
        EXPECT_THAT(thrown([&] { share.close(); }),
                    ElementsAre("Failed to close persistent connection to ADMIN$ shared folder on host [host].",
                                exc::system_error_text(ERROR_OPEN_FILES), "WNetCancelConnection function call failed."));
    }
    EXPECT_EQ(host.count("WNetCancelConnectionW"), 1) << "closed is closed";
    log.clear();
    open();
    EXPECT_TRUE(log.holds("A share connection was not closed."));
    EXPECT_TRUE(log.holds(exc::system_error_text(ERROR_OPEN_FILES)));
    EXPECT_EQ(host.left_open(), "\\\\host\\ADMIN$ ");
    host.connected.clear();
}

TEST_F(AdminShare, OtherCredentialsDropTheHostsConnectionsAndStillFail) {
    host.connections = {
        L"\\\\HOST\\C$", L"\\\\host.korva.lan\\data", L"\\\\host.other.lan\\x", L"\\\\hostess\\C$", L"", L"X", L"\\\\host",
        L"\\\\host\\c$"};
    EXPECT_THAT(
        thrown([&] { open(L"host.korva.lan"); }),
        ElementsAre("Failed to create persistent connection to ADMIN$ shared folder on host [host.korva.lan].",
                    exc::system_error_text(ERROR_SESSION_CREDENTIAL_CONFLICT), "WNetAddConnection2 function call failed."));
    EXPECT_EQ(host.call("WNetOpenEnumA"), "WNetOpenEnumA(1, 0, 19, null)");
    std::vector<std::string> cancelled;
    for (const std::string& call : host.calls)
        if (call.starts_with("WNetCancel"))
            cancelled.push_back(call);
    EXPECT_THAT(cancelled,
                ElementsAre("WNetCancelConnectionW(\\\\host.korva.lan\\data, 1)",
                            "WNetCancelConnectionW(\\\\host.other.lan\\x, 1)", "WNetCancelConnectionW(\\\\HOST\\C$, 1)"))
        << "by full and by short name, case ignored, each once";
    EXPECT_THAT(log.texts(), Contains("Network share was opened early but with another credentials set."));
    EXPECT_THAT(log.texts(), Contains("Checking whether [\\\\hostess\\C$] should be canceled."));
    EXPECT_THAT(log.texts(), Contains("Network connection [\\\\HOST\\C$] was cancelled."));
    open(L"host.korva.lan");  // the next attempt succeeds
}

TEST_F(AdminShare, DroppingConnectionsFailsInItsOwnWords) {
    const std::string enumerating = "Failed to enumerate persistent connection to network shares on server [host].\n%1\n";
    const std::string not_read = enumerating + "Failed to retrieve details for the next enumerated network resource.";
    const struct {
        const char* call;
        int nth;
        DWORD code;
        std::string text;
    } rows[] = {
        {"WNetOpenEnumA", 1, ERROR_NO_NETWORK, enumerating + "Failed to start enumeration."},
        {"WNetEnumResourceW", 1, ERROR_NO_NETWORK, not_read},
        {"WNetEnumResourceW", 2, ERROR_NO_NETWORK, not_read},
        {"WNetCancelConnectionW", 1, ERROR_NO_NETWORK, "%1\nFailed to cancel persistent network connection [\\\\host\\C$]."},
        {"WNetCancelConnectionW", 1, ERROR_NOT_CONNECTED, "nothing"},
    };
    for (const auto& row : rows) {
        host.recover();
        host.connections = {L"\\\\host\\C$", L"\\\\host\\D$"};
        host.fail(row.call, row.code, row.nth);
        EXPECT_EQ(thrown_text([&] { win::drop_connections(L"host", host.platform().network); }),
                  text::format(row.text, exc::system_error_text(row.code)))
            << row.call << row.nth;
        EXPECT_EQ(host.left_open(), "") << row.call;
    }
    EXPECT_EQ(host.count("WNetCancelConnectionW"), 2) << "one that is gone keeps no other";
}

TEST(UncPaths, AreSplitIntoServerShortNameAndRest) {
    const struct {
        const wchar_t *path, *server, *short_name, *rest, *share;
    } rows[] = {
        {L"\\\\host\\ADMIN$\\Korva", L"host", L"host", L"ADMIN$\\Korva", L"\\\\host\\ADMIN$"},
        {L"\\\\host.korva.lan\\C$", L"host.korva.lan", L"host", L"C$", L"\\\\host.korva.lan\\C$"},
        {L"\\\\host\\", L"host", L"host", L"", L""},
    };
    for (const auto& row : rows) {
        const auto parsed = win::parse_unc(row.path, false);
        ASSERT_TRUE(parsed);
        EXPECT_EQ(parsed->server, row.server);
        EXPECT_EQ(parsed->short_name, row.short_name);
        EXPECT_EQ(parsed->rest, row.rest);
        EXPECT_EQ(win::share_of(row.path), row.share);
    }
    const struct {
        const wchar_t* path;
        const char* line;
    } invalid[] = {{L"", "Invalid UNC path []."},
                   {L"\\\\", "Invalid UNC path [\\\\]."},
                   {L"C:\\x", "Invalid UNC path [C:\\x]."},
                   {L"\\\\host", "Invalid UNC path [\\\\host]"}};
    for (const auto& row : invalid) {
        EXPECT_FALSE(win::parse_unc(row.path, true));
        EXPECT_THAT(thrown([&] { win::parse_unc(row.path, false); }), ElementsAre(row.line));
        EXPECT_EQ(win::share_of(row.path), L"");
    }
}

TEST_F(AdminShare, InformationIsFreedAndAHostThatSendsNoPathIsNotBelieved) {
    EXPECT_EQ(win::share_local_path(L"host", L"ADMIN$", host.platform().shares), L"C:\\Windows");
    EXPECT_EQ(host.call("NetShareGetInfo"), "NetShareGetInfo(host, ADMIN$, 2)");

    win::share_functions_t functions = host.platform().shares;
    const auto get_info = functions.get_info;
    functions.get_info = [&](LMSTR name, LMSTR share, DWORD level, LPBYTE* buffer) {
        const DWORD code = get_info(name, share, level, buffer);
        reinterpret_cast<SHARE_INFO_2*>(*buffer)->shi2_path = nullptr;
        return code;
    };
    EXPECT_THAT(thrown([&] { win::share_local_path(L"host", L"ADMIN$", functions); }),
                ElementsAre(exc::system_error_text(ERROR_INVALID_DATA),
                            "Failed to get information about network share from the target host"));
}

}  // namespace
