#include "rpc/method.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "foundation/errors.h"
#include "rpc/commands/deployment.h"
#include "rpc/commands/hv_restore.h"
#include "rpc/commands/hv_snapshots.h"
#include "rpc/commands/hv_tracking.h"
#include "rpc/commands/invoker.h"
#include "rpc/rpc_functions.h"

#include <rpcndr.h>

namespace {

using namespace win::rpc;

// Those whose name is not their class's or that may not be repeated, and an ordinary one.
TEST(Commands, NamesAndWhetherTheyMayBeRepeated) {
    struct row_t {
        std::unique_ptr<IRpcMethod> command;
        std::string_view name;
        bool can_retry = true;
    };
    const GUID id{};
    const std::wstring text;
    row_t rows[] = {
        {std::make_unique<CGetSvcVersionMethod>(true), "GetSvcVersion"},
        {std::make_unique<CGetSvcVersionMethod>(false), "GetSvcVersion", false},
        {std::make_unique<CHvTestConnectionMethod>(), "HvTestConnection", false},
        {std::make_unique<CInvokerTestConnectionMethod>(text), "InvokerTestConnection", false},
        {std::make_unique<CHvBeginSnapshotCreationExMethod>(text, text, text), "HvBeginSnapshotCreation"},
        {std::make_unique<CHvBeginSnapshotImportExMethod>(text, text, text, text), "HvBeginSnapshotImport"},
        {std::make_unique<CHvCreateRestoreSessionMethod>(), "CreateRestoreSession"},
        {std::make_unique<CHvImportConfig>(id, text, text), "HvImportConfig"},
        {std::make_unique<CHvCtpInitMethod>(), "HvCtpInit"},
        {std::make_unique<CHvCtpDoneMethod>(), "HvCtpInit"},
        {std::make_unique<CHvCtpGetDriverVersionMethod>(), "HvCtpInit"},
        {std::make_unique<CHvCtpGetFileStandardInfoOrFlushChangesMethod>(0, false), "HvCtpGetFileStandardInfo"},
        {std::make_unique<CHvCtpGetFileStandardInfoOrFlushChangesMethod>(0, true), "HvCtpFlushFileChanges"},
        {std::make_unique<CDoRpcMethod>(text, text), "DoRpc"},
    };
    for (const row_t& row : rows) {
        EXPECT_EQ(row.command->GetName(), row.name);
        EXPECT_EQ(row.command->CanRetry(), row.can_retry) << row.name;
        EXPECT_TRUE(row.command->CanReconnect()) << row.name;
    }
}

class given_result_t : public CRpcMethodBase {
public:
    given_result_t(signed char ok, const wchar_t* message) : CRpcMethodBase(catalogue[0]), ok_(ok), message_(message) {}
    using CRpcMethodBase::check_list;

private:
    rpc_call_result_t DoCall(binding_t) override {
        rpc_call_result_t result;
        result.ok = ok_;
        if (message_) {
            const auto bytes = (wcslen(message_) + 1) * sizeof(wchar_t);
            result.message.reset(static_cast<wchar_t*>(std::memcpy(::MIDL_user_allocate(bytes), message_, bytes)));
        }
        return result;
    }
    signed char ok_;
    const wchar_t* message_;
};

TEST(Method, CheckResultThrowsTheServicesOwnText) {
    struct row_t {
        signed char ok;
        const wchar_t* message;
        const char* thrown;  // null: nothing
    };
    const row_t rows[] = {{1, L"a text that nobody asked for", nullptr},
                          {-1, nullptr, nullptr},
                          {0, nullptr, ""},
                          {0, L"", ""},
                          {0, L"voll \u4e16", "voll \xe4\xb8\x96"}};
    for (const row_t& row : rows) {
        given_result_t command(row.ok, row.message);
        command.Execute(nullptr);
        command.Execute(nullptr);  // a repeated call replaces the result
        try {
            command.CheckResult();
            EXPECT_EQ(row.thrown, nullptr);
        } catch (const exc::runtime_exc_t& error) {
            EXPECT_STREQ(error.what(), row.thrown);
        }
    }
}

TEST(Method, ACountThatLiesIsToldFromOneThatFits) {
    const given_result_t command(1, nullptr);
    const auto text_of_check = [&](bool has_entries, std::size_t held, std::size_t count) -> std::string {
        try {
            command.check_list(has_entries, held, count);
            return "fits";
        } catch (const exc::runtime_exc_t& error) {
            return error.what();
        }
    };
    const std::string bad = "The reply to remote function [GetSvcVersion] is not valid: ";
    EXPECT_EQ(text_of_check(false, 0, 0), "fits");
    EXPECT_EQ(text_of_check(true, 3, 2), "fits");
    EXPECT_EQ(text_of_check(true, 2, 3), bad + "it counts 3 entries but brings 2.");
    EXPECT_EQ(text_of_check(false, 0, 1), bad + "it counts 1 entries but brings no list.");
}

TEST(RpcBuffer, KnowsItsDataWithoutTheRuntimesNode) {
    EXPECT_EQ(rpc_buffer_size(nullptr), 0u);
    auto* block = static_cast<char*>(::MIDL_user_allocate(32 + 24));
    const CRpcScopedBuf<char> owner(block);
    EXPECT_EQ(owner.bytes(), 56u);
    std::memcpy(block + 32, "LMEM", 4);
    EXPECT_EQ(owner.bytes(), 32u);

    const CRpcScopedBuf<wchar_t> endless(static_cast<wchar_t*>(::MIDL_user_allocate(6)));
    std::wmemset(endless.get(), L'x', 3);
    EXPECT_EQ(text_of(endless.get()), L"xxx") << "a string is not read beyond its block";
}

}  // namespace
