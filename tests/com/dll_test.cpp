#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "KorvaProxyClient.h"
#include "tests/com/com_test.h"
#include "tests/com/loaded_dll.h"
#include "tests/logging/registry_setting.h"

namespace {

class dll_test : public com_test {
protected:
    const loaded_dll dll;
};

TEST_F(dll_test, ExportsTheFourFunctionsOfAServerAlone) {
    const auto* const base = reinterpret_cast<const char*>(dll.module);
    const auto& headers =
        *reinterpret_cast<const IMAGE_NT_HEADERS64*>(base + reinterpret_cast<const IMAGE_DOS_HEADER*>(base)->e_lfanew);
    const auto& exports = *reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(
        base + headers.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT].VirtualAddress);
    const auto* const names = reinterpret_cast<const DWORD*>(base + exports.AddressOfNames);
    std::vector<std::string> found;
    for (DWORD i = 0; i < exports.NumberOfNames; ++i)
        found.emplace_back(base + names[i]);
    EXPECT_THAT(found,
                ::testing::ElementsAre("DllCanUnloadNow", "DllGetClassObject", "DllRegisterServer", "DllUnregisterServer"));
    EXPECT_EQ(exports.NumberOfFunctions, 4u);
}

TEST(Dll, OpensTheDefaultLogWithItsHeaderAsItIsLoaded) {
    const std::filesystem::path folder = std::filesystem::temp_directory_path() / L"korva_dll_test";
    std::filesystem::create_directories(folder);
    {
        const registry_setting_t setting(L"SOFTWARE\\Korva\\Quorvane", {{L"LogDirectory", folder.wstring()}});
        const loaded_dll dll;
    }
    std::ifstream file(folder / L"Auxiliary.KorvaProxyClient.log");
    const std::string log{std::istreambuf_iterator<char>(file), {}};
    EXPECT_THAT(log, ::testing::HasSubstr(std::string(77, '=')));
    EXPECT_THAT(log, ::testing::HasSubstr("Path to the executable module:"));
    EXPECT_EQ(std::ranges::count(log, '}'), 1);
    file.close();
    EXPECT_EQ(std::filesystem::remove_all(folder), 2u) << "the log is closed with the library";
}

TEST_F(dll_test, CarriesTheScriptsOfClassesThatAreNoMore) {
    const struct {
        WORD id;
        const char *clsid, *description;
    } rows[] = {{103, "{75885B2A-6A05-4980-B510-8ACC01469501}", "InstallOptions Class"},
                {104, "{76CF400D-605B-48DE-A8AC-AF1043B8FD83}", "KorvaHvClusterManager Class"},
                {105, "{DCD22C8E-4837-48F4-83AA-7CB4A6E0474C}", "KorvaVssInfoManager Class"}};
    for (const auto& row : rows) {
        const HRSRC found = ::FindResourceW(dll.module, MAKEINTRESOURCEW(row.id), L"REGISTRY");
        ASSERT_NE(found, nullptr);
        const std::string script(static_cast<const char*>(::LoadResource(dll.module, found)),
                                 ::SizeofResource(dll.module, found));
        EXPECT_THAT(script, ::testing::HasSubstr(std::string(row.clsid) + " = s '" + row.description + "'"));
    }
}

TEST_F(dll_test, HandsOutOneFactoryForEachClass) {
    const CLSID clsid = __uuidof(KorvaProxyInvoker);
    win::com_ptr<IClassFactory> factory, again;
    ASSERT_EQ(dll.get_class_object(clsid, IID_IClassFactory, factory.put()), S_OK);
    ASSERT_EQ(dll.get_class_object(clsid, IID_IUnknown, again.put()), S_OK);
    EXPECT_EQ(factory.get(), again.get());
    EXPECT_EQ(dll.can_unload_now(), S_FALSE);

    EXPECT_EQ(dll.get_class_object(clsid, IID_IDispatch, again.put()), E_NOINTERFACE);
    IUnknown* none = factory.get();
    EXPECT_EQ(dll.get_class_object(IID_IUnknown, IID_IClassFactory, &none), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(dll.get_class_object<IUnknown>(clsid, IID_IClassFactory, nullptr), E_POINTER);
    EXPECT_EQ(factory->LockServer(TRUE), S_OK);
    IClassFactory* const locked = factory.get();
    factory.reset();
    EXPECT_EQ(dll.can_unload_now(), S_FALSE);
    EXPECT_EQ(locked->LockServer(FALSE), S_OK);
}

TEST_F(dll_test, RefusesWhatAnAggregateMayNotAskFor) {
    win::com_ptr<IClassFactory> factory;
    ASSERT_EQ(dll.get_class_object(__uuidof(KorvaProxyInvoker), IID_IClassFactory, factory.put()), S_OK);
    void* object = factory.get();
    EXPECT_EQ(factory->CreateInstance(factory.get(), __uuidof(IProxyRpcInvoker), &object), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IClassFactory, &object), E_NOINTERFACE);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, nullptr), E_POINTER);

    win::com_ptr<IUnknown> part;
    EXPECT_EQ(factory->CreateInstance(factory.get(), IID_IUnknown, reinterpret_cast<void**>(part.put())), S_OK);
}

}  // namespace
