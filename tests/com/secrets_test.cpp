// A password goes through every class that takes one, in calls that succeed and that fail, and must appear in nothing that
// stays: log, error texts, debug output, memory that was given back.
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <source_location>

#include "KorvaProxyClient.h"
#include "com/class_factory.h"
#include "com/conversions.h"
#include "logging/memory_receiver.h"
#include "tests/com/com_test.h"
#include "tests/com/lab_port.h"
#include "tests/com/watched_memory.h"

namespace {

using win::make_bstr;

constexpr wchar_t password[] = L"Ma\xE4rker-Pa55w0rd-Ma\xE4rker";
// The part that is the same bytes in UTF-8 and in every code page; and in UTF-16.
constexpr std::string_view narrow_marker = "rker-Pa55w0rd-Ma";
constexpr wchar_t wide_text[] = L"rker-Pa55w0rd-Ma";
const std::string_view wide_marker(reinterpret_cast<const char*>(wide_text), sizeof wide_text - sizeof(wchar_t));

bool holds_marker(std::string_view text) {
    return text.find(narrow_marker) != std::string_view::npos || text.find(wide_marker) != std::string_view::npos;
}

// Debug output is an exception that carries length and address of its text.
LONG CALLBACK see_debug_output(EXCEPTION_POINTERS* pointers);

class secrets : public com_test {
protected:
    secrets() : watcher_(::AddVectoredExceptionHandler(TRUE, &see_debug_output)) {}
    ~secrets() override { ::RemoveVectoredExceptionHandler(watcher_); }

    template <class Interface>
    win::com_ptr<Interface> create_client(const CLSID& clsid) {
        const auto object = create<Interface>(clsid);
        EXPECT_EQ(object->SetEndpoint(make_bstr(L"127.0.0.1").get(), static_cast<int>(lab_port())), S_OK);
        EXPECT_EQ(object->SetAccount(make_bstr(L"CORP\\user").get(), make_bstr(password).get()), S_OK);
        EXPECT_EQ(object->SetAccount(make_bstr(L"CORP\\user").get(), make_bstr(password).get()), S_OK) << "replaces the first";
        return object;
    }
    void expect(bool succeeds, HRESULT result, std::source_location at = std::source_location::current()) {
        SCOPED_TRACE(at.line());
        EXPECT_EQ(SUCCEEDED(result), succeeds) << text::hex8(static_cast<std::uint32_t>(result));
        const auto error = take_error();
        EXPECT_EQ(error.has_value(), !succeeds);
        EXPECT_FALSE(error && holds_marker(error->description));
        ++calls;
    }
    void use_every_class();

    void* const watcher_;
    int calls = 0;
    static inline bool seen_in_debug_output = false;
    friend LONG CALLBACK see_debug_output(EXCEPTION_POINTERS*);
};

LONG CALLBACK see_debug_output(EXCEPTION_POINTERS* pointers) {
    const EXCEPTION_RECORD& raised = *pointers->ExceptionRecord;
    if (raised.ExceptionCode == DBG_PRINTEXCEPTION_C && raised.NumberParameters >= 2)
        secrets::seen_in_debug_output |=
            holds_marker({reinterpret_cast<const char*>(raised.ExceptionInformation[1]), raised.ExceptionInformation[0]});
    return EXCEPTION_CONTINUE_SEARCH;
}

void secrets::use_every_class() {
    const auto version = make_bstr(L"6.0"), failing = make_bstr(L"Lab.Fail"), text = make_bstr(L"It fails.");
    win::unique_bstr answer;
    {
        const auto invoker = create_client<IProxyRpcInvoker>(CLSID_KorvaProxyInvoker);
        expect(true, invoker->Connect(version.get()));
        expect(true, invoker->TestConnection(version.get()));
        expect(false, invoker->DoRpc(failing.get(), text.get(), answer.put()));
        const auto lost = create_client<IProxyRpcInvoker>(CLSID_KorvaProxyInvoker);
        expect(true, lost->SetEndpoint(make_bstr(L"no.such.host.invalid").get(), 9));
        expect(false, lost->TestConnection(version.get()));
    }
    {
        const auto deployer = create_client<IKorvaDeployer>(CLSID_KorvaDeployer);
        int number = 0;
        expect(true, deployer->Connect());
        expect(true, deployer->get_ServiceVersion(&number));
        expect(false, deployer->InstallServiceEx(make_bstr(L"C:\\windows\\win.ini").get()));
        expect(false, deployer->RemoveService());
        expect(false, deployer->UpgradeServiceDll(make_bstr(L"C:\\none.dll").get()));
    }
    {
        const auto integrator = create_client<IKorvaHvIntegrator>(CLSID_KorvaHvIntegrator);
        win::com_ptr<IKorvaHvRestoreMngr> restore;
        expect(true, integrator->TestConnection());
        expect(true, integrator->get_RestoreMngr(restore.put()));
        expect(false, restore->CloseSession(GUID_NULL));
    }
    {
        const auto cluster = create_client<IKorvaHvClusterManager>(CLSID_KorvaHvClusterManager);
        win::com_ptr<IEnumClusterVolumes> volumes;
        expect(true, cluster->get_ClusterVolumes(volumes.put()));
        expect(false, cluster->GetResourceIDByName(make_bstr(L"no such resource").get(), answer.put()));
    }
}

TEST_F(secrets, APasswordStaysNowhere) {
    const auto path = std::filesystem::temp_directory_path() / "korva_secrets_test.log";
    std::string written;
    for (const std::string_view marker : {narrow_marker, wide_marker}) {
        const logging::captured_log_t log;
        watched_memory::search_for(marker);
        use_every_class();
        watched_memory::search_for({});
        EXPECT_EQ(watched_memory::found(), 0) << "blocks given back with the password in them";
        EXPECT_GT(log.texts().size(), 20u);
        EXPECT_FALSE(log.holds(narrow_marker) || log.holds(wide_marker));

        // The same into a file.
        std::filesystem::remove(path);
        win::com_ptr<IClassFactory> factory;
        win::com_ptr<IKorvaProxyClientLogging> logging_object;
        com::get_class_object(CLSID_KorvaProxyClientLogging, IID_IClassFactory, reinterpret_cast<void**>(factory.put()));
        factory->CreateInstance(nullptr, __uuidof(IKorvaProxyClientLogging), reinterpret_cast<void**>(logging_object.put()));
        EXPECT_EQ(logging_object->SetLogPath(make_bstr(path.wstring()).get()), S_OK);
        use_every_class();
        logging::default_log()->set_receiver(nullptr);
        std::ifstream file(path, std::ios::binary);
        written.assign(std::istreambuf_iterator<char>(file), {});
        EXPECT_GT(written.size(), 2000u);
        EXPECT_FALSE(holds_marker(written));
    }
    std::filesystem::remove(path);
    EXPECT_FALSE(seen_in_debug_output);
    std::printf("%d calls\n", calls);
}

}  // namespace
