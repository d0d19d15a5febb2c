#include <gmock/gmock.h>

#include <thread>

#include "deploy/impersonation_tokens.h"
#include "foundation/system_text.h"
#include "logging/memory_receiver.h"
#include "tests/deploy/played_host.h"
#include "tests/foundation/thrown.h"

namespace {

using testing::_;
using testing::ElementsAre;
using testing::IsEmpty;

std::shared_ptr<const win::CImpersonator> a_user() {
    return std::make_shared<win::CImpersonator>(win::unique_handle(::CreateEventW(nullptr, FALSE, FALSE, nullptr)));
}

struct Impersonation : testing::Test {
    played::host_t host;
    win::impersonation_functions_t functions = host.platform().impersonation;
    logging::captured_log_t log;
    const std::wstring share = L"\\\\host\\ADMIN$";

    void TearDown() override {
        EXPECT_EQ(host.left_open(), "");
        EXPECT_FALSE(win::win_impersonation_counter_t::of_thread().inside());
        EXPECT_EQ(win::current_impersonation(), nullptr);
    }
};

TEST_F(Impersonation, ThatCannotBeginEndsNothing) {
    const win::registered_share_t registered(share, a_user());
    host.fail("ImpersonateLoggedOnUser", ERROR_INVALID_HANDLE);
    EXPECT_THAT(thrown([&] { win::file_operation_t(share + L"\\x", functions); }),
                ElementsAre(exc::system_error_text(ERROR_INVALID_HANDLE), "Failed to impersonate logged on user"));
    EXPECT_EQ(host.count("RevertToSelf"), 0);
}

TEST_F(Impersonation, ThatCannotBeEndedIsTriedAgainBeforeTheThreadDoesAnythingElse) {
    const auto user = a_user();
    const win::registered_share_t registered(share, user);
    const auto operate = [&] { win::file_operation_t(share + L"\\x", functions); };
    const std::string denied = exc::system_error_text(ERROR_ACCESS_DENIED);
    const std::string failure = "Failed to end the impersonation of a logged on user";
    host.fail("RevertToSelf", ERROR_ACCESS_DENIED);
    { const win::win_impersonation_session_t session(*user, functions); }
    EXPECT_THAT(log.texts(), ElementsAre(_, _, "ERR |" + denied, ">>  |" + failure));
    EXPECT_THAT(thrown(operate), ElementsAre(denied, failure));
    host.recover();
    operate();
    EXPECT_THAT(host.calls, ElementsAre("RevertToSelf()", "ImpersonateLoggedOnUser()", "RevertToSelf()"));
}

TEST_F(Impersonation, AFileOperationUsesTheTokenOfItsShare) {
    const auto user = a_user();
    const win::registered_share_t registered(share, user);
    {
        const win::file_operation_t operation(L"\\\\HOST\\admin$\\Korva\\x", functions);
        EXPECT_EQ(host.acting_as, user->token());
    }
    EXPECT_EQ(host.acting_as, nullptr);
    EXPECT_THAT(log.texts(), ElementsAre("Found impersonation token for share [\\\\HOST\\admin$].",
                                         "File operations for path '\\\\HOST\\admin$\\Korva\\x' will be performed under "
                                         "impersonation context.",
                                         "> ImpersonateLoggedOnUser()", "> RevertToSelf()"));
    log.clear();
    for (const wchar_t* other : {L"\\\\host\\C$\\x", L"\\\\other\\ADMIN$\\x", L"C:\\x", L"\\\\host\\ADMIN$2", L""}) {
        const win::file_operation_t operation(other, functions);
        EXPECT_EQ(host.acting_as, nullptr) << testing::PrintToString(other);
    }
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(Impersonation, AnOperationInsideASessionOrAnotherOperationLeavesTheOuterOneInForce) {
    const auto first = a_user(), second = a_user();
    const win::registered_share_t one(L"\\\\one\\share", first), two(L"\\\\two\\share", second);
    const win::win_impersonation_session_t session(*first, functions);
    {
        const win::file_operation_t same(L"\\\\one\\share\\x", functions);
        EXPECT_EQ(host.count("ImpersonateLoggedOnUser"), 1) << "the thread acts as that user already";
        {
            const win::file_operation_t other(L"\\\\two\\share\\x", functions);
            EXPECT_EQ(host.acting_as, second->token());
            EXPECT_EQ(win::win_impersonation_counter_t::of_thread().count(), 2u);
        }
        EXPECT_EQ(host.acting_as, first->token());
    }
    EXPECT_EQ(host.acting_as, first->token());
    EXPECT_EQ(host.count("RevertToSelf"), 0);
}

TEST_F(Impersonation, AThreadNeverSeesAnothersRegistrationOfAShare) {
    const auto mine = a_user(), theirs = a_user();
    const auto found = [&] { return win::impersonation_tokens().find(share + L"\\x"); };
    {
        const win::registered_share_t registered(share, mine);
        std::thread([&] {
            EXPECT_EQ(found(), nullptr);
            const win::registered_share_t first(share, mine);
            const win::registered_share_t newest(share, theirs);
            EXPECT_EQ(found(), theirs);
        }).join();
        EXPECT_EQ(found(), mine);
    }
    EXPECT_EQ(found(), nullptr);
}

TEST_F(Impersonation, AMapThatGoesBeforeItsOperationsIsTold) {
    for (const bool in_order : {true, false}) {
        win::win_impersonation_tokens_map_t map;
        map.add(share, a_user());
        if (in_order)
            map.remove(L"\\\\HOST\\admin$");
    }
    EXPECT_THAT(log.texts(), ElementsAre("ERR |Failed to destroy WinImpersonationTokensMap"));
}

}  // namespace
