// A password goes through every class that takes one, in calls that succeed and that fail, and must appear in nothing that
// stays: log, error texts, memory that was given back.
#include <gmock/gmock.h>

#include "KorvaProxyClient.h"
#include "foundation/automation.h"
#include "lab/wine_host.h"
#include "logging/memory_receiver.h"
#include "tests/com/com_test.h"
#include "tests/com/every_method.h"
#include "tests/com/lab_port.h"
#include "tests/com/loaded_dll.h"
#include "tests/watched_memory.h"

namespace {

using win::make_bstr;

constexpr wchar_t password[] = L"Ma\xE4rker-Pa55w0rd-Ma\xE4rker";
// The part that is the same bytes in UTF-8 and in every code page; and in UTF-16.
constexpr std::string_view narrow_marker = "rker-Pa55w0rd-Ma";
constexpr wchar_t wide_text[] = L"rker-Pa55w0rd-Ma";
const std::string_view wide_marker(reinterpret_cast<const char*>(wide_text), sizeof wide_text - sizeof(wchar_t));

class secrets : public com_test {
protected:
    secrets() { host.stand_in(impl::default_deployer_platform()); }
    ~secrets() override { impl::default_deployer_platform() = platform_before; }

    template <class Interface>
    win::com_ptr<Interface> create_client(const CLSID& clsid, const wchar_t* name = L"127.0.0.1", unsigned port = lab_port()) {
        const auto object = create<Interface>(clsid);
        EXPECT_EQ(object->SetEndpoint(make_bstr(name).get(), static_cast<int>(port)), S_OK);
        EXPECT_EQ(object->SetAccount(make_bstr(L"CORP\\user").get(), make_bstr(password).get()), S_OK);
        EXPECT_EQ(object->SetAccount(make_bstr(L"CORP\\user").get(), make_bstr(password).get()), S_OK) << "replaces the first";
        return object;
    }
    void expect(bool succeeds, HRESULT result, int line = __builtin_LINE()) {
        SCOPED_TRACE(line);
        EXPECT_EQ(SUCCEEDED(result), succeeds) << text::hex8(static_cast<std::uint32_t>(result));
        const auto error = take_error();
        EXPECT_EQ(error.has_value(), !succeeds && result != E_POINTER);
        EXPECT_FALSE(error && error->description.find(narrow_marker) != std::string::npos);
        ++calls;
    }
    void use_every_class();

    int calls = 0;
    const loaded_dll dll;  // whose folder holds the service's executable
    const impl::deployer_platform_t platform_before = impl::default_deployer_platform();
    lab::wine_host_t host;
    every_method_t every_method{.after_call = [this](HRESULT result) { expect(SUCCEEDED(result), result); },
                                .host = L"127.0.0.1",
                                .port = lab_port(),
                                .password = password};
};

void secrets::use_every_class() {
    const auto version = make_bstr(L"6.0"), failing = make_bstr(L"Lab.Fail"), text = make_bstr(L"It fails.");
    win::unique_bstr answer;

    const auto invoker = create_client<IProxyRpcInvoker>(CLSID_KorvaProxyInvoker);
    expect(true, invoker->Connect(version.get()));
    expect(true, invoker->TestConnection(version.get()));
    expect(false, invoker->DoRpc(failing.get(), text.get(), answer.put()));
    every_method.call(invoker.get());
    expect(true, invoker->SetEndpoint(make_bstr(L"no.such.host.invalid").get(), 9));
    expect(true, invoker->Connect(version.get()));
    expect(false, invoker->TestConnection(version.get()));

    const auto deployer = create_client<IKorvaDeployer>(CLSID_KorvaDeployer);
    int number = 0;
    expect(true, deployer->Connect());
    expect(true, deployer->get_ServiceVersion(&number));
    every_method.call(deployer.get());
    expect(false, deployer->InstallServiceEx(make_bstr(L"C:\\windows\\win.ini").get()));
    expect(true, deployer->RemoveService());
    expect(false, deployer->UpgradeServiceDll(make_bstr(L"C:\\none.dll").get()));

    const auto installer = create_client<IKorvaDeployer>(CLSID_KorvaDeployer, host.name, 46161);
    expect(true, installer->InstallService());
    expect(true, installer->Connect());
    expect(true, installer->UpgradeServiceDll(make_bstr(L"C:\\windows\\win.ini").get()));
    expect(true, installer->RemoveService());

    const auto integrator = create_client<IKorvaHvIntegrator>(CLSID_KorvaHvIntegrator);
    win::com_ptr<IKorvaHvRestoreMngr> restore;
    expect(true, integrator->TestConnection());
    expect(true, integrator->get_RestoreMngr(restore.put()));
    expect(false, restore->CloseSession(GUID_NULL));
    every_method.call(integrator.get());

    const auto cluster = create_client<IKorvaHvClusterManager>(CLSID_KorvaHvClusterManager);
    win::com_ptr<IEnumClusterVolumes> volumes;
    expect(true, cluster->get_ClusterVolumes(volumes.put()));
    every_method.call(cluster.get());
    expect(false, cluster->GetResourceIDByName(make_bstr(L"no such resource").get(), answer.put()));
}

TEST_F(secrets, APasswordStaysNowhere) {
    for (const std::string_view marker : {narrow_marker, wide_marker}) {
        const logging::captured_log_t log;
        watched_memory::search_for(marker);
        static_cast<void>(std::string(marker));
        EXPECT_EQ(watched_memory::found(), 1) << "nothing would be found";
        watched_memory::search_for(marker);
        use_every_class();
        watched_memory::search_for({});
        EXPECT_EQ(watched_memory::found(), 0) << "blocks given back with the password in them";
        EXPECT_GT(log.texts().size(), 20u);
        EXPECT_FALSE(log.holds(marker));
    }
    std::printf("%d calls with a password, to %zu interfaces\n", calls, every_method.interfaces.size());
    EXPECT_GE(every_method.interfaces.size(), 17u);
}

}  // namespace
