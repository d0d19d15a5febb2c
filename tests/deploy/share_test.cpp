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

using testing::ElementsAre;
using testing::FieldsAre;
using testing::IsSupersetOf;
using testing::Optional;

using lines_t = std::vector<std::string>;

struct AdminShare : testing::Test {
    played::host_t host;
    logging::captured_log_t log;

    lines_t opening(const wchar_t* name, const wchar_t* user = L"KORVA\\admin", const wchar_t* password = L"secret") {
        log.clear();
        return thrown(
            [&] { win::CAdmPersistentShare(name, user, win::secret_t(std::wstring_view(password)), host.platform().network); });
    }
    void TearDown() override { EXPECT_EQ(host.left_open(), ""); }
};

TEST_F(AdminShare, WithoutAUserIsTheCallersOwn) {
    EXPECT_THAT(opening(L"host", L"", L""), ElementsAre("nothing"));
    EXPECT_THAT(host.calls, ElementsAre("WNetAddConnection2W(\\\\host\\ADMIN$, null, null, 0)",
                                        "WNetCancelConnectionW(\\\\host\\ADMIN$, 1)"));
}

TEST_F(AdminShare, OneThatIsRememberedAlreadyCountsAsOpenedAndOneThatIsGoneAsClosed) {
    host.fail("WNetAddConnection2W", ERROR_DEVICE_ALREADY_REMEMBERED);
    host.fail("WNetCancelConnectionW", ERROR_NOT_CONNECTED);
    EXPECT_THAT(opening(L"host"), ElementsAre("nothing"));
    EXPECT_THAT(
        log.texts(),
        ElementsAre("Creating persistent connection to ADMIN$ shared folder on host [host].", "Network share already opened.",
                    "Closing persistent connection to ADMIN$ shared folder on host [host].", "Connection already closed."));
}

TEST_F(AdminShare, AFailedCloseIsOnlyLogged) {
    host.fail("WNetCancelConnectionW", ERROR_OPEN_FILES);
    EXPECT_THAT(opening(L"host"), ElementsAre("nothing"));
    lines_t failure = log.texts();
    failure.erase(failure.begin(), failure.end() - 4);
    EXPECT_THAT(failure, ElementsAre("ERR |A share connection was not closed.",
                                     ">>  |Failed to close persistent connection to ADMIN$ shared folder on host [host].",
                                     ">>  |" + exc::system_error_text(ERROR_OPEN_FILES),
                                     ">>  |WNetCancelConnection function call failed."));
    host.connected.clear();
}

TEST_F(AdminShare, OtherCredentialsDropTheHostsConnectionsAndStillFail) {
    host.connections = {
        L"\\\\HOST\\C$", L"\\\\host.korva.lan\\data", L"\\\\host.other.lan\\x", L"\\\\hostess\\C$", L"", L"X", L"\\\\host",
        L"\\\\host\\c$"};
    EXPECT_THAT(
        opening(L"host.korva.lan"),
        ElementsAre("Failed to create persistent connection to ADMIN$ shared folder on host [host.korva.lan].",
                    exc::system_error_text(ERROR_SESSION_CREDENTIAL_CONFLICT), "WNetAddConnection2 function call failed."));
    EXPECT_EQ(host.calls[1], "WNetOpenEnumA(1, 0, 19, null)");
    EXPECT_THAT(lines_t(host.calls.end() - 3, host.calls.end()),
                ElementsAre("WNetCancelConnectionW(\\\\host.korva.lan\\data, 1)",
                            "WNetCancelConnectionW(\\\\host.other.lan\\x, 1)", "WNetCancelConnectionW(\\\\HOST\\C$, 1)"))
        << "by full and by short name, case ignored, each once";
    EXPECT_THAT(log.texts(), IsSupersetOf<std::string>({"Network share was opened early but with another credentials set.",
                                                        "Checking whether [\\\\hostess\\C$] should be canceled.",
                                                        "Network connection [\\\\HOST\\C$] was cancelled."}));
    EXPECT_THAT(opening(L"host.korva.lan"), ElementsAre("nothing")) << "the next attempt succeeds";
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
        EXPECT_THAT(win::parse_unc(row.path, false), Optional(FieldsAre(row.server, row.short_name, row.rest)));
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
    host.share_path = nullptr;
    EXPECT_THAT(thrown([&] { win::share_local_path(L"host", L"ADMIN$", host.platform().shares); }),
                ElementsAre(exc::system_error_text(ERROR_INVALID_DATA),
                            "Failed to get information about network share from the target host"));
}

}  // namespace
