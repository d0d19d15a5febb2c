#include "rpc/seh_guard.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "rpc/remote_call.h"
#include "tests/foundation/thrown.h"
#include "tests/watched_memory.h"

extern "C" unsigned long seh_probe(void (*step)(void*), void* frame);

namespace {

struct raised_t {
    DWORD code;
    std::vector<ULONG_PTR> parameters;
};

void raise(void* place) {
    const auto& raised = *static_cast<raised_t*>(place);
    ::RaiseException(raised.code, 0, static_cast<DWORD>(raised.parameters.size()), raised.parameters.data());
}

TEST(SehGuard, TakesAStatusOfAnyNumber) {
    EXPECT_EQ(korva_seh_guard([](void*) {}, nullptr), 0u);
    EXPECT_EQ(korva_seh_guard([](void*) { ::RpcRaiseException(RPC_X_NULL_REF_POINTER); }, nullptr), 1780u);
    for (const DWORD status : {6ul, 1722ul, 1726ul, 0x1c00001aul, 0xC0000005ul, 0xC00000FDul, 0x20474343ul}) {
        raised_t raised{status, {}};
        EXPECT_EQ(korva_seh_guard(raise, &raised), status);
    }
    raised_t nothing{0, {}};
    EXPECT_EQ(korva_seh_guard(raise, &nothing), 1726u) << "0 would be a call that succeeded";
}

TEST(SehGuard, PassesOnWhatIsNoStatus) {
    static const auto guarded = [](void* raised) { korva_seh_guard(raise, raised); };
    raised_t access_violation{STATUS_ACCESS_VIOLATION, {0, 16}};
    EXPECT_EQ(seh_probe(guarded, &access_violation), STATUS_ACCESS_VIOLATION);
    raised_t stack_overflow{STATUS_STACK_OVERFLOW, {1, 16}};
    EXPECT_EQ(seh_probe(guarded, &stack_overflow), STATUS_STACK_OVERFLOW);
    EXPECT_THROW(korva_seh_guard([](void*) { throw std::runtime_error("C++"); }, nullptr), std::runtime_error);
}

// Gives outputs, then fails as the runtime does.
extern "C" void breaks_off(void*, ULONG status, ULONG* number, wchar_t** text, rpc_call_result_t* result) {
    *number = 1;
    *text = static_cast<wchar_t*>(::MIDL_user_allocate(8));
    result->ok = 1;
    result->message = static_cast<wchar_t*>(::MIDL_user_allocate(8));
    ::RaiseException(status, 0, 0, nullptr);
}

TEST(RemoteCall, ARaisedStatusArrivesAsItsErrorAndLeavesNoOutput) {
    const auto before = watched_memory::live_stub_blocks();
    std::uint32_t number = 0;
    win::rpc::CRpcScopedBuf<wchar_t> text;
    for (const ULONG status : {1727ul, 0xC0000005ul}) {
        const auto call = [&] {
            win::rpc::remote_call(breaks_off, nullptr, status, win::rpc::out(number), win::rpc::out(text));
        };
        EXPECT_EQ(thrown(call), exc::rpc_exc_t(status).lines());
    }
    EXPECT_EQ(number, 0u);
    EXPECT_EQ(text.get(), nullptr);
    EXPECT_EQ(watched_memory::live_stub_blocks(), before) << "what the call had given before it broke off is freed";
}

}  // namespace
