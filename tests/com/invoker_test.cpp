#include <gmock/gmock.h>

#include <memory>

#include "com/co_proxy_rpc_invoker.h"
#include "com/conversions.h"
#include "foundation/convert.h"
#include "foundation/format.h"
#include "lab/request_log.h"
#include "logging/memory_receiver.h"
#include "tests/com/com_test.h"
#include "tests/com/lab_port.h"
#include "tests/com/watched_memory.h"

namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using win::make_bstr;

std::wstring text_of(const win::unique_bstr& text) { return std::wstring(win::bstr_view(text.get())); }

// The invoker as clients see it, over a connection whose waits and platform calls are watched.
class invoker_test : public com_test {
protected:
    invoker_test() {
        win::rpc::rpc_functions_t functions = win::rpc::rpc_functions_t::real();
        functions.binding_set_auth_info = [this, real = functions.binding_set_auth_info](
                                              RPC_BINDING_HANDLE binding, wchar_t* principal, unsigned long level,
                                              unsigned long service, void* identity, unsigned long authorisation) {
            const auto* given = static_cast<const SEC_WINNT_AUTH_IDENTITY_W*>(identity);
            const auto wide = [](const unsigned short* text) { return std::wstring(reinterpret_cast<const wchar_t*>(text)); };
            identities.push_back(given ? wide(given->Domain) + L"|" + wide(given->User) + L"|" + wide(given->Password)
                                       : L"own");
            levels.push_back(level);
            return real(binding, principal, level, service, identity, authorisation);
        };
        auto client = win::rpc::make_invoker_client(functions);
        client->retry_policy().wait = [this](std::uint32_t) { ++waits; };
        win::account_functions_t accounts;
        accounts.logon_user = [this](const char* user, const char* domain, const char* password, DWORD type, DWORD provider,
                                     HANDLE* token) {
            logons.push_back(text::format("%1|%2|%3|%4|%5", domain, user, password, type, provider));
            *token = nullptr;
            ::SetLastError(logon_result);
            return logon_result == ERROR_SUCCESS ? TRUE : FALSE;
        };
        auto* const object = com::new_object<com::CCoProxyRpcInvoker>(
            nullptr, std::make_shared<impl::CProxyRpcInvoker>(std::move(client), std::move(accounts)));
        const auto creator = win::com_ptr<IUnknown>::attach(object->inner());
        EXPECT_EQ(creator.query(invoker), S_OK);
        EXPECT_EQ(invoker->SetEndpoint(make_bstr(L"127.0.0.1").get(), static_cast<int>(lab_port())), S_OK);
        lab::requests().take();
    }

    // Wine has no logon of its own to show to a service.
    void set_account() { EXPECT_EQ(invoker->SetAccount(make_bstr(L"CORP\\user").get(), make_bstr(L"password").get()), S_OK); }

    HRESULT do_rpc(std::wstring_view command, std::wstring_view xml) {
        return invoker->DoRpc(make_bstr(command).get(), make_bstr(xml).get(), answer.put());
    }

    HRESULT do_rpc_with_binary(SAFEARRAY* data) {
        return invoker->DoRpcWithBinary(make_bstr(L"Twice").get(), make_bstr(L"<x/>").get(), data, answer.put(), bytes.put());
    }

    win::com_ptr<IProxyRpcInvoker> invoker;
    std::vector<std::wstring> identities;
    std::vector<unsigned long> levels;
    std::vector<std::string> logons;
    DWORD logon_result = ERROR_SUCCESS;
    int waits = 0;
    win::unique_bstr answer;
    win::unique_safe_array bytes;
};

TEST_F(invoker_test, CarriesACommandToTheServiceAndItsAnswerBack) {
    set_account();
    EXPECT_EQ(invoker->Connect(make_bstr(L"6.0").get()), S_OK);
    EXPECT_EQ(do_rpc(L"GetHostInfo", L"<Host name=\"\x416\xD83D\xDE00\"/>"), S_OK);
    EXPECT_EQ(text_of(answer), L"<LabReply Command=\"GetHostInfo\"><Host name=\"\x416\xD83D\xDE00\"/></LabReply>");
    EXPECT_EQ(invoker->TestConnection(make_bstr(L"6.0.1").get()), S_OK);
    EXPECT_EQ(invoker->DoRpc(nullptr, nullptr, answer.put()), S_OK);
    EXPECT_EQ(text_of(answer), L"<LabReply Command=\"\"></LabReply>") << "null texts read as empty";
    EXPECT_THAT(lab::requests().take(),
                ElementsAre(HasSubstr("DoRpc command=\"GetHostInfo\""), "InvokerTestConnection version=\"6.0.1\"",
                            "DoRpc command=\"\" input_xml=\"\""));
    EXPECT_THAT(levels, ElementsAre(2)) << "one binding for all calls";
}

TEST_F(invoker_test, CarriesByteBlocksBothWays) {
    set_account();
    const std::vector<unsigned char> block = {0, 1, 255};
    const auto array = com::to_safe_array(block);
    ASSERT_EQ(do_rpc_with_binary(array.get()), S_OK) << "connects by itself";
    EXPECT_EQ(text_of(answer), L"<LabReply Command=\"Twice\"><x/></LabReply>");
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

TEST_F(invoker_test, BringsBackTheServicesOwnErrorText) {
    set_account();
    EXPECT_EQ(do_rpc(L"Lab.Fail", L"Die Maschine l\xE4uft nicht."), DISP_E_EXCEPTION);
    const auto error = take_error();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->description, "Die Maschine l\xC3\xA4uft nicht.");
    EXPECT_EQ(error->source, __uuidof(IProxyRpcInvoker));
    EXPECT_FALSE(answer);
    EXPECT_EQ(do_rpc(L"Next", L""), S_OK);
}

TEST_F(invoker_test, NamesTheProcedureAndTheHostThatCannotBeReached) {
    set_account();
    ASSERT_EQ(invoker->SetEndpoint(make_bstr(L"127.0.0.1").get(), 9), S_OK);  // nobody listens there
    EXPECT_EQ(do_rpc(L"GetHostInfo", L""), DISP_E_EXCEPTION);
    EXPECT_THAT(description_of_error(),
                AllOf(HasSubstr("RPC function call failed. Function name: [DoRpc]. Target machine: [127.0.0.1].\n"),
                      HasSubstr("RPC server")));
    EXPECT_GT(waits, 0);
    waits = 0;
    EXPECT_EQ(invoker->TestConnection(nullptr), DISP_E_EXCEPTION);
    EXPECT_THAT(description_of_error(), HasSubstr("Function name: [InvokerTestConnection]."));
    EXPECT_EQ(waits, 0) << "a connection test is not repeated";

    ASSERT_EQ(invoker->SetEndpoint(make_bstr(L"no.such.host.invalid").get(), 9), S_OK);
    EXPECT_EQ(invoker->TestConnection(nullptr), DISP_E_EXCEPTION);
    EXPECT_THAT(description_of_error(), HasSubstr("Target machine: [no.such.host.invalid]."));

    ASSERT_EQ(invoker->SetEndpoint(make_bstr(L"127.0.0.1").get(), static_cast<int>(lab_port())), S_OK);
    EXPECT_EQ(do_rpc(L"GetHostInfo", L""), S_OK) << "a reconnect takes the new endpoint";
}

TEST_F(invoker_test, LogsTheAccountOnBeforeTheConnectionHasIt) {
    logon_result = ERROR_LOGON_FAILURE;
    EXPECT_EQ(invoker->SetAccount(make_bstr(L"CORP\\user").get(), make_bstr(L"wrong").get()),
              HRESULT_FROM_WIN32(ERROR_LOGON_FAILURE));
    EXPECT_THAT(description_of_error(),
                AllOf(HasSubstr("Failed to logon user [CORP\\user]"), ::testing::Not(HasSubstr("wrong"))));
    EXPECT_EQ(invoker->Connect(nullptr), S_OK);

    logon_result = ERROR_SUCCESS;
    logging::captured_log_t log;
    EXPECT_EQ(invoker->SetAccount(make_bstr(L"CORP\\a\\b").get(), make_bstr(L"secret").get()), S_OK);
    EXPECT_EQ(invoker->Connect(nullptr), S_OK);
    EXPECT_EQ(invoker->SetAccount(make_bstr(L"user@corp").get(), nullptr), S_OK);
    EXPECT_EQ(invoker->SecureConnect(nullptr), S_OK);
    EXPECT_FALSE(log.holds("secret"));
    EXPECT_THAT(logons, ElementsAre("CORP|user|wrong|9|0", "CORP|a\\b|secret|9|0", ".|user@corp||9|0"));
    EXPECT_THAT(identities, ElementsAre(L"own", L"CORP|a\\b|secret", L".|user@corp|"));
    EXPECT_THAT(levels, ElementsAre(2, 2, 6));
}

TEST_F(invoker_test, KeepsItsTimeout) {
    int seconds = 0;
    EXPECT_EQ(invoker->GetRpcTimeout(&seconds), S_OK);
    EXPECT_EQ(seconds, 3600);
    EXPECT_EQ(invoker->SetRpcTimeout(30), S_OK);
    EXPECT_EQ(invoker->GetRpcTimeout(&seconds), S_OK);
    EXPECT_EQ(seconds, 30);
}

TEST_F(invoker_test, RefusesNullOutputsBeforeAnythingIsLoggedOrSent) {
    logging::captured_log_t log;
    EXPECT_EQ(invoker->DoRpc(nullptr, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(invoker->DoRpcWithBinary(nullptr, nullptr, nullptr, nullptr, bytes.put()), E_POINTER);
    EXPECT_EQ(invoker->DoRpcWithBinary(nullptr, nullptr, nullptr, answer.put(), nullptr), E_POINTER);
    EXPECT_EQ(invoker->GetRpcTimeout(nullptr), E_POINTER);
    EXPECT_THAT(log.texts(), IsEmpty());
    EXPECT_THAT(lab::requests().take(), IsEmpty());
}

// What a script does: names become identifiers, values travel in variants, the last argument first.
TEST_F(invoker_test, ServesScripts) {
    set_account();
    const auto call = [&](const wchar_t* name, std::vector<VARIANT> arguments, VARIANT* result = nullptr) {
        DISPID id = 0;
        auto* spelled = const_cast<wchar_t*>(name);
        EXPECT_EQ(invoker->GetIDsOfNames(IID_NULL, &spelled, 1, 0, &id), S_OK) << text::narrow(name);
        DISPPARAMS params{arguments.data(), nullptr, static_cast<UINT>(arguments.size()), 0};
        return invoker->Invoke(id, IID_NULL, 0, DISPATCH_METHOD, &params, result, nullptr, nullptr);
    };
    const auto text = [](const win::unique_bstr& value) {
        VARIANT variant;
        V_VT(&variant) = VT_BSTR;
        V_BSTR(&variant) = value.get();
        return variant;
    };
    VARIANT seconds, out_text, in_bytes, out_bytes;
    V_VT(&seconds) = VT_I2;
    V_I2(&seconds) = 45;
    V_VT(&out_text) = VT_BSTR | VT_BYREF;
    V_BSTRREF(&out_text) = answer.put();
    const auto block = com::to_safe_array(std::vector<unsigned char>{7});
    V_VT(&in_bytes) = VT_ARRAY | VT_UI1;
    V_ARRAY(&in_bytes) = block.get();
    V_VT(&out_bytes) = VT_ARRAY | VT_UI1 | VT_BYREF;
    V_ARRAYREF(&out_bytes) = bytes.put();
    const auto name = make_bstr(L"Script"), xml = make_bstr(L"<s/>");

    EXPECT_EQ(call(L"SetRpcTimeout", {seconds}), S_OK);
    win::unique_variant result;
    EXPECT_EQ(call(L"GetRpcTimeout", {}, result.get()), S_OK);
    EXPECT_EQ(::VariantChangeType(result.get(), result.get(), 0, VT_I4), S_OK);
    EXPECT_EQ(V_I4(result.get()), 45);
    EXPECT_EQ(call(L"DoRpc", {out_text, text(xml), text(name)}), S_OK);
    EXPECT_EQ(text_of(answer), L"<LabReply Command=\"Script\"><s/></LabReply>");
    V_BSTRREF(&out_text) = answer.put();
    EXPECT_EQ(call(L"DoRpcWithBinary", {out_bytes, out_text, in_bytes, text(xml), text(name)}), S_OK);
    EXPECT_EQ(text_of(answer), L"<LabReply Command=\"Script\"><s/></LabReply>");
    EXPECT_THAT(com::safe_array_bytes(bytes.get()).bytes(), ElementsAreArray({7, 7}));
}

// Of a call and of the connection before it every allocation fails once: ours and those of the stubs.
TEST_F(invoker_test, SurvivesEveryAllocationThatFails) {
    const auto block = com::to_safe_array(std::vector<unsigned char>(100));
    const std::pair<const char*, std::function<HRESULT()>> calls[] = {
        {"SetAccount", [&] { return invoker->SetAccount(make_bstr(L"CORP\\someone").get(), make_bstr(L"password").get()); }},
        {"Connect", [&] { return invoker->Connect(make_bstr(L"6.0").get()); }},
        {"DoRpc", [&] { return do_rpc(L"AllocationsOfThisCommandFail", L"<x/>"); }},
        {"DoRpcWithBinary", [&] { return do_rpc_with_binary(block.get()); }},
    };
    const auto forget = [&] {
        answer.reset();
        bytes.reset();
        identities = decltype(identities)();
        logons = decltype(logons)();
        levels = decltype(levels)();
    };
    const logging::captured_log_t log;
    logging::info(std::string(10000, '-'));  // room for what the failures write
    for (const auto& [name, call] : calls) {
        SCOPED_TRACE(name);
        ASSERT_EQ(call(), S_OK);
        forget();
        const long blocks = watched_memory::live_blocks();
        long number = 1;
        for (;; ++number) {
            watched_memory::fail_allocation(number);
            const HRESULT result = call();
            watched_memory::fail_allocation(0);
            if (!watched_memory::failed())
                break;
            // A log line may be lost and the call succeed; the stubs have a status of their own.
            EXPECT_TRUE(result == S_OK || result == E_OUTOFMEMORY || description_of_error().ends_with("\nOut of memory."))
                << text::hex8(static_cast<std::uint32_t>(result));
            take_error();
            ASSERT_EQ(call(), S_OK) << "after the failure of allocation " << number;
            forget();
            EXPECT_EQ(watched_memory::live_blocks(), blocks) << "after the failure of allocation " << number;
        }
        std::printf("%s: %ld allocations\n", name, number - 1);
        EXPECT_GT(number, 3);
    }
}

}  // namespace
