#include "vdisk/privilege.h"

#include <gtest/gtest.h>

#include "foundation/errors.h"

namespace {

bool thread_has_token() {
    win::unique_handle token;
    return ::OpenThreadToken(::GetCurrentThread(), TOKEN_QUERY, TRUE, token.put()) != FALSE;
}

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
    ASSERT_FALSE(thread_has_token());
    const bool before = is_enabled(SE_MANAGE_VOLUME_NAME);
    {
        const auto held = win::take_privilege(win::manage_volume_privilege);
        EXPECT_TRUE(is_enabled(SE_MANAGE_VOLUME_NAME));
        EXPECT_TRUE(thread_has_token());
    }
    EXPECT_FALSE(thread_has_token());
    EXPECT_EQ(is_enabled(SE_MANAGE_VOLUME_NAME), before);
}

TEST(Privilege, AThreadThatImpersonatesKeepsItsToken) {
    ASSERT_TRUE(::ImpersonateSelf(SecurityImpersonation));
    const bool before = is_enabled(SE_MANAGE_VOLUME_NAME);
    {
        const auto held = win::take_privilege(win::manage_volume_privilege);
        EXPECT_TRUE(is_enabled(SE_MANAGE_VOLUME_NAME));
    }
    EXPECT_TRUE(thread_has_token());
    EXPECT_EQ(is_enabled(SE_MANAGE_VOLUME_NAME), before);
    ::RevertToSelf();
}

TEST(Privilege, OneThatTheAccountLacksFailsAndLeavesNothing) {
    for (const auto& [privilege, code] : {std::pair{win::privilege_t{0, SE_CREATE_TOKEN_NAME}, ERROR_NOT_ALL_ASSIGNED},
                                          std::pair{win::privilege_t{99, L"SeNoSuchPrivilege"}, ERROR_NO_SUCH_PRIVILEGE}}) {
        try {
            win::take_privilege(privilege);
            ADD_FAILURE();
        } catch (const exc::win_sys_exc_t& error) {
            EXPECT_EQ(error.code(), static_cast<std::uint32_t>(code));
        }
        EXPECT_FALSE(thread_has_token());
    }
}

}  // namespace
