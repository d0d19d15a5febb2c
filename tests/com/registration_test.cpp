#include <gmock/gmock.h>

#include <algorithm>
#include <cctype>
#include <iterator>
#include <set>
#include <sstream>
#include <vector>

#include "KorvaProxyClient.h"
#include "foundation/format.h"
#include "foundation/handles.h"
#include "tests/com/com_test.h"
#include "tests/com/loaded_dll.h"

namespace {

using ::testing::IsEmpty;

using lines_t = std::set<std::string>;

// The creatable classes as consoles know them, spelled out once more.
const struct {
    const char *clsid, *prog_id, *version_independent_prog_id, *description;
} creatable_classes[] = {
    {"{2A09039A-33C1-4827-ABF6-587A0141DA22}", "KorvaProxyClientDll.KorvaProxyClientLogging.1",
     "KorvaProxyClientDll.KorvaProxyClientLogging", "KorvaProxyClientLogging Class"},
    {"{66AC1F6E-E1BA-48DF-94E0-417EE180A956}", "KorvaProxyClientDll.KorvaDeployer.1", "KorvaProxyClientDll.KorvaDeployer",
     "KorvaDeployer Class"},
    {"{9091A1D5-9EA9-4A2A-A28D-D3A6D9B54B80}", "KorvaProxyClientDll.CoKorvaHvIntegrat.1",
     "KorvaProxyClientDll.KorvaHvIntegrator", "KorvaHvIntegrator Class"},
    {"{608A0DA9-8913-4471-A4AB-CD9A1EAA6FF5}", "KorvaProxyClientDll.KorvaVdiskMountManag.1",
     "KorvaProxyClientDll.KorvaVdiskMountManager", "KorvaVdiskMountManager Class"},
    {"{D6735E2D-7466-4C56-90EA-29A16E745C9A}", "KorvaProxyClientDll.KorvaHvClusterManage.1",
     "KorvaProxyClientDll.KorvaHvClusterManager", "KorvaHvClusterManager Class"},
    {"{874BD6C5-2686-4DA3-9543-F3FCDF6CAB21}", "KorvaProxyClientDll.KorvaVssIsVolumesSup.1",
     "KorvaProxyClientDll.KorvaVssIsVolumesSuppo", "KorvaVssIsVolumesSupportedRequest Class"},
    {"{056B45E0-D227-4254-BC3F-9E1FC5F50F08}", "KorvaProxyClientDll.KorvaProxyInvoker.1",
     "KorvaProxyClientDll.KorvaProxyInvoker", "KorvaProxyInvoker Class"},
};

// Its lines "IName identifier" are the interfaces.
constexpr char type_library[] =
#include "tests/com/type_library.txt"
    ;

// What stands in the registry, but for the interfaces: of the module %1 in the folder %2, ...
constexpr char module_lines[] = R"(AppID\{D88799BF-EE46-44CB-9204-C00BF04D70D0} []=KorvaProxyClientDll
AppID\KorvaProxyClientDll.DLL [AppID]={D88799BF-EE46-44CB-9204-C00BF04D70D0}
TypeLib\{049DF1EA-A3CC-4D83-AFA2-3C7FB4DDF37A}\6.0 []=KorvaProxyClient 6.0 Type Library
TypeLib\{049DF1EA-A3CC-4D83-AFA2-3C7FB4DDF37A}\6.0\0\win64 []=%1
TypeLib\{049DF1EA-A3CC-4D83-AFA2-3C7FB4DDF37A}\6.0\HELPDIR []=%2
)";
// ... and of its class %2 with the names %3 and %4 and the description %5.
constexpr char class_lines[] = R"(CLSID\%2 []=%5
CLSID\%2 [AppID]={D88799BF-EE46-44CB-9204-C00BF04D70D0}
CLSID\%2\InprocServer32 []=%1
CLSID\%2\InprocServer32 [ThreadingModel]=Neutral
CLSID\%2\ProgID []=%3
CLSID\%2\Programmable
CLSID\%2\TypeLib []={049DF1EA-A3CC-4D83-AFA2-3C7FB4DDF37A}
CLSID\%2\VersionIndependentProgID []=%4
%3 []=%5
%3\CLSID []=%2
%4 []=%5
%4\CLSID []=%2
%4\CurVer []=%3
)";

lines_t expected_lines() {
    wchar_t path[MAX_PATH] = {};
    ::GetModuleFileNameW(::GetModuleHandleW(L"KorvaProxyClient.dll"), path, MAX_PATH);
    const std::string module = text::narrow(path);
    std::string all = text::format(module_lines, module, module.substr(0, module.rfind('\\') + 1));
    for (const auto& row : creatable_classes)
        all += text::format(class_lines, module, row.clsid, row.prog_id, row.version_independent_prog_id, row.description);
    lines_t lines;
    std::istringstream text(all);
    for (std::string line; std::getline(text, line);)
        lines.insert(line);
    return lines;
}

win::unique_registry_key open(HKEY parent, const std::wstring& name) {
    win::unique_registry_key key;
    ::RegOpenKeyExW(parent, name.c_str(), 0, KEY_READ, key.put());
    return key;
}

std::vector<std::wstring> keys_of(HKEY key) {
    std::vector<std::wstring> names;
    wchar_t name[256];
    for (DWORD i = 0, size = 256; ::RegEnumKeyExW(key, i, name, &size, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
         ++i, size = 256)
        names.emplace_back(name, size);
    return names;
}

// "KEY [NAME]=TEXT" for each value, all the way down, and "KEY" for each key that holds nothing.
void dump(HKEY key, const std::wstring& path, lines_t& lines) {
    const std::size_t lines_before = lines.size();
    wchar_t name[256], data[1024];
    for (DWORD i = 0;; ++i) {
        DWORD name_size = 256, size = sizeof data - sizeof(wchar_t), type = 0;
        if (::RegEnumValueW(key, i, name, &name_size, nullptr, &type, reinterpret_cast<BYTE*>(data), &size) != ERROR_SUCCESS)
            break;
        EXPECT_EQ(type, static_cast<DWORD>(REG_SZ)) << text::narrow(path);
        data[size / sizeof(wchar_t)] = L'\0';
        lines.insert(text::narrow(path + L" [" + std::wstring(name, name_size) + L"]=" + data));
    }
    for (const std::wstring& child : keys_of(key))
        dump(open(key, child).get(), path + L'\\' + child, lines);
    if (lines.size() == lines_before)
        lines.insert(text::narrow(path));
}

// The names that a server may add to: those at the top, and those in the four common keys.
lines_t names_of_classes() {
    lines_t names;
    for (const std::wstring& name : keys_of(HKEY_CLASSES_ROOT))
        names.insert(text::narrow(name));
    for (const wchar_t* common : {L"AppID", L"CLSID", L"Interface", L"TypeLib"})
        for (const std::wstring& name : keys_of(open(HKEY_CLASSES_ROOT, common).get()))
            names.insert(text::narrow(std::wstring(common) + L'\\' + name));
    return names;
}

std::vector<std::string> minus(const lines_t& left, const lines_t& right) {
    std::vector<std::string> rest;
    std::ranges::set_difference(left, right, std::back_inserter(rest));
    return rest;
}

class registration_test : public com_test {
protected:
    registration_test() { EXPECT_EQ(dll.unregister_server(), S_OK); }
    ~registration_test() override { EXPECT_EQ(dll.unregister_server(), S_OK); }

    const loaded_dll dll;
};

TEST_F(registration_test, WritesExactlyTheseKeysAndTakesThemAllBack) {
    const lines_t before = names_of_classes();
    for (int round = 0; round < 2; ++round) {  // repeating it changes nothing
        ASSERT_EQ(dll.register_server(), S_OK);
        lines_t found, interface_keys;
        for (const std::string& name : minus(names_of_classes(), before)) {
            const std::wstring wide = text::widen(name);
            dump(open(HKEY_CLASSES_ROOT, wide).get(), wide, name.starts_with("Interface\\") ? interface_keys : found);
        }
        const lines_t expected = expected_lines();
        std::erase_if(found, [](const std::string& line) { return line.find("\\FLAGS []=") != line.npos; });  // the platform's
        EXPECT_THAT(minus(found, expected), IsEmpty()) << "too much";
        EXPECT_THAT(minus(expected, found), IsEmpty()) << "missing";

        lines_t expected_interfaces;
        std::istringstream types(type_library);
        for (std::string name, iid; types >> name;) {
            if (name[0] != 'I' || !(types >> iid) || iid.size() != 36)
                continue;
            std::ranges::transform(iid, iid.begin(), ::toupper);
            const std::string key = "Interface\\{" + iid + "}";
            expected_interfaces.insert({key + " []=" + name, key + "\\TypeLib []={049DF1EA-A3CC-4D83-AFA2-3C7FB4DDF37A}",
                                        key + "\\ProxyStubClsid32 []={00020424-0000-0000-C000-000000000046}"});
        }
        EXPECT_THAT(minus(expected_interfaces, interface_keys), IsEmpty());
        EXPECT_EQ(expected_interfaces.size(), 3u * 24);
    }
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(dll.unregister_server(), S_OK);
        EXPECT_THAT(minus(names_of_classes(), before), IsEmpty());
    }
}

TEST_F(registration_test, LeavesWhatOthersPutBesideIt) {
    const std::wstring foreign = L"KorvaProxyClientDll.KorvaProxyInvoker\\Foreign";
    ASSERT_EQ(dll.register_server(), S_OK);
    ASSERT_EQ(::RegCreateKeyW(HKEY_CLASSES_ROOT, foreign.c_str(), win::unique_registry_key().put()), ERROR_SUCCESS);
    const std::wstring stale = L"CLSID\\{056B45E0-D227-4254-BC3F-9E1FC5F50F08}\\Stale";
    for (HRESULT (loaded_dll::*const step)() const : {&loaded_dll::register_server, &loaded_dll::unregister_server}) {
        ASSERT_EQ(::RegCreateKeyW(HKEY_CLASSES_ROOT, stale.c_str(), win::unique_registry_key().put()), ERROR_SUCCESS);
        EXPECT_EQ((dll.*step)(), S_OK);
        EXPECT_FALSE(open(HKEY_CLASSES_ROOT, stale)) << "a class's own key is made anew and goes whole";
    }
    EXPECT_TRUE(open(HKEY_CLASSES_ROOT, foreign));
    EXPECT_FALSE(open(HKEY_CLASSES_ROOT, L"KorvaProxyClientDll.KorvaProxyInvoker\\CLSID"));
    EXPECT_EQ(::RegDeleteKeyW(HKEY_CLASSES_ROOT, foreign.c_str()), ERROR_SUCCESS);
}

TEST_F(registration_test, FailsWithTheRegistrysOwnCode) {
    win::unique_registry_key gone;
    ::RegCreateKeyW(HKEY_CURRENT_USER, L"KorvaGone", gone.put());
    ::RegDeleteKeyW(HKEY_CURRENT_USER, L"KorvaGone");
    ASSERT_EQ(::RegOverridePredefKey(HKEY_CLASSES_ROOT, gone.get()), ERROR_SUCCESS);
    const HRESULT result = dll.register_server();
    ASSERT_EQ(::RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr), ERROR_SUCCESS);
    EXPECT_EQ(result, HRESULT_FROM_WIN32(ERROR_KEY_DELETED));
}

// Wine knows no neutral apartment: for a client in the multi-threaded one it puts the object in a thread of its own and calls
// it through the type library's marshaller.
TEST_F(registration_test, ServesClientsInAnotherApartment) {
    ASSERT_EQ(dll.register_server(), S_OK);
    win::com_ptr<IProxyRpcInvoker> invoker;
    ASSERT_EQ(::CoCreateInstance(__uuidof(KorvaProxyInvoker), nullptr, CLSCTX_INPROC_SERVER, __uuidof(IProxyRpcInvoker),
                                 reinterpret_cast<void**>(invoker.put())),
              S_OK);
    int seconds = 0;
    EXPECT_EQ(invoker->GetRpcTimeout(&seconds), S_OK);
    EXPECT_EQ(seconds, 3600);
    EXPECT_EQ(invoker->SetRpcTimeout(77), S_OK);
    EXPECT_EQ(invoker->GetRpcTimeout(&seconds), S_OK);
    EXPECT_EQ(seconds, 77);
    invoker.reset();
    // Wine's thread keeps the reference to the factory that it took for itself (both stubs are gone): given back in its place.
    win::com_ptr<IClassFactory> factory;
    ASSERT_EQ(dll.get_class_object(__uuidof(KorvaProxyInvoker), IID_IClassFactory, factory.put()), S_OK);
    factory->Release();
}

}  // namespace
