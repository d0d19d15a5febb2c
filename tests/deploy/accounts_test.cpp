#include "deploy/accounts.h"

#include <gmock/gmock.h>

#include "foundation/system_text.h"
#include "tests/foundation/thrown.h"
#include "tests/process_state.h"

namespace {

using testing::ElementsAre;

TEST(Accounts, AreSplitAtTheFirstBackslashAndElseBelongToTheLocalMachine) {
    const struct {
        const wchar_t *name, *domain, *user;
    } rows[] = {
        {L"KORVA\\admin", L"KORVA", L"admin"}, {L"admin@korva.lan", L".", L"admin@korva.lan"},
        {L"a\\b\\c", L"a", L"b\\c"},           {L"\\admin", L"", L"admin"},
        {L"KORVA\\", L"KORVA", L""},           {L"", L".", L""},
    };
    for (const auto& row : rows) {
        const win::account_t account = win::split_account(row.name);
        EXPECT_EQ(account.domain, row.domain) << testing::PrintToString(row.name);
        EXPECT_EQ(account.user, row.user) << testing::PrintToString(row.name);
    }
}

TEST(Accounts, LogOnWithNewCredentialsInTheCodePageOfTheProcess) {
    win::account_functions_t functions;
    functions.logon_user = [](LPCSTR user, LPCSTR domain, LPCSTR password, DWORD type, DWORD provider, PHANDLE token) -> BOOL {
        EXPECT_STREQ(user, "J\xf6rg");
        EXPECT_STREQ(domain, "KORVA");
        EXPECT_STREQ(password, "s\xe9same");
        EXPECT_EQ(type, 9u);
        EXPECT_EQ(provider, 0u);
        *token = ::CreateEventW(nullptr, FALSE, FALSE, nullptr);
        return TRUE;
    };
    ASSERT_EQ(::GetACP(), 1252u) << "the tests' code page, see scripts/env.sh";
    const unsigned handles = process_state::open_handles();
    EXPECT_TRUE(win::logon(L"KORVA\\J\u00f6rg", L"s\u00e9same", functions));
    EXPECT_EQ(process_state::open_handles(), handles);
}

TEST(Accounts, AFailedLogonNamesTheUserAndKeepsTheCodeButNeverThePassword) {
    const struct {
        const wchar_t *name, *password;
        DWORD code;
        const char* line;
    } rows[] = {
        {L"KORVA\\admin", L"secret", ERROR_LOGON_FAILURE, "Failed to logon user [KORVA\\admin]"},
        {L"admin", L"\u4e2d\u6587", ERROR_NO_UNICODE_TRANSLATION, "Failed to logon user [admin]"},
        {L"\u7530\u4e2d", L"secret", ERROR_NO_UNICODE_TRANSLATION, "Failed to logon user [\xe7\x94\xb0\xe4\xb8\xad]"},
        {L"admin", L"", ERROR_SUCCESS, "Failed to logon user [admin]"},
    };
    for (const auto& row : rows) {
        win::account_functions_t functions;
        functions.logon_user = [&](auto...) { return ::SetLastError(row.code), FALSE; };
        const auto logging_on = [&] { win::logon(row.name, row.password, functions); };
        EXPECT_EQ(thrown_code(logging_on), row.code);
        EXPECT_THAT(thrown(logging_on), ElementsAre(exc::system_error_text(row.code), row.line));
    }
}

}  // namespace
