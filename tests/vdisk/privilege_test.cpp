#include "vdisk/privilege.h"

#include <gmock/gmock.h>

#include "logging/memory_receiver.h"
#include "tests/foundation/thrown.h"
#include "tests/vdisk/model_volume.h"

namespace {

bool is_enabled(const wchar_t* name) {
    win::unique_handle token;
    if (!::OpenThreadToken(::GetCurrentThread(), TOKEN_QUERY, TRUE, token.put()))
        ::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, token.put());
    PRIVILEGE_SET set{1, 0, {{{}, 0}}};
    ::LookupPrivilegeValueW(nullptr, name, &set.Privilege[0].Luid);
    BOOL enabled = FALSE;
    return ::PrivilegeCheck(token.get(), &set, &enabled) && enabled;
}

TEST(Privilege, IsHeldByTheThreadWhileItsHolderLives) {
    for (const bool impersonates : {false, true}) {
        SCOPED_TRACE(impersonates);
        ASSERT_TRUE(!impersonates || ::ImpersonateSelf(SecurityImpersonation));
        const bool before = is_enabled(SE_MANAGE_VOLUME_NAME);
        {
            const auto held = win::take_privilege(win::manage_volume_privilege);
            EXPECT_TRUE(is_enabled(SE_MANAGE_VOLUME_NAME));
            EXPECT_TRUE(thread_has_token());
        }
        EXPECT_EQ(thread_has_token(), impersonates);
        EXPECT_EQ(is_enabled(SE_MANAGE_VOLUME_NAME), before);
    }
    ::RevertToSelf();
}

TEST(Privilege, OneThatCannotBePutBackIsLogged) {
    ASSERT_TRUE(::ImpersonateSelf(SecurityImpersonation));
    const logging::captured_log_t log;
    {
        const auto held = win::take_privilege(win::manage_volume_privilege);
        win::unique_handle token;
        ASSERT_TRUE(::OpenThreadToken(::GetCurrentThread(), TOKEN_ADJUST_PRIVILEGES, TRUE, token.put()));
        TOKEN_PRIVILEGES removed{1, {{{}, SE_PRIVILEGE_REMOVED}}};
        ::LookupPrivilegeValueW(nullptr, SE_MANAGE_VOLUME_NAME, &removed.Privileges[0].Luid);
        ASSERT_TRUE(::AdjustTokenPrivileges(token.get(), FALSE, &removed, 0, nullptr, nullptr));
    }
    EXPECT_THAT(log.texts(), testing::ElementsAre("ERR |Privilege 'SeManageVolumePrivilege' cannot be put back as it was. "
                                                  "Error code: '1300'."));
    ::RevertToSelf();
}

TEST(Privilege, OneThatTheAccountLacksFailsAndLeavesNothing) {
    for (const auto& [privilege, code] : {std::pair{win::privilege_t{0, SE_CREATE_TOKEN_NAME}, ERROR_NOT_ALL_ASSIGNED},
                                          std::pair{win::privilege_t{99, L"SeNoSuchPrivilege"}, ERROR_NO_SUCH_PRIVILEGE}}) {
        EXPECT_EQ(thrown_code([&privilege = privilege] { win::take_privilege(privilege); }), static_cast<DWORD>(code));
        EXPECT_FALSE(thread_has_token());
    }
}

}  // namespace
