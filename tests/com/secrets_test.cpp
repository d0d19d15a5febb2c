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

    void use_every_class();

    int good = 0, failed = 0;
    const loaded_dll dll;  // whose folder holds the service's executable
    const impl::deployer_platform_t platform_before = impl::default_deployer_platform();
    lab::wine_host_t host;
    every_method_t every_method{.host = L"127.0.0.1", .port = lab_port(), .password = password};
};

void secrets::use_every_class() {
    const auto look_at = [&](HRESULT result) {
        ++(SUCCEEDED(result) ? good : failed);
        EXPECT_EQ(description_of_error().find(narrow_marker), std::string::npos);
    };
    every_method.on_call = [&](const every_method_t::call_t& call) { look_at(call().result); };
    every_method.call_each_class([](const auto& call) { call(); });
    for (const wchar_t* unconvertible : {password, L"Ma\xE4rker-Pa55w0rd-Ma\x65E5"}) {
        every_method_t nowhere{.on_call = every_method.on_call, .password = unconvertible};
        nowhere.call_each_class([](const auto& call) { call(); });
    }
    // A service that this host gets for a while.
    const auto deployer = create<IKorvaDeployer>(CLSID_KorvaDeployer);
    const int failed_before = failed;
    look_at(deployer->SetEndpoint(make_bstr(host.name).get(), 46161));
    for (int round = 0; round < 2; ++round)  // the second replaces the first
        look_at(deployer->SetAccount(make_bstr(L"CORP\\user").get(), make_bstr(password).get()));
    look_at(deployer->InstallService());
    look_at(deployer->Connect());
    look_at(deployer->UpgradeServiceDll(make_bstr(L"C:\\windows\\win.ini").get()));
    look_at(deployer->RemoveService());
    EXPECT_EQ(failed, failed_before);
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
    std::printf("%d calls with a password, %d of them fail, to %zu interfaces\n", good + failed, failed,
                every_method.interfaces.size());
    EXPECT_GE(every_method.interfaces.size(), 22u);
    EXPECT_GT(good, 200);
    EXPECT_GT(failed, 100);
}

}  // namespace
