#include <gtest/gtest.h>

#include "KorvaProxyClient.h"
#include "com/class_table.h"
#include "foundation/automation.h"
#include "tests/com/com_test.h"
#include "tests/com/loaded_dll.h"
#include "tests/com/watched_memory.h"
#include "tests/process_state.h"

namespace {

using leaks = com_test;
using process_state::open_handles;
using process_state::private_bytes;
using win::make_bstr;

// An object of each creatable class is made, used, made to fail and released.
void (*const rounds[])() = {
    [] { EXPECT_EQ(create<IKorvaProxyClientLogging>(CLSID_KorvaProxyClientLogging)->SetLogPath(nullptr), DISP_E_EXCEPTION); },
    [] {
        const auto object = create<IKorvaDeployer>(CLSID_KorvaDeployer);
        EXPECT_EQ(object->SetEndpoint(make_bstr(L"").get(), 1), S_OK);
        EXPECT_EQ(object->RemoveService(), DISP_E_EXCEPTION);
    },
    [] {
        const auto object = create<IKorvaHvIntegrator>(CLSID_KorvaHvIntegrator);
        win::com_ptr<IKorvaHvOnhostVss> vss;
        EXPECT_EQ(object->SetAccount(make_bstr(L"CORP\\user").get(), make_bstr(L"password").get()), S_OK);
        EXPECT_EQ(object->get_OnhostVss(vss.put()), S_OK);
        EXPECT_EQ(object->get_CtpMngr(nullptr), E_POINTER);
    },
    [] {
        const auto object = create<IKorvaVdiskMountManager>(CLSID_KorvaVdiskMountManager);
        win::com_ptr<IVmdkMounter> mounter;
        EXPECT_EQ(object->get_VmdkMounter(mounter.put()), S_OK);
        EXPECT_EQ(mounter->UmountAll(), DISP_E_EXCEPTION);
    },
    [] {
        const auto object = create<IKorvaHvClusterManager>(CLSID_KorvaHvClusterManager);
        EXPECT_EQ(object->SetEndpoint(make_bstr(L"host").get(), 1), S_OK);
        EXPECT_EQ(object->get_ClusterVolumes(nullptr), E_POINTER);
    },
    [] {
        const auto object = create<IKorvaVssIsVolumesSupportedRequest>(CLSID_KorvaVssIsVolumesSupportedRequest);
        win::unique_bstr name;
        GUID provider;
        EXPECT_EQ(object->Add(make_bstr(L"C:\\").get(), GUID_NULL), S_OK);
        EXPECT_EQ(object->Get(0, name.put(), &provider), S_OK);
        EXPECT_EQ(object->Get(1, name.put(), &provider), E_INVALIDARG);
    },
    [] {
        const auto object = create<IProxyRpcInvoker>(CLSID_KorvaProxyInvoker);
        win::unique_bstr answer;
        win::unique_safe_array bytes;
        const win::unique_safe_array numbers(::SafeArrayCreateVector(VT_I4, 0, 2));
        EXPECT_EQ(object->DoRpcWithBinary(nullptr, nullptr, numbers.get(), answer.put(), bytes.put()), DISP_E_TYPEMISMATCH);
    }};

TEST_F(leaks, TwoThousandRoundsOfEachClassLeaveNothing) {
    ASSERT_EQ(std::size(rounds), com::class_table().size());
    for (const auto round : rounds) {
        for (int i = 0; i < 20; ++i)
            round();
        take_error();
        const unsigned handles = open_handles();
        const long blocks = watched_memory::live_blocks();
        for (int i = 0; i < 2000 && !HasFailure(); ++i)
            round();
        take_error();
        EXPECT_LE(open_handles(), handles);
        EXPECT_EQ(watched_memory::live_blocks(), blocks);
        EXPECT_FALSE(com::module::in_use());
    }
}

// The DLL comes with a runtime and a log of its own: what it keeps behind, only the process as a whole shows.
TEST_F(leaks, ThreeHundredLoadsOfTheDllLeaveNothing) {
    unsigned handles = 0;
    std::size_t bytes = 0;
    for (int i = 0; i < 300 && !HasFailure(); ++i) {
        {
            const loaded_dll dll;
            win::com_ptr<IClassFactory> factory;
            win::com_ptr<IProxyRpcInvoker> object;
            int seconds = 0;
            EXPECT_EQ(dll.get_class_object(CLSID_KorvaProxyInvoker, IID_IClassFactory, factory.put()), S_OK);
            EXPECT_EQ(factory->CreateInstance(nullptr, __uuidof(IProxyRpcInvoker), reinterpret_cast<void**>(object.put())),
                      S_OK);
            EXPECT_EQ(object->GetRpcTimeout(&seconds), S_OK);
            EXPECT_EQ(dll.can_unload_now(), S_FALSE);
        }
        EXPECT_EQ(::GetModuleHandleW(L"KorvaProxyClient.dll"), nullptr);
        if (i == 60) {
            handles = open_handles();
            bytes = private_bytes();
        }
    }
    EXPECT_EQ(open_handles(), handles);
    // The runtime that is linked in keeps 1.5 KiB a load, in pages.
    const double growth = (static_cast<double>(private_bytes()) - static_cast<double>(bytes)) / 239;
    std::printf("%.0f private bytes a load\n", growth);
    EXPECT_LT(growth, 4096);
}

}  // namespace
