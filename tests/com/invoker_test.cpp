#include <gmock/gmock.h>

#include "com/co_proxy_rpc_invoker.h"
#include "com/conversions.h"
#include "foundation/format.h"
#include "lab/request_log.h"
#include "tests/com/com_test.h"
#include "tests/com/lab_port.h"
#include "tests/rpc/played_platform.h"
#include "tests/watched_memory.h"

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;
using ::testing::Not;
using win::make_bstr;

constexpr HRESULT no_server = static_cast<HRESULT>(0x80070000 | RPC_S_SERVER_UNAVAILABLE);

class invoker_test : public com_test {
protected:
    invoker_test() {
        EXPECT_EQ(invoker->SetEndpoint(make_bstr(L"127.0.0.1").get(), static_cast<int>(lab_port())), S_OK);
        EXPECT_EQ(set_account(L"CORP\\user", L"password"), S_OK) << "Wine has no logon of its own to show to a service";
        lab::requests().take();
    }

    HRESULT set_account(const wchar_t* name, const wchar_t* password) {
        return invoker->SetAccount(make_bstr(name).get(), make_bstr(password).get());
    }
    HRESULT do_rpc(std::wstring_view command, std::wstring_view xml) {
        return invoker->DoRpc(make_bstr(command).get(), make_bstr(xml).get(), answer.put());
    }
    HRESULT do_rpc_with_binary(SAFEARRAY* data) {
        return invoker->DoRpcWithBinary(make_bstr(L"Twice").get(), make_bstr(L"<x/>").get(), data, answer.put(), bytes.put());
    }

    win::com_ptr<IProxyRpcInvoker> invoker = create<IProxyRpcInvoker>(CLSID_KorvaProxyInvoker);
    win::unique_bstr answer;
    win::unique_safe_array bytes;
};

TEST_F(invoker_test, CarriesACommandToTheServiceAndItsAnswerBack) {
    EXPECT_EQ(do_rpc(L"Get<\"Host\">", L"<Host name=\"\x416\xD83D\xDE00\"/>"), S_OK) << "connects by itself";
    EXPECT_EQ(win::bstr_view(answer.get()),
              L"<LabReply Command=\"Get&lt;&quot;Host&quot;&gt;\"><Host name=\"\x416\xD83D\xDE00\"/></LabReply>");
    EXPECT_EQ(invoker->TestConnection(make_bstr(L"6.0.1").get()), S_OK);
    EXPECT_EQ(invoker->DoRpc(nullptr, nullptr, answer.put()), S_OK);
    EXPECT_EQ(win::bstr_view(answer.get()), L"<LabReply Command=\"\"></LabReply>") << "null texts read as empty";
    EXPECT_EQ(do_rpc(L"Lab.Fail", L"Die Maschine l\xE4uft nicht."), DISP_E_EXCEPTION);
    EXPECT_EQ(description_of_error(), "Die Maschine l\xC3\xA4uft nicht.");
    EXPECT_THAT(
        lab::requests().take(),
        ElementsAre("DoRpc command=\"Get<\\\"Host\\\">\" input_xml=\"<Host name=\\\"\xd0\x96\xf0\x9f\x98\x80\\\"/>\"",
                    "InvokerTestConnection version=\"6.0.1\"", "DoRpc command=\"\" input_xml=\"\"", HasSubstr("Lab.Fail")));
}

TEST_F(invoker_test, CarriesByteBlocksBothWays) {
    const auto array = com::to_safe_array(std::vector<unsigned char>{0, 1, 255});
    ASSERT_EQ(do_rpc_with_binary(array.get()), S_OK);
    EXPECT_EQ(win::bstr_view(answer.get()), L"<LabReply Command=\"Twice\"><x/></LabReply>");
    EXPECT_THAT(com::safe_array_bytes(bytes.get()).bytes(), ElementsAreArray({0, 1, 255, 0, 1, 255}));
    EXPECT_EQ(array.get()->cLocks, 0u);

    const auto empty = com::to_safe_array(std::span<const unsigned char>());
    for (SAFEARRAY* const nothing : {empty.get(), static_cast<SAFEARRAY*>(nullptr)}) {
        ASSERT_EQ(do_rpc_with_binary(nothing), S_OK);
        ASSERT_TRUE(bytes);
        EXPECT_EQ(bytes.get()->rgsabound[0].cElements, 0u);
    }
    EXPECT_THAT(lab::requests().take(),
                ElementsAre(HasSubstr("data=<3 bytes>"), HasSubstr("data=<0 bytes>"), HasSubstr("data=<0 bytes>")));

    const win::unique_safe_array numbers(::SafeArrayCreateVector(VT_I4, 0, 2));
    EXPECT_EQ(do_rpc_with_binary(numbers.get()), DISP_E_TYPEMISMATCH);
    EXPECT_FALSE(answer || bytes);
}

TEST_F(invoker_test, StaysUsableWhateverIsNotThere) {
    const struct {
        const wchar_t* host;
        int port;
        HRESULT connected, called;
        const char* error;
    } rows[] = {{L"no-such-host.invalid", 2600, S_OK, DISP_E_EXCEPTION, "Target machine: [no-such-host.invalid].\n"},
                {L"localhost", 1, S_OK, DISP_E_EXCEPTION, "Target machine: [localhost].\n"},
                // Only where no port is given, one is looked up.
                {L"no-such-host.invalid", 0, no_server, no_server, "Connect failed (RpcEpResolveBinding)"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.error);
        EXPECT_EQ(invoker->SetEndpoint(make_bstr(row.host).get(), row.port), S_OK);
        EXPECT_EQ(invoker->Connect(nullptr), row.connected);
        EXPECT_EQ(invoker->TestConnection(nullptr), row.called);
        EXPECT_THAT(description_of_error(), HasSubstr(row.error));
        EXPECT_EQ(invoker->SetEndpoint(make_bstr(L"127.0.0.1").get(), static_cast<int>(lab_port())), S_OK);
        EXPECT_EQ(invoker->Connect(nullptr), S_OK);
        EXPECT_EQ(do_rpc(L"Next", L""), S_OK);
    }
}

TEST_F(invoker_test, LogsTheAccountOnBeforeTheConnectionHasIt) {
    std::vector<std::string> logons;
    win::account_functions_t accounts;
    accounts.logon_user = [&](const char* user, const char* domain, const char* password, DWORD, DWORD, HANDLE* token) {
        logons.push_back(text::format("%1|%2|%3", domain, user, password));
        *token = nullptr;
        ::SetLastError(ERROR_LOGON_FAILURE);
        return std::string_view(password) != "wrong";
    };
    played_platform_t platform;
    invoker = object_over<com::CCoProxyRpcInvoker>(
        std::make_shared<impl::CProxyRpcInvoker>(win::rpc::make_invoker_client(platform.table()), accounts));
    EXPECT_EQ(set_account(L"CORP\\user", L"wrong"), HRESULT_FROM_WIN32(ERROR_LOGON_FAILURE));
    EXPECT_THAT(description_of_error(), HasSubstr("Failed to logon user [CORP\\user]"));
    EXPECT_EQ(invoker->Connect(nullptr), S_OK);
    EXPECT_FALSE(platform.has_identity);

    EXPECT_EQ(set_account(L"CORP\\a\\b", L"secret"), S_OK);
    EXPECT_EQ(invoker->Connect(nullptr), S_OK);
    EXPECT_EQ(platform.identity_texts, L"a\\b|CORP|secret");
    EXPECT_THAT(platform.calls, Not(Contains(HasSubstr("level 6"))));
    EXPECT_EQ(invoker->SetAccount(make_bstr(L"user@corp").get(), nullptr), S_OK);
    EXPECT_EQ(invoker->SecureConnect(nullptr), S_OK);
    EXPECT_EQ(platform.identity_texts, L"user@corp|.|");
    EXPECT_THAT(platform.calls, Contains(HasSubstr("level 6")));
    EXPECT_THAT(logons, ElementsAre("CORP|user|wrong", "CORP|a\\b|secret", ".|user@corp|"));
    invoker.reset();  // before its platform
}

}  // namespace
