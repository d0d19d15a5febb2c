#include <gmock/gmock.h>

#include <algorithm>

#include "KorvaProxyClient.h"
#include "tests/com/com_test.h"
#include "tests/com/loaded_dll.h"
#include "tests/files.h"
#include "tests/logging/registry_setting.h"

namespace {

using ::testing::HasSubstr;

class dll_test : public com_test {
protected:
    const loaded_dll dll;
};

TEST_F(dll_test, ExportsTheFourFunctionsOfAServerAlone) {
    for (const char* name : {"DllCanUnloadNow", "DllGetClassObject", "DllRegisterServer", "DllUnregisterServer"})
        EXPECT_NE(::GetProcAddress(dll.module, name), nullptr) << name;
    constexpr WORD ordinal_behind = 5;
    EXPECT_EQ(::GetProcAddress(dll.module, MAKEINTRESOURCEA(ordinal_behind)), nullptr);
}

TEST(Dll, OpensTheDefaultLogWithItsHeaderAsItIsLoaded) {
    const scratch_t scratch;  // where nothing may be left open
    {
        const registry_setting_t setting(L"SOFTWARE\\Korva\\Quorvane", {{L"LogDirectory", text::widen(scratch.folder())}});
        const loaded_dll dll;
    }
    const std::string log = read_all(scratch / "Auxiliary.KorvaProxyClient.log");
    EXPECT_THAT(log, HasSubstr(std::string(77, '=')));
    EXPECT_THAT(log, HasSubstr("Path to the executable module:"));
    EXPECT_EQ(std::ranges::count(log, '}'), 1);
}

TEST_F(dll_test, CarriesTheScriptsOfClassesThatAreNoMore) {
    const std::pair<int, const char*> scripts[] = {
        {103, "{75885B2A-6A05-4980-B510-8ACC01469501} = s 'InstallOptions Class'"},
        {104, "{76CF400D-605B-48DE-A8AC-AF1043B8FD83} = s 'KorvaHvClusterManager Class'"},
        {105, "{DCD22C8E-4837-48F4-83AA-7CB4A6E0474C} = s 'KorvaVssInfoManager Class'"}};
    for (const auto& [id, line] : scripts) {
        const HRSRC found = ::FindResourceW(dll.module, MAKEINTRESOURCEW(id), L"REGISTRY");
        ASSERT_NE(found, nullptr);
        EXPECT_THAT(
            std::string(static_cast<const char*>(::LoadResource(dll.module, found)), ::SizeofResource(dll.module, found)),
            HasSubstr(line));
    }
}

TEST_F(dll_test, HandsOutOneFactoryForEachClass) {
    const CLSID clsid = __uuidof(KorvaProxyInvoker);
    win::com_ptr<IClassFactory> factory, again;
    ASSERT_EQ(dll.get_class_object(clsid, IID_IClassFactory, factory.put()), S_OK);
    ASSERT_EQ(dll.get_class_object(clsid, IID_IUnknown, again.put()), S_OK);
    EXPECT_EQ(factory.get(), again.get());
    EXPECT_EQ(dll.get_class_object(clsid, IID_IDispatch, again.put()), E_NOINTERFACE);
    IUnknown* none = factory.get();
    EXPECT_EQ(dll.get_class_object(IID_IUnknown, IID_IClassFactory, &none), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(dll.get_class_object<IUnknown>(clsid, IID_IClassFactory, nullptr), E_POINTER);

    void* object = factory.get();
    EXPECT_EQ(factory->CreateInstance(factory.get(), __uuidof(IProxyRpcInvoker), &object), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IClassFactory, &object), E_NOINTERFACE);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, nullptr), E_POINTER);
    win::com_ptr<IUnknown> part;
    EXPECT_EQ(factory->CreateInstance(factory.get(), IID_IUnknown, reinterpret_cast<void**>(part.put())), S_OK);
}

TEST_F(dll_test, IsKeptByAFactoryAndByALock) {
    win::com_ptr<IClassFactory> factory;
    ASSERT_EQ(dll.get_class_object(__uuidof(KorvaProxyInvoker), IID_IClassFactory, factory.put()), S_OK);
    EXPECT_EQ(dll.can_unload_now(), S_FALSE);
    EXPECT_EQ(factory->LockServer(TRUE), S_OK);
    IClassFactory* const locked = factory.get();
    factory.reset();
    EXPECT_EQ(dll.can_unload_now(), S_FALSE);
    EXPECT_EQ(locked->LockServer(FALSE), S_OK);
}

}  // namespace
