#include <gmock/gmock.h>

#include <set>
#include <string>

#include "KorvaProxyClient.h"
#include "foundation/format.h"
#include "foundation/handles.h"
#include "foundation/module_file_name.h"
#include "tests/com/com_test.h"
#include "tests/com/loaded_dll.h"

namespace {

// What registration writes below HKEY_CLASSES_ROOT, of the module %1 in the folder %2. The lines of interfaces and of the type
// library are the platform's, Wine's here.
constexpr char registered[] =
#include "tests/com/registered.txt"
    ;

win::unique_registry_key open(HKEY parent, const wchar_t* name) {
    win::unique_registry_key key;
    ::RegOpenKeyExW(parent, name, 0, KEY_READ, key.put());
    return key;
}

// "KEY [NAME]=TEXT" for each value, all the way down, and "KEY" for each key that holds nothing.
void dump(HKEY key, const std::string& path, std::set<std::string>& lines) {
    const std::size_t lines_before = lines.size();
    wchar_t name[256], data[1024];
    for (DWORD i = 0, name_size = 256, size = sizeof data, type = 0;
         ::RegEnumValueW(key, i, name, &name_size, nullptr, &type, reinterpret_cast<BYTE*>(data), &size) == ERROR_SUCCESS;
         ++i, name_size = 256, size = sizeof data) {
        EXPECT_EQ(type, static_cast<DWORD>(REG_SZ)) << path;
        lines.insert(path + " [" + text::narrow(name) + "]=" + text::narrow(data));
    }
    for (DWORD i = 0, size = 256; ::RegEnumKeyExW(key, i, name, &size, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
         ++i, size = 256)
        dump(open(key, name).get(), path + (path.empty() ? "" : "\\") + text::narrow(name), lines);
    if (lines.size() == lines_before)
        lines.insert(path);
}

// The classes' root of this process is an empty key of its own.
class registration_test : public com_test {
protected:
    registration_test() {
        EXPECT_EQ(::RegCreateKeyW(HKEY_CURRENT_USER, L"KorvaClasses", root.put()), ERROR_SUCCESS);
        EXPECT_EQ(::RegOverridePredefKey(HKEY_CLASSES_ROOT, root.get()), ERROR_SUCCESS);
    }
    ~registration_test() override {
        ::RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr);
        ::RegDeleteTreeW(HKEY_CURRENT_USER, L"KorvaClasses");
    }

    void put(const std::wstring& key) {
        EXPECT_EQ(::RegCreateKeyW(root.get(), key.c_str(), win::unique_registry_key().put()), ERROR_SUCCESS);
    }
    std::string found() {
        std::set<std::string> lines;
        dump(root.get(), "", lines);
        std::string all;
        for (const std::string& line : lines)
            all += line + '\n';
        return all;
    }

    const loaded_dll dll;
    win::unique_registry_key root;
};

TEST_F(registration_test, WritesExactlyTheseKeysAndTakesThemAllBack) {
    const std::string path = text::narrow(win::module_file_name(dll.module, ""));
    for (int round = 0; round < 2; ++round) {  // repeating it changes nothing
        EXPECT_EQ(dll.register_server(), S_OK);
        EXPECT_EQ(found(), text::format(registered, path, path.substr(0, path.rfind('\\') + 1)));
        put(L"CLSID\\{056B45E0-D227-4254-BC3F-9E1FC5F50F08}\\Stale");  // a class's own key is made anew and goes whole
    }
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(dll.unregister_server(), S_OK);
        EXPECT_EQ(found(), "AppID\nCLSID\nInterface\nTypelib\n") << "they are everybody's";
    }
}

TEST_F(registration_test, LeavesWhatOthersPutBesideIt) {
    EXPECT_EQ(dll.register_server(), S_OK);
    put(L"KorvaProxyClientDll.KorvaProxyInvoker\\Foreign");
    EXPECT_EQ(dll.unregister_server(), S_OK);
    EXPECT_THAT(found(), testing::HasSubstr("\nKorvaProxyClientDll.KorvaProxyInvoker []=KorvaProxyInvoker Class\n"
                                            "KorvaProxyClientDll.KorvaProxyInvoker\\Foreign\n"));
}

TEST_F(registration_test, FailsWithTheRegistrysOwnCode) {
    ::RegDeleteTreeW(HKEY_CURRENT_USER, L"KorvaClasses");
    EXPECT_EQ(dll.register_server(), HRESULT_FROM_WIN32(ERROR_KEY_DELETED));
}

using registered_class = com_test;

// Wine knows no neutral apartment: for a client in the multi-threaded one it puts the object in a thread of its own and calls
// it through the type library's marshaller.
TEST_F(registered_class, ServesClientsInAnotherApartment) {
    const registered_dll dll;
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
