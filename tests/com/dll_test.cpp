#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "KorvaProxyClient.h"
#include "com/class_table.h"
#include "tests/com/loaded_dll.h"
#include "tests/logging/registry_setting.h"

const creatable_class creatable_classes[7] = {
    {L"{2A09039A-33C1-4827-ABF6-587A0141DA22}", L"KorvaProxyClientDll.KorvaProxyClientLogging.1",
     L"KorvaProxyClientDll.KorvaProxyClientLogging", L"KorvaProxyClientLogging Class", __uuidof(IKorvaProxyClientLogging)},
    {L"{66AC1F6E-E1BA-48DF-94E0-417EE180A956}", L"KorvaProxyClientDll.KorvaDeployer.1", L"KorvaProxyClientDll.KorvaDeployer",
     L"KorvaDeployer Class", __uuidof(IKorvaDeployer)},
    {L"{9091A1D5-9EA9-4A2A-A28D-D3A6D9B54B80}", L"KorvaProxyClientDll.CoKorvaHvIntegrat.1",
     L"KorvaProxyClientDll.KorvaHvIntegrator", L"KorvaHvIntegrator Class", __uuidof(IKorvaHvIntegrator)},
    {L"{608A0DA9-8913-4471-A4AB-CD9A1EAA6FF5}", L"KorvaProxyClientDll.KorvaVdiskMountManag.1",
     L"KorvaProxyClientDll.KorvaVdiskMountManager", L"KorvaVdiskMountManager Class", __uuidof(IKorvaVdiskMountManager)},
    {L"{D6735E2D-7466-4C56-90EA-29A16E745C9A}", L"KorvaProxyClientDll.KorvaHvClusterManage.1",
     L"KorvaProxyClientDll.KorvaHvClusterManager", L"KorvaHvClusterManager Class", __uuidof(IKorvaHvClusterManager)},
    {L"{874BD6C5-2686-4DA3-9543-F3FCDF6CAB21}", L"KorvaProxyClientDll.KorvaVssIsVolumesSup.1",
     L"KorvaProxyClientDll.KorvaVssIsVolumesSuppo", L"KorvaVssIsVolumesSupportedRequest Class",
     __uuidof(IKorvaVssIsVolumesSupportedRequest)},
    {L"{056B45E0-D227-4254-BC3F-9E1FC5F50F08}", L"KorvaProxyClientDll.KorvaProxyInvoker.1",
     L"KorvaProxyClientDll.KorvaProxyInvoker", L"KorvaProxyInvoker Class", __uuidof(IProxyRpcInvoker)},
};

namespace {

TEST_F(dll_test, ExportsTheFourFunctionsOfAServerAlone) {
    const auto* const base = reinterpret_cast<const char*>(module);
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
        const registry_setting_t setting(L"SOFTWARE\\Korva\\Quorvane", L"LogDirectory", folder.wstring());
        ::FreeLibrary(::LoadLibraryW(L"KorvaProxyClient.dll"));
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
        const HRSRC found = ::FindResourceW(module, MAKEINTRESOURCEW(row.id), L"REGISTRY");
        ASSERT_NE(found, nullptr);
        const std::string script(static_cast<const char*>(::LoadResource(module, found)), ::SizeofResource(module, found));
        EXPECT_THAT(script, ::testing::HasSubstr(std::string(row.clsid) + " = s '" + row.description + "'"));
    }
}

TEST_F(dll_test, HandsOutOneFactoryForEachClass) {
    const CLSID clsid = __uuidof(KorvaProxyInvoker);
    win::com_ptr<IClassFactory> factory, again;
    ASSERT_EQ(get_class_object(clsid, IID_IClassFactory, factory.put()), S_OK);
    ASSERT_EQ(get_class_object(clsid, IID_IUnknown, again.put()), S_OK);
    EXPECT_EQ(factory.get(), again.get());
    EXPECT_EQ(can_unload_now(), S_FALSE);

    IUnknown* none = factory.get();
    EXPECT_EQ(get_class_object(clsid, IID_IDispatch, &none), E_NOINTERFACE);
    EXPECT_EQ(none, nullptr);
    none = factory.get();
    EXPECT_EQ(get_class_object(IID_IUnknown, IID_IClassFactory, &none), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(get_class_object<IUnknown>(clsid, IID_IClassFactory, nullptr), E_POINTER);
    again.reset();
    factory.reset();
    EXPECT_EQ(can_unload_now(), S_OK);

    ASSERT_EQ(get_class_object(clsid, IID_IClassFactory, factory.put()), S_OK);
    EXPECT_EQ(factory->LockServer(TRUE), S_OK);
    IClassFactory* const locked = factory.get();
    factory.reset();
    EXPECT_EQ(can_unload_now(), S_FALSE);
    EXPECT_EQ(locked->LockServer(FALSE), S_OK);
}

TEST_F(dll_test, CreatesAnObjectOfEachClassWithoutAnyRegistration) {
    EXPECT_EQ(com::class_table().size(), std::size(creatable_classes));
    for (const creatable_class& row : creatable_classes) {
        SCOPED_TRACE(text::narrow(row.version_independent_prog_id));
        win::com_ptr<IClassFactory> factory;
        ASSERT_EQ(get_class_object(guid_of(row.clsid), IID_IClassFactory, factory.put()), S_OK);
        win::com_ptr<IUnknown> object;
        ASSERT_EQ(factory->CreateInstance(nullptr, row.default_interface, reinterpret_cast<void**>(object.put())), S_OK);
        win::com_ptr<IDispatch> dispatch;
        win::com_ptr<ITypeInfo> info;
        TYPEATTR* of = nullptr;
        ASSERT_EQ(object.query(dispatch), S_OK);
        ASSERT_EQ(dispatch->GetTypeInfo(0, 0, info.put()), S_OK);
        ASSERT_EQ(info->GetTypeAttr(&of), S_OK);
        EXPECT_EQ(of->guid, row.default_interface);
        info->ReleaseTypeAttr(of);
    }
}

TEST_F(dll_test, RefusesWhatAnAggregateMayNotAskFor) {
    win::com_ptr<IClassFactory> factory;
    ASSERT_EQ(get_class_object(__uuidof(KorvaProxyInvoker), IID_IClassFactory, factory.put()), S_OK);
    void* object = factory.get();
    EXPECT_EQ(factory->CreateInstance(factory.get(), __uuidof(IProxyRpcInvoker), &object), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IClassFactory, &object), E_NOINTERFACE);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, nullptr), E_POINTER);

    win::com_ptr<IUnknown> part;
    EXPECT_EQ(factory->CreateInstance(factory.get(), IID_IUnknown, reinterpret_cast<void**>(part.put())), S_OK);
    win::com_ptr<IDispatch> dispatch;
    EXPECT_EQ(part.query(dispatch), S_OK);
    win::com_ptr<IUnknown> whole;
    EXPECT_EQ(dispatch.query(whole), S_OK);
    EXPECT_EQ(whole.get(), factory.get()) << "the part answers with the identity of the whole";
}

}  // namespace
