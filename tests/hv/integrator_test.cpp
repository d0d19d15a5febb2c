#include <thread>

#include "foundation/errors.h"
#include "foundation/system_text.h"
#include "hv/integrator.h"
#include "tests/hv/backup.h"

namespace hv_tests {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;

class Integrator : public session {};

TEST_F(Integrator, SaysThatItIsThereAndHandsOutNewObjects) {
    const auto integrator = new_integrator();
    EXPECT_THAT(log_.texts(), ElementsAre("HNV: Create instance"));
    win::com_ptr<IKorvaHvOnhostVss> first, second;
    ASSERT_EQ(integrator->get_OnhostVss(first.put()), S_OK);
    ASSERT_EQ(integrator->get_OnhostVss(second.put()), S_OK);
    EXPECT_NE(first.get(), second.get());
    log_.clear();
    EXPECT_EQ(integrator->SetRpcTimeout(30), S_OK);
    EXPECT_THAT(log_.texts(), ElementsAre("KD: Set RPC timeout. Request timeout: [30] sec."));
}

TEST_F(Integrator, NamesTheEndpointWhereNothingListens) {
    const auto integrator = new_integrator();
    ASSERT_EQ(integrator->SetEndpoint(bstr(L"127.0.0.1").get(), 9), S_OK);
    log_.clear();
    const lines_t lines{"Failed to check whether HvIntegration service is available on '127.0.0.1:9'.",
                        "RPC function call failed. Function name: [HvTestConnection]. Target machine: [127.0.0.1].",
                        exc::system_error_text(RPC_S_SERVER_UNAVAILABLE)};
    EXPECT_EQ(outcome(integrator->TestConnection()), failed(lines));
    ASSERT_EQ(integrator->SetEndpoint(bstr(L"127.0.0.1").get(), static_cast<int>(lab_port())), S_OK);
    EXPECT_EQ(outcome(integrator->TestConnection()), succeeded()) << "the object stays usable";
}

TEST_F(Integrator, MayGoBeforeWhatItHandedOut) {
    backup_t backup(new_integrator());
    backup.integrator.reset();
    ASSERT_NO_FATAL_FAILURE(backup.take_snapshot());
    backup.onhost.reset();
    EXPECT_EQ(outcome(backup.operation->Refresh()), succeeded());
    EXPECT_EQ(outcome(backup.snapshot->SetVmBackupStatus(bstr(vm).get(), VARIANT_TRUE)), succeeded());
    ASSERT_NO_FATAL_FAILURE(backup.import_snapshot());
    EXPECT_EQ(outcome(backup.offhost->CloseSnapshot(backup.imported_id)), succeeded());
}

TEST_F(Integrator, SharesItsSettingsWithWhatItHandedOut) {
    backup_t backup(new_integrator());
    ASSERT_EQ(backup.integrator->SetEndpoint(bstr(L"localhost").get(), static_cast<int>(lab_port())), S_OK);
    EXPECT_EQ(outcome(backup.onhost->CloseSnapshot(GUID{})).lines.size(), 2u);
    EXPECT_THAT(log_.texts(),
                Contains("Closing on-host VSS snapshot with  ID '00000000-0000-0000-0000-000000000000'. Host: 'localhost'."));
}

TEST_F(Integrator, DoesNotDisturbAnother) {
    const auto run = [](const wchar_t* machine, const wchar_t* name) {
        ASSERT_EQ(::CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
        for (int round = 0; round < 5; ++round) {
            backup_t backup(new_integrator());
            const std::wstring specification = L"<Snapshot Polls='3'><VM ID='" + std::wstring(machine) + L"'/></Snapshot>";
            ASSERT_EQ(backup.onhost->BeginSnapshotCreationEx(bstr(specification).get(), bstr(name).get(), nullptr,
                                                             backup.operation.put()),
                      S_OK);
            ASSERT_NO_FATAL_FAILURE(backup.finish_snapshot(3));
            win::unique_bstr document;
            ASSERT_EQ(backup.snapshot->get_BackupDocument(document.put()), S_OK);
            EXPECT_NE(win::bstr_view(document.get()).find(L"Job=\"" + std::wstring(name) + L'"'), std::wstring_view::npos);
            SAFEARRAY* array = nullptr;
            ASSERT_EQ(backup.snapshot->EnumVmFiles(bstr(machine).get(), &array), S_OK);
            const auto files = take_texts(array);
            EXPECT_FALSE(files.empty());
            for (const std::wstring& file : files)
                EXPECT_NE(file.find(name), std::wstring::npos);
            EXPECT_EQ(backup.onhost->CloseSnapshot(backup.snapshot_id), S_OK);
        }
        ::CoUninitialize();
    };
    std::thread first(run, vm, L"web"), second(run, all_scripts_vm, L"отчёты");
    first.join();
    second.join();
}

TEST(IntegratorAccount, IsSplitAtTheFirstBackslashAndNobodyIsLoggedOn) {
    std::wstring domain, user, password;
    auto functions = win::rpc::rpc_functions_t::real();
    functions.binding_set_auth_info = [&](auto, auto, auto, auto, void* identity, auto) -> RPC_STATUS {
        const auto& account = *static_cast<const SEC_WINNT_AUTH_IDENTITY_W*>(identity);
        const auto text = [](const unsigned short* characters, unsigned long length) {
            return std::wstring(reinterpret_cast<const wchar_t*>(characters), length);
        };
        domain = text(account.Domain, account.DomainLength);
        user = text(account.User, account.UserLength);
        password = text(account.Password, account.PasswordLength);
        return RPC_S_UNKNOWN_AUTHN_SERVICE;
    };
    impl::CKorvaHvIntegrator integrator(win::rpc::make_integration_client(functions));
    integrator.SetEndpoint(L"127.0.0.1", 9);
    integrator.SetAccount(L"CORP\\back\\up", L"пароль");
    EXPECT_THROW(integrator.TestConnection(), exc::runtime_exc_t);
    EXPECT_EQ(domain, L"CORP");
    EXPECT_EQ(user, L"back\\up");
    EXPECT_EQ(password, L"пароль");
    integrator.SetAccount(L"backup", L"");
    EXPECT_THROW(integrator.TestConnection(), exc::runtime_exc_t);
    EXPECT_EQ(domain, L".");
    EXPECT_EQ(user, L"backup");
}

}  // namespace
}  // namespace hv_tests
