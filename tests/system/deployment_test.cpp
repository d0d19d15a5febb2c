// The installer service is deployed to this Wine prefix, used, upgraded and removed again, by Wine's own service control
// manager and over real remote calls.
#include <gmock/gmock.h>
#include <windows.h>

#include "KorvaProxyClient.h"
#include "deploy/deployer_platform.h"
#include "lab/wine_host.h"
#include "logging/memory_receiver.h"
#include "tests/child_process.h"
#include "tests/com/com_test.h"
#include "tests/com/loaded_dll.h"
#include "tests/files.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
namespace fs = std::filesystem;

constexpr int port = 46160;
constexpr const wchar_t* service_name = L"KorvaDeploymentService";

// The parts of a REG_MULTI_SZ, or the one text of another value.
std::vector<std::wstring> registry_texts(const wchar_t* value) {
    const std::wstring key = std::wstring(L"SYSTEM\\CurrentControlSet\\Services\\") + service_name;
    wchar_t data[1024] = {};
    DWORD size = sizeof data - 2 * sizeof(wchar_t);
    ::RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), value, RRF_RT_ANY | RRF_NOEXPAND, nullptr, data, &size);
    std::vector<std::wstring> texts;
    for (const wchar_t* text = data; *text; text += std::wcslen(text) + 1)
        texts.emplace_back(text);
    return texts;
}

struct Deployment : com_test {
    lab::wine_host_t host;
    logging::captured_log_t log;
    const loaded_dll library;  // whose folder holds the executable
    const impl::deployer_platform_t platform_before = impl::default_deployer_platform();
    win::com_ptr<IKorvaDeployer> deployer;
    const fs::path windows = lab::wine_host_t::windows_folder();
    const fs::path backup = windows / L"Korva" / L"Backup";
    const scratch_t scratch;
    const fs::path dll = scratch.path() / L"KorvaNew.dll";

    Deployment() {
        host.stand_in(impl::default_deployer_platform());
        deployer = create<IKorvaDeployer>(CLSID_KorvaDeployer);
        EXPECT_EQ(deployer->SetEndpoint(win::make_bstr(lab::wine_host_t::name).get(), port), S_OK);
        EXPECT_EQ(deployer->SetAccount(win::make_bstr(L"KORVA\\admin").get(), win::make_bstr(L"secret").get()), S_OK);
    }
    ~Deployment() override {
        deployer.reset();
        impl::default_deployer_platform() = platform_before;
        EXPECT_THAT(host.connections(), IsEmpty());
        EXPECT_FALSE(host.impersonating());
        clear_log();
    }
    // What goes is looked through for the password.
    void clear_log() {
        EXPECT_FALSE(log.holds("secret"));
        log.clear();
    }
    // S_OK, or the failure with its text.
    void expect_ok(HRESULT result) {
        EXPECT_EQ(result, S_OK) << description_of_error() << '\n' << ::testing::PrintToString(log.texts());
    }
};

TEST_F(Deployment, GoesFromAnEmptyHostToAnUpgradedServiceAndBack) {
    expect_ok(deployer->InstallService());
    EXPECT_EQ(read_all(backup / L"KorvaDeploymentSvc.exe"),
              read_all(fs::path(child_process::own_folder()) / L"KorvaDeploymentSvc.exe"));
    EXPECT_THAT(registry_texts(L"ImagePath"),
                ElementsAre((backup / L"KorvaDeploymentSvc.exe").wstring() + L" -port " + std::to_wstring(port)));
    EXPECT_THAT(registry_texts(L"Description"),
                ElementsAre(L"Enables installing, updating and configuring additional Korva Backup components."));
    EXPECT_THAT(registry_texts(L"DependOnService"), ElementsAre(L"RPCSS", L"WINMGMT"));

    expect_ok(deployer->Connect());
    expect_ok(deployer->PingService());
    int version = 0;
    expect_ok(deployer->get_ServiceVersion(&version));
    EXPECT_EQ(version, 6);
    win::unique_bstr dll_version;
    expect_ok(deployer->get_ServiceDllVersion(dll_version.put()));
    EXPECT_EQ(win::bstr_view(dll_version.get()), L"6.0.1.0");

    const std::string bytes = numbered_lines(1'200'000);
    write_all(dll, bytes);
    host.received_by_service();
    expect_ok(deployer->UpgradeServiceDll(win::make_bstr(dll.wstring()).get()));
    EXPECT_TRUE(read_all(backup / L"Upload" / L"KorvaNew.dll") == bytes);
    EXPECT_TRUE(read_all(backup / L"KorvaDeploymentDll.dll") == bytes);
    expect_ok(deployer->get_ServiceDllVersion(dll_version.put()));
    EXPECT_EQ(win::bstr_view(dll_version.get()), L"6.0.1.1");
    EXPECT_THAT(host.received_by_service(),
                ElementsAre("SureUploadFolderExists", HasSubstr("FcCreateFile path="), HasSubstr("524288"), HasSubstr("524288"),
                            HasSubstr("151424"), "FcCloseFile", HasSubstr("UpgradeSvcDll path="), "GetSvcDllVersion"));
    EXPECT_EQ(deployer->UpgradeServiceDll(win::make_bstr(L"").get()), DISP_E_EXCEPTION);
    EXPECT_THAT(description_of_error(), testing::EndsWith("Failed to open local file ''."));

    clear_log();
    expect_ok(deployer->InstallService());
    EXPECT_TRUE(log.holds("Already started"));

    expect_ok(deployer->RemoveService());
    EXPECT_FALSE(fs::exists(windows / L"Korva"));

    clear_log();
    expect_ok(deployer->RemoveService());
    EXPECT_TRUE(log.holds("Service not installed"));
}

TEST_F(Deployment, ANullPathIsToldApartFromAnEmptyOneAndFromOneThatLeadsNowhere) {
    clear_log();
    EXPECT_EQ(deployer->InstallServiceEx(nullptr), E_POINTER);
    EXPECT_EQ(deployer->UpgradeServiceDll(nullptr), E_POINTER);
    EXPECT_THAT(log.texts(), IsEmpty());

    for (const wchar_t* path : {L"", L"C:\\gone\\KorvaDeploymentSvc.exe"}) {
        EXPECT_EQ(deployer->InstallServiceEx(win::make_bstr(path).get()), DISP_E_EXCEPTION);
        EXPECT_THAT(description_of_error(), testing::EndsWith("\nFailed to copy file to the proxy host"));
        EXPECT_THAT(registry_texts(L"ImagePath"), IsEmpty());
    }
    fs::remove_all(windows / L"Korva");  // what a failed installation has done stays
}

}  // namespace
