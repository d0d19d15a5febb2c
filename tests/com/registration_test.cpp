#include <gmock/gmock.h>

#include <algorithm>
#include <iterator>
#include <set>
#include <thread>
#include <vector>

#include "KorvaProxyClient.h"
#include "foundation/handles.h"
#include "tests/com/loaded_dll.h"

namespace {

using ::testing::IsEmpty;

using lines_t = std::set<std::string>;

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

// "KEY" for each key and "KEY [NAME]=TEXT" for each value, all the way down.
void dump(HKEY key, const std::wstring& path, lines_t& lines) {
    lines.insert(text::narrow(path));
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

constexpr char app_id[] = "{D88799BF-EE46-44CB-9204-C00BF04D70D0}";
constexpr char typelib[] = "{049DF1EA-A3CC-4D83-AFA2-3C7FB4DDF37A}";

// What stands in the registry, but for the interfaces.
lines_t expected_lines(const std::string& module) {
    const std::string app = std::string("AppID\\") + app_id, library = std::string("TypeLib\\") + typelib;
    lines_t lines = {app,
                     app + " []=KorvaProxyClientDll",
                     "AppID\\KorvaProxyClientDll.DLL",
                     std::string("AppID\\KorvaProxyClientDll.DLL [AppID]=") + app_id,
                     library,
                     library + "\\6.0",
                     library + "\\6.0 []=KorvaProxyClient 6.0 Type Library",
                     library + "\\6.0\\0",
                     library + "\\6.0\\0\\win64",
                     library + "\\6.0\\0\\win64 []=" + module,
                     library + "\\6.0\\FLAGS",
                     library + "\\6.0\\HELPDIR",
                     library + "\\6.0\\HELPDIR []=" + module.substr(0, module.rfind('\\'))};
    for (const creatable_class& row : creatable_classes) {
        const std::string clsid = text::narrow(row.clsid), key = "CLSID\\" + clsid, description = text::narrow(row.description);
        const std::string versioned = text::narrow(row.prog_id), plain = text::narrow(row.version_independent_prog_id);
        lines.insert({key,
                      key + " []=" + description,
                      key + " [AppID]=" + app_id,
                      key + "\\InprocServer32",
                      key + "\\InprocServer32 []=" + module,
                      key + "\\InprocServer32 [ThreadingModel]=Neutral",
                      key + "\\ProgID",
                      key + "\\ProgID []=" + versioned,
                      key + "\\Programmable",
                      key + "\\TypeLib",
                      key + "\\TypeLib []=" + typelib,
                      key + "\\VersionIndependentProgID",
                      key + "\\VersionIndependentProgID []=" + plain,
                      versioned,
                      versioned + " []=" + description,
                      versioned + "\\CLSID",
                      versioned + "\\CLSID []=" + clsid,
                      plain,
                      plain + " []=" + description,
                      plain + "\\CLSID",
                      plain + "\\CLSID []=" + clsid,
                      plain + "\\CurVer",
                      plain + "\\CurVer []=" + versioned});
    }
    return lines;
}

class registration_test : public dll_test {
protected:
    registration_test() { EXPECT_EQ(unregister_server(), S_OK); }
    ~registration_test() override { EXPECT_EQ(unregister_server(), S_OK); }
};

TEST_F(registration_test, WritesExactlyTheseKeysAndTakesThemAllBack) {
    const lines_t before = names_of_classes();
    for (int round = 0; round < 2; ++round) {  // repeating it changes nothing
        ASSERT_EQ(register_server(), S_OK);
        lines_t found, interface_keys;
        for (const std::string& name : minus(names_of_classes(), before)) {
            const std::wstring wide = text::widen(name);
            dump(open(HKEY_CLASSES_ROOT, wide).get(), wide, name.starts_with("Interface\\") ? interface_keys : found);
        }
        const lines_t expected = expected_lines(text::narrow(path));
        std::erase_if(found, [](const std::string& line) { return line.find("\\FLAGS []=") != line.npos; });  // the platform's
        EXPECT_THAT(minus(found, expected), IsEmpty()) << "too much";
        EXPECT_THAT(minus(expected, found), IsEmpty()) << "missing";

        const std::string invoker = "Interface\\{9A71BD96-1BA4-4050-9ED1-E559204CD654}";
        EXPECT_EQ(interface_keys.count(invoker + " []=IProxyRpcInvoker"), 1u);
        EXPECT_EQ(interface_keys.count(invoker + "\\TypeLib []=" + typelib), 1u);
        EXPECT_EQ(interface_keys.count(invoker + "\\ProxyStubClsid32 []={00020424-0000-0000-C000-000000000046}"), 1u);
    }
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(unregister_server(), S_OK);
        EXPECT_THAT(minus(names_of_classes(), before), IsEmpty());
    }
}

TEST_F(registration_test, LeavesWhatOthersPutBesideIt) {
    const std::wstring foreign = L"KorvaProxyClientDll.KorvaProxyInvoker\\Foreign";
    ASSERT_EQ(register_server(), S_OK);
    win::unique_registry_key key;
    ASSERT_EQ(::RegCreateKeyW(HKEY_CLASSES_ROOT, foreign.c_str(), key.put()), ERROR_SUCCESS);
    key.reset();
    EXPECT_EQ(unregister_server(), S_OK);
    EXPECT_TRUE(open(HKEY_CLASSES_ROOT, foreign));
    EXPECT_FALSE(open(HKEY_CLASSES_ROOT, L"KorvaProxyClientDll.KorvaProxyInvoker\\CLSID"));
    EXPECT_EQ(::RegDeleteKeyW(HKEY_CLASSES_ROOT, foreign.c_str()), ERROR_SUCCESS);
}

TEST_F(registration_test, FailsWithTheRegistrysOwnCode) {
    win::unique_registry_key gone;
    ::RegCreateKeyW(HKEY_CURRENT_USER, L"KorvaGone", gone.put());
    ::RegDeleteKeyW(HKEY_CURRENT_USER, L"KorvaGone");
    ASSERT_EQ(::RegOverridePredefKey(HKEY_CLASSES_ROOT, gone.get()), ERROR_SUCCESS);
    const HRESULT result = register_server();
    ASSERT_EQ(::RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr), ERROR_SUCCESS);
    EXPECT_EQ(result, HRESULT_FROM_WIN32(ERROR_KEY_DELETED));
}

// A client thread in a single-threaded apartment gets the object itself. Wine knows no neutral apartment: for a client in the
// multi-threaded one it puts the object in a thread of its own and calls it through the type library's marshaller.
TEST_F(registration_test, LetsClientsCreateEveryClassByItsNames) {
    ASSERT_EQ(register_server(), S_OK);
    std::thread client([&] {
        ASSERT_EQ(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
        for (const creatable_class& row : creatable_classes)
            for (const wchar_t* name : {row.prog_id, row.version_independent_prog_id}) {
                SCOPED_TRACE(text::narrow(name));
                CLSID clsid{};
                ASSERT_EQ(::CLSIDFromProgID(name, &clsid), S_OK);
                EXPECT_EQ(clsid, guid_of(row.clsid));
                win::com_ptr<IUnknown> object;
                ASSERT_EQ(::CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, row.default_interface,
                                             reinterpret_cast<void**>(object.put())),
                          S_OK);
                EXPECT_EQ(can_unload_now(), S_FALSE);
                object.reset();
                EXPECT_EQ(can_unload_now(), S_OK);
            }
        ::CoUninitialize();
    });
    client.join();
}

TEST_F(registration_test, ServesClientsInAnotherApartment) {
    ASSERT_EQ(register_server(), S_OK);
    win::com_ptr<IProxyRpcInvoker> invoker;
    ASSERT_EQ(::CoCreateInstance(__uuidof(KorvaProxyInvoker), nullptr, CLSCTX_INPROC_SERVER, __uuidof(IProxyRpcInvoker),
                                 reinterpret_cast<void**>(invoker.put())),
              S_OK);
    int seconds = 0;
    EXPECT_EQ(invoker->SetRpcTimeout(77), S_OK);
    EXPECT_EQ(invoker->GetRpcTimeout(&seconds), S_OK);
    EXPECT_EQ(seconds, 77);
    invoker.reset();
    // Wine's thread keeps the reference to the factory that it took for itself (both stubs are gone): given back in its place.
    win::com_ptr<IClassFactory> factory;
    ASSERT_EQ(get_class_object(__uuidof(KorvaProxyInvoker), IID_IClassFactory, factory.put()), S_OK);
    factory->Release();
}

}  // namespace
