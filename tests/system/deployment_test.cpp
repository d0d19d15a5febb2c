// The installer service is deployed to this Wine prefix, used, upgraded and removed again, by Wine's own service control
// manager and over real remote calls.
#include <gmock/gmock.h>
#include <windows.h>

#include <filesystem>
#include <fstream>
#include <random>

#include "KorvaProxyClient.h"
#include "com/class_factory.h"
#include "deploy/deployer_platform.h"
#include "foundation/handles.h"
#include "lab/wine_host.h"
#include "logging/memory_receiver.h"
#include "tests/com/com_test.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
namespace fs = std::filesystem;

constexpr int port = 46160;
constexpr const wchar_t* service_name = L"KorvaDeploymentService";

fs::path bin_folder() {
    wchar_t path[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, path, MAX_PATH);
    return fs::path(path).parent_path();
}

std::string bytes_of(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

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

// 0 where the service is not there.
DWORD service_state() {
    const SC_HANDLE manager = ::OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT);
    const SC_HANDLE service = ::OpenServiceW(manager, service_name, SERVICE_QUERY_STATUS);
    SERVICE_STATUS status{};
    if (service)
        ::QueryServiceStatus(service, &status);
    ::CloseServiceHandle(service);
    ::CloseServiceHandle(manager);
    return status.dwCurrentState;
}

struct Deployment : com_test {
    lab::wine_host_t host;
    logging::captured_log_t log;
    const HMODULE library = ::LoadLibraryW((bin_folder() / L"KorvaProxyClient.dll").c_str());
    const impl::deployer_platform_t platform_before = impl::default_deployer_platform();
    win::com_ptr<IKorvaDeployer> deployer;
    const fs::path windows = lab::wine_host_t::windows_folder();
    const fs::path backup = windows / L"Korva" / L"Backup";
    const fs::path dll = fs::temp_directory_path() / L"KorvaNew.dll";

    Deployment() {
        EXPECT_NE(library, nullptr);
        host.stand_in(impl::default_deployer_platform());
        win::com_ptr<IClassFactory> factory;
        EXPECT_EQ(com::get_class_object(CLSID_KorvaDeployer, IID_IClassFactory, reinterpret_cast<void**>(factory.put())), S_OK);
        EXPECT_EQ(factory->CreateInstance(nullptr, IID_IKorvaDeployer, reinterpret_cast<void**>(deployer.put())), S_OK);
        EXPECT_EQ(deployer->SetEndpoint(win::make_bstr(lab::wine_host_t::name).get(), port), S_OK);
        EXPECT_EQ(deployer->SetAccount(win::make_bstr(L"KORVA\\admin").get(), win::make_bstr(L"secret").get()), S_OK);
    }
    ~Deployment() override {
        deployer.reset();
        impl::default_deployer_platform() = platform_before;
        ::FreeLibrary(library);
        std::error_code ignored;
        fs::remove(dll, ignored);
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

    void write_dll(std::size_t size) {
        std::mt19937 random(1);
        std::string bytes(size, '\0');
        for (char& byte : bytes)
            byte = static_cast<char>(random());
        std::ofstream(dll, std::ios::binary) << bytes;
    }
};

TEST_F(Deployment, GoesFromAnEmptyHostToAnUpgradedServiceAndBack) {
    expect_ok(deployer->InstallService());
    EXPECT_EQ(bytes_of(backup / L"KorvaDeploymentSvc.exe"), bytes_of(bin_folder() / L"KorvaDeploymentSvc.exe"));
    EXPECT_EQ(service_state(), DWORD{SERVICE_RUNNING});
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

    write_dll(1'200'000);
    host.received_by_service();
    expect_ok(deployer->UpgradeServiceDll(win::make_bstr(dll.wstring()).get()));
    EXPECT_TRUE(bytes_of(backup / L"Upload" / L"KorvaNew.dll") == bytes_of(dll));
    EXPECT_TRUE(bytes_of(backup / L"KorvaDeploymentDll.dll") == bytes_of(dll));
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
    EXPECT_EQ(service_state(), 0u);
    EXPECT_FALSE(fs::exists(windows / L"Korva"));

    clear_log();
    expect_ok(deployer->RemoveService());
    EXPECT_TRUE(log.holds("Service not installed"));
}

TEST_F(Deployment, ANullPathIsToldApartFromAnEmptyOneAndFromOneThatLeadsNowhere) {
    clear_log();
    EXPECT_EQ(deployer->InstallServiceEx(nullptr), E_POINTER);
    EXPECT_EQ(deployer->UpgradeServiceDll(nullptr), E_POINTER);
    EXPECT_EQ(deployer->get_ServiceVersion(nullptr), E_POINTER);
    EXPECT_EQ(deployer->get_ServiceDllVersion(nullptr), E_POINTER);
    EXPECT_THAT(log.texts(), IsEmpty());

    for (const wchar_t* path : {L"", L"C:\\gone\\KorvaDeploymentSvc.exe"}) {
        EXPECT_EQ(deployer->InstallServiceEx(win::make_bstr(path).get()), DISP_E_EXCEPTION);
        const std::string error = description_of_error();
        EXPECT_THAT(error,
                    testing::StartsWith(
                        "Failed to install service [KorvaDeploymentService] was not installed on the host [localhost].\n"));
        EXPECT_THAT(error, testing::EndsWith("\nFailed to copy file to the proxy host"));
        EXPECT_EQ(service_state(), 0u);
    }
    fs::remove_all(windows / L"Korva");  // what a failed installation has done stays
}

}  // namespace
