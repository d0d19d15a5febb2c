// ./demo.sh deploy: the installer service goes to a host and away again, step by step. The host is this Wine prefix: the
// service control manager, the files, the logon and the remote calls are real; what stands in is said at the start.
#include <windows.h>

#include <oleauto.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <vector>

#include "KorvaProxyClient.h"
#include "com/class_factory.h"
#include "deploy/deployer_platform.h"
#include "foundation/automation.h"
#include "foundation/com_ptr.h"
#include "foundation/convert.h"
#include "foundation/errors.h"
#include "lab/wine_host.h"
#include "logging/memory_receiver.h"

namespace {

namespace fs = std::filesystem;

constexpr int port = 46161;

std::string last_error_text() {
    win::com_ptr<IErrorInfo> info;
    win::unique_bstr description;
    if (::GetErrorInfo(0, info.put()) == S_OK)
        info->GetDescription(description.put());
    return text::narrow(win::bstr_view(description.get()));
}

// Shows a step with the log lines that it wrote and what the service says that it received.
class steps_t {
public:
    explicit steps_t(lab::wine_host_t& host) : host_(host) {}

    bool run(const char* title, const std::function<HRESULT()>& step, HRESULT expected = S_OK) {
        std::printf("\n== %s\n", title);
        log_.clear();
        const HRESULT result = step();
        for (const std::string& line : log_.texts())
            std::printf("   log      %s\n", line.c_str());
        for (const std::string& line : host_.received_by_service())
            std::printf("   service  %s\n", line.c_str());
        if (FAILED(result))
            std::printf("   error    %s: %s\n", text::hex8(static_cast<std::uint32_t>(result)).c_str(),
                        last_error_text().c_str());
        std::fflush(stdout);
        all_as_expected_ = all_as_expected_ && result == expected;
        return result == expected;
    }
    bool all_as_expected() const { return all_as_expected_; }

private:
    lab::wine_host_t& host_;
    logging::captured_log_t log_;
    bool all_as_expected_ = true;
};

void show_tree(const fs::path& folder) {
    if (!fs::exists(folder))
        std::printf("   host     %s is not there\n", folder.string().c_str());
    else
        for (const auto& entry : fs::recursive_directory_iterator(folder))
            if (entry.is_regular_file())
                std::printf("   host     %s, %llu bytes\n", entry.path().string().c_str(),
                            static_cast<unsigned long long>(entry.file_size()));
}

bool walk() {
    lab::wine_host_t host;
    host.stand_in(impl::default_deployer_platform());
    std::printf("The host '%ls' is this Wine prefix. Stand-ins, because Wine lacks them: %s.\n", lab::wine_host_t::name,
                lab::wine_host_t::stand_ins);
    win::com_ptr<IClassFactory> factory;
    win::com_ptr<IKorvaDeployer> deployer;
    if (com::get_class_object(CLSID_KorvaDeployer, IID_IClassFactory, reinterpret_cast<void**>(factory.put())) != S_OK ||
        factory->CreateInstance(nullptr, IID_IKorvaDeployer, reinterpret_cast<void**>(deployer.put())) != S_OK)
        throw exc::runtime_exc_t("The deployer cannot be created.");

    const fs::path korva = fs::path(lab::wine_host_t::windows_folder()) / L"Korva";
    const fs::path dll = fs::temp_directory_path() / L"KorvaNew.dll";
    std::ofstream(dll, std::ios::binary) << std::string(1'200'000, 'K');

    steps_t steps(host);
    steps.run("SetEndpoint, SetAccount", [&] {
        const HRESULT result = deployer->SetEndpoint(win::make_bstr(lab::wine_host_t::name).get(), port);
        return FAILED(result) ? result
                              : deployer->SetAccount(win::make_bstr(L"KORVA\\admin").get(), win::make_bstr(L"password").get());
    });
    steps.run("InstallService", [&] { return deployer->InstallService(); });
    show_tree(korva);
    steps.run("Connect", [&] { return deployer->Connect(); });
    steps.run("PingService", [&] { return deployer->PingService(); });
    int version = 0;
    steps.run("ServiceVersion", [&] { return deployer->get_ServiceVersion(&version); });
    win::unique_bstr dll_version;
    steps.run("ServiceDllVersion", [&] { return deployer->get_ServiceDllVersion(dll_version.put()); });
    steps.run("UpgradeServiceDll with a file of 1,200,000 bytes",
              [&] { return deployer->UpgradeServiceDll(win::make_bstr(dll.wstring()).get()); });
    show_tree(korva);
    steps.run("ServiceDllVersion", [&] { return deployer->get_ServiceDllVersion(dll_version.put()); });
    steps.run("InstallService again: it is only started", [&] { return deployer->InstallService(); });
    steps.run(
        "InstallServiceEx without a path: E_POINTER", [&] { return deployer->InstallServiceEx(nullptr); }, E_POINTER);
    steps.run(
        "UpgradeServiceDll with a file that is not there",
        [&] { return deployer->UpgradeServiceDll(win::make_bstr(L"C:\\gone.dll").get()); }, DISP_E_EXCEPTION);
    steps.run("RemoveService", [&] { return deployer->RemoveService(); });
    show_tree(korva);
    steps.run("RemoveService again: nothing to do", [&] { return deployer->RemoveService(); });
    fs::remove(dll);
    std::printf("\n%s\n", steps.all_as_expected() ? "Every step ended as it should." : "A step did not end as it should.");
    return steps.all_as_expected();
}

}  // namespace

int main() {
    ::SetConsoleOutputCP(CP_UTF8);
    ::CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    // The deployer looks for the service's executable beside this library, which must therefore be loaded.
    wchar_t path[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, path, MAX_PATH);
    ::LoadLibraryW((fs::path(path).parent_path() / L"KorvaProxyClient.dll").c_str());
    int status = 1;
    try {
        status = walk() ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
    }
    ::CoUninitialize();
    return status;
}
