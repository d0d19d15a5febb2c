#include <thread>

#include "com/co_korva_hv_integrator.h"
#include "foundation/system_text.h"
#include "tests/hv/backup.h"
#include "tests/hv/connection_settings.h"

namespace hv_tests {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class Integrator : public session {};

// A getter answers with another object on every call.
template <class Object>
void expect_new(IKorvaHvIntegrator& integrator, HRESULT (STDMETHODCALLTYPE IKorvaHvIntegrator::*getter)(Object**)) {
    win::com_ptr<Object> first, second;
    EXPECT_EQ((integrator.*getter)(first.put()), S_OK);
    EXPECT_EQ((integrator.*getter)(second.put()), S_OK);
    EXPECT_TRUE(first && second && first.get() != second.get());
}

TEST_F(Integrator, SaysThatItIsThereAndHandsOutNewObjects) {
    const auto integrator = new_integrator();
    EXPECT_THAT(log_.texts(), ElementsAre("HNV: Create instance"));
    expect_new(*integrator.get(), &IKorvaHvIntegrator::get_VssInfoCollector);
    expect_new(*integrator.get(), &IKorvaHvIntegrator::get_OnhostVss);
    expect_new(*integrator.get(), &IKorvaHvIntegrator::get_OffhostVss);
    expect_new(*integrator.get(), &IKorvaHvIntegrator::get_CtpMngr);
    expect_new(*integrator.get(), &IKorvaHvIntegrator::get_RestoreMngr);
}

TEST_F(Integrator, NamesTheEndpointWhereNothingListens) {
    const auto integrator = new_integrator();
    ASSERT_EQ(integrator->SetEndpoint(bstr(L"127.0.0.1").get(), 9), S_OK);
    EXPECT_EQ(outcome(integrator->TestConnection()),
              failed({"Failed to check whether HvIntegration service is available on '127.0.0.1:9'.",
                      "RPC function call failed. Function name: [HvTestConnection]. Target machine: [127.0.0.1].",
                      exc::system_error_text(RPC_S_SERVER_UNAVAILABLE)}));
    EXPECT_THAT(log_.texts(),
                Contains("Connecting to RPC port '9', host '127.0.0.1', service 'KorvaHvIntegSvc', secure channel: 'false' ."));
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

struct console_t : with_settings_t<com::CCoKorvaHvIntegrator> {
    console_t() {
        EXPECT_EQ(object->get_OnhostVss(onhost.put()), S_OK);
        EXPECT_EQ(object->get_OffhostVss(offhost.put()), S_OK);
        EXPECT_EQ(object->get_VssInfoCollector(collector.put()), S_OK);
        EXPECT_EQ(object->get_CtpMngr(tracking.put()), S_OK);
        EXPECT_EQ(object->get_RestoreMngr(restore.put()), S_OK);
    }

    win::com_ptr<IKorvaHvOnhostVss> onhost;
    win::com_ptr<IKorvaHvOffhostVss> offhost;
    win::com_ptr<IKorvaVssInfoCollector> collector;
    win::com_ptr<IKorvaHvCtpMngr> tracking;
    win::com_ptr<IKorvaHvRestoreMngr> restore;
};

TEST_F(Integrator, SharesItsSettingsWithAllThatItHandedOutAndWithNoOther) {
    console_t first, second;
    const std::function<HRESULT(console_t&)> calls[] = {
        [](console_t& console) { return console.object->TestConnection(); },
        [](console_t& console) { return console.onhost->CloseSnapshot(GUID{}); },
        [](console_t& console) { return console.offhost->CloseSnapshot(GUID{}); },
        [](console_t& console) { return console.collector->CollectHvWriterDoc(win::unique_bstr().put()); },
        [](console_t& console) { return console.tracking->Init(); },
        [](console_t& console) { return console.restore->PostRestore(GUID{}); },
    };
    first.set(L"alpha", 7001, LR"(CORP\back\up)", L"пароль", 30);
    second.set(L"beta", 7002, L"backup", L"", 3600);
    EXPECT_THAT(log_.texts(), Contains("KD: Set RPC timeout. Request timeout: [30] sec."));
    for (const auto& call : calls) {
        EXPECT_EQ(outcome(call(first)).lines.back(), "enough seen");
        EXPECT_EQ(first.take(), R"(compose alpha 7001, back\up|CORP|пароль, option 12 30000)")
            << "split at the first backslash, set after it was handed out";
        EXPECT_EQ(second.take(), "");
        EXPECT_EQ(outcome(call(second)).lines.back(), "enough seen");
        EXPECT_EQ(second.take(), "compose beta 7002, backup|.|, option 12 3600000");
    }
    EXPECT_FALSE(log_.holds("пароль"));
}

TEST_F(Integrator, DoesNotDisturbAnother) {
    const auto run = [this](const wchar_t* machine, const std::wstring& name, const wchar_t* host) {
        ASSERT_EQ(::CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
        for (int round = 0; round < 5; ++round) {
            backup_t backup(new_integrator());
            ASSERT_EQ(backup.integrator->SetEndpoint(bstr(host).get(), static_cast<int>(lab_port())), S_OK);
            ASSERT_EQ(backup.onhost->BeginSnapshotCreationEx(
                          bstr(text::widen(text::format("<Snapshot Polls='3'><VM ID='%1'/></Snapshot>", machine))).get(),
                          bstr(name).get(), nullptr, backup.operation.put()),
                      S_OK);
            ASSERT_NO_FATAL_FAILURE(backup.finish_snapshot(3));
            EXPECT_THAT(given_text(*backup.snapshot.get(), &IKorvaHvVssSnapshot::get_BackupDocument),
                        HasSubstr(L"Job=\"" + name + L'"'));
            SAFEARRAY* files = nullptr;
            ASSERT_EQ(backup.snapshot->EnumVmFiles(bstr(machine).get(), &files), S_OK);
            EXPECT_THAT(take_texts(files), AllOf(Not(IsEmpty()), Each(HasSubstr(name))));
            EXPECT_EQ(backup.onhost->CloseSnapshot(backup.snapshot_id), S_OK);
            EXPECT_TRUE(log_.holds(backup.filled(lines_t{"with  ID '{snapshot}'. Host: '" + text::narrow(host) + "'."})[0]));
        }
        ::CoUninitialize();
    };
    std::thread first(run, vm, L"web", L"127.0.0.1"), second(run, all_scripts_vm, L"отчёты", L"localhost");
    first.join();
    second.join();
}

}  // namespace
}  // namespace hv_tests
