#include <gmock/gmock.h>

#include "com/co_proxy_rpc_invoker.h"
#include "com/conversions.h"
#include "foundation/format.h"
#include "lab/request_log.h"
#include "logging/memory_receiver.h"
#include "tests/com/com_test.h"
#include "tests/com/lab_port.h"
#include "tests/rpc/played_platform.h"
#include "tests/watched_memory.h"

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;
using win::make_bstr;

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
    EXPECT_EQ(do_rpc(L"GetHostInfo", L"<Host name=\"\x416\xD83D\xDE00\"/>"), S_OK) << "connects by itself";
    EXPECT_EQ(win::bstr_view(answer.get()), L"<LabReply Command=\"GetHostInfo\"><Host name=\"\x416\xD83D\xDE00\"/></LabReply>");
    EXPECT_EQ(invoker->TestConnection(make_bstr(L"6.0.1").get()), S_OK);
    EXPECT_EQ(invoker->DoRpc(nullptr, nullptr, answer.put()), S_OK);
    EXPECT_EQ(win::bstr_view(answer.get()), L"<LabReply Command=\"\"></LabReply>") << "null texts read as empty";
    EXPECT_EQ(do_rpc(L"Lab.Fail", L"Die Maschine l\xE4uft nicht."), DISP_E_EXCEPTION);
    EXPECT_EQ(description_of_error(), "Die Maschine l\xC3\xA4uft nicht.");
    EXPECT_THAT(lab::requests().take(),
                ElementsAre(HasSubstr("DoRpc command=\"GetHostInfo\""), "InvokerTestConnection version=\"6.0.1\"",
                            "DoRpc command=\"\" input_xml=\"\"", HasSubstr("Lab.Fail")));
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
    EXPECT_THAT(description_of_error(), HasSubstr("The byte block is not a one-dimensional array of unsigned char."));
    EXPECT_FALSE(answer || bytes);
    EXPECT_THAT(lab::requests().take(), IsEmpty());
}

TEST_F(invoker_test, StaysUsableWhateverIsNotThere) {
    for (const auto& [host, port] : {std::pair(L"no-such-host.invalid", 2600), std::pair(L"localhost", 1)}) {
        EXPECT_EQ(invoker->SetEndpoint(make_bstr(host).get(), port), S_OK);
        EXPECT_EQ(invoker->Connect(nullptr), S_OK) << "a port that is given is not looked up";
        EXPECT_EQ(invoker->TestConnection(nullptr), DISP_E_EXCEPTION);
        EXPECT_THAT(description_of_error(), StartsWith("RPC function call failed. Function name: [InvokerTestConnection]. "
                                                       "Target machine: [" +
                                                       text::narrow(host) + "].\n"));
        EXPECT_EQ(invoker->SetEndpoint(make_bstr(L"127.0.0.1").get(), static_cast<int>(lab_port())), S_OK);
        EXPECT_EQ(invoker->Connect(nullptr), S_OK);
        EXPECT_EQ(do_rpc(L"Next", L""), S_OK);
    }
    EXPECT_EQ(invoker->SetEndpoint(make_bstr(L"no-such-host.invalid").get(), 0), S_OK);
    EXPECT_EQ(invoker->Connect(nullptr), HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE));
    EXPECT_THAT(description_of_error(), HasSubstr("Connect failed (RpcEpResolveBinding)"));
}

TEST_F(invoker_test, LogsTheAccountOnBeforeTheConnectionHasIt) {
    std::vector<std::string> logons;
    DWORD logon_result = ERROR_LOGON_FAILURE;
    win::account_functions_t accounts;
    accounts.logon_user = [&](const char* user, const char* domain, const char* password, DWORD, DWORD, HANDLE* token) {
        logons.push_back(text::format("%1|%2|%3", domain, user, password));
        *token = nullptr;
        ::SetLastError(logon_result);
        return logon_result == ERROR_SUCCESS;
    };
    played_platform_t platform;
    invoker = object_over<com::CCoProxyRpcInvoker>(
        std::make_shared<impl::CProxyRpcInvoker>(win::rpc::make_invoker_client(platform.table()), accounts));
    EXPECT_EQ(set_account(L"CORP\\user", L"wrong"), HRESULT_FROM_WIN32(ERROR_LOGON_FAILURE));
    EXPECT_THAT(description_of_error(), HasSubstr("Failed to logon user [CORP\\user]"));
    EXPECT_EQ(invoker->Connect(nullptr), S_OK);
    EXPECT_FALSE(platform.has_identity);

    logon_result = ERROR_SUCCESS;
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

// Of a call and of the connection before it every allocation fails once: ours and those of the stubs.
TEST_F(invoker_test, SurvivesEveryAllocationThatFails) {
    const auto block = com::to_safe_array(std::vector<unsigned char>(100));
    const std::pair<const char*, std::function<HRESULT()>> calls[] = {
        {"creation",
         [object = win::com_ptr<IUnknown>()]() mutable {
             object.reset();
             return com::create_instance<com::CCoProxyRpcInvoker>(nullptr, IID_IUnknown,
                                                                  reinterpret_cast<void**>(object.put()));
         }},
        {"SetAccount", [&] { return set_account(L"CORP\\someone", L"password"); }},
        {"SecureConnect", [&] { return invoker->SecureConnect(make_bstr(L"6.0").get()); }},
        {"Connect", [&] { return invoker->Connect(make_bstr(L"6.0").get()); }},
        {"DoRpc", [&] { return do_rpc(L"AllocationsOfThisCommandFail", L"<x/>"); }},
        {"DoRpcWithBinary", [&] { return do_rpc_with_binary(block.get()); }},
    };
    const auto forget = [&] {
        answer.reset();
        bytes.reset();
    };
    const logging::captured_log_t log;
    logging::info(std::string(10000, '-'));  // room for what the failures write
    for (const auto& [name, call] : calls) {
        SCOPED_TRACE(name);
        ASSERT_EQ(call(), S_OK);
        const auto outputs = [&] {
            return std::pair(win::bstr_text(answer.get()), bytes ? bytes.get()->rgsabound[0].cElements : 0ul);
        };
        const auto good = outputs();
        forget();
        const long blocks = watched_memory::live_blocks();
        long number = 1, failures = 0;
        for (;; ++number) {
            watched_memory::fail_allocation(number);
            const HRESULT result = call();
            watched_memory::fail_allocation(0);
            if (!watched_memory::failed())
                break;
            // A log line may be lost and the call succeed; the stubs have a status of their own.
            EXPECT_TRUE(result == S_OK || result == E_OUTOFMEMORY || description_of_error().ends_with("\nOut of memory."))
                << text::hex8(static_cast<std::uint32_t>(result));
            failures += result != S_OK;
            EXPECT_TRUE(result != S_OK || outputs() == good) << "success without the failed allocation's part";
            take_error();
            ASSERT_EQ(call(), S_OK) << "after the failure of allocation " << number;
            forget();
            EXPECT_EQ(watched_memory::live_blocks(), blocks) << "after the failure of allocation " << number;
        }
        std::printf("%ld allocations fail in %s, %ld of them the call\n", number - 1, name, failures);
        EXPECT_GT(number, 1);
    }
}

}  // namespace
