#include "deploy/accounts.h"

#include <gtest/gtest.h>

#include "foundation/errors.h"
#include "foundation/secret.h"

namespace {

TEST(Accounts, AreSplitAtTheFirstBackslashAndElseBelongToTheLocalMachine) {
    const struct {
        const wchar_t *name, *domain, *user;
    } rows[] = {
        {L"KORVA\\admin", L"KORVA", L"admin"},
        {L"admin", L".", L"admin"},
        {L"a\\b\\c", L"a", L"b\\c"},
        {L"\\admin", L"", L"admin"},
        {L"KORVA\\", L"KORVA", L""},
        {L"admin@korva.lan", L".", L"admin@korva.lan"},
        {L"", L".", L""},
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
    EXPECT_TRUE(win::logon(L"KORVA\\J\u00f6rg", L"s\u00e9same", functions));
}

TEST(Accounts, AFailedLogonNamesTheUserAndKeepsTheCodeButNeverThePassword) {
    win::account_functions_t functions;
    functions.logon_user = [](auto...) -> BOOL {
        ::SetLastError(ERROR_LOGON_FAILURE);
        return FALSE;
    };
    const struct {
        const wchar_t *name, *password;
        DWORD code;
        const char* line;
    } rows[] = {
        {L"KORVA\\admin", L"secret", ERROR_LOGON_FAILURE, "Failed to logon user [KORVA\\admin]"},
        {L"admin", L"\u4e2d\u6587", ERROR_NO_UNICODE_TRANSLATION, "Failed to logon user [admin]"},
        {L"\u7530\u4e2d", L"secret", ERROR_NO_UNICODE_TRANSLATION, "Failed to logon user [\xe7\x94\xb0\xe4\xb8\xad]"},
    };
    for (const auto& row : rows) {
        try {
            win::logon(row.name, row.password, functions);
            ADD_FAILURE() << row.line;
        } catch (const exc::win_sys_exc_t& error) {
            EXPECT_EQ(error.code(), row.code);
            ASSERT_EQ(error.lines().size(), 2u);
            EXPECT_EQ(error.lines()[1], row.line);
            EXPECT_EQ(std::string(error.what()).find("secret"), std::string::npos);
        }
    }
}

TEST(Accounts, ALogonThatFailsWithoutACodeFailsAllTheSame) {
    win::account_functions_t functions;
    functions.logon_user = [](auto...) -> BOOL {
        ::SetLastError(ERROR_SUCCESS);
        return FALSE;
    };
    EXPECT_THROW(win::logon(L"admin", L"", functions), exc::win_sys_exc_t);
}

TEST(Secrets, ClearTheStringTheyCameIn) {
    std::wstring given = L"short";
    const win::secret_t secret(std::move(given));
    EXPECT_EQ(secret.text(), L"short");
    EXPECT_EQ(std::wstring(given.data(), 5), std::wstring(5, L'\0'));
}

}  // namespace
