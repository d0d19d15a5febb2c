#include <gmock/gmock.h>

#include <set>
#include <sstream>
#include <string>

#include "foundation/automation.h"
#include "foundation/com_ptr.h"
#include "foundation/convert.h"

namespace {

// What the type library must hold: each interface with its identifier, each member with its dispatch identifier and, where
// that is another number, its slot.
const char interfaces[] =
#include "tests/com/interfaces.txt"
    ;

const char classes_and_constants[] = R"(EVSSProviderType ESystem 0
EVSSProviderType EHardware 1
EVSSProviderType ESoftware 2
EAddFileOptions AddFileOptNone 0
EAddFileOptions AddFileOptCluster 1
EAddFileOptions AddFileOptCtUser 256
EAddFileOptions AddFileOptStoreWithFile 512
ERemoveFileOptions RemoveFileOptNone 0
ERemoveFileOptions RemoveFileOptCluster 1
KorvaProxyClientLogging 2a09039a-33c1-4827-abf6-587a0141da22
KorvaDeployer 66ac1f6e-e1ba-48df-94e0-417ee180a956
KorvaHvIntegrator 9091a1d5-9ea9-4a2a-a28d-d3a6d9b54b80
KorvaVdiskMountManager 608a0da9-8913-4471-a4ab-cd9a1eaa6ff5
KorvaHvClusterManager d6735e2d-7466-4c56-90ea-29a16e745c9a
KorvaVssIsVolumesSupportedRequest 874bd6c5-2686-4da3-9543-f3fcdf6cab21
KorvaProxyInvoker 056b45e0-d227-4254-bc3f-9e1fc5f50f08
)";

std::string type_text(ITypeInfo* info, const TYPEDESC& type) {
    switch (type.vt) {
        case VT_PTR:
            return type_text(info, *type.lptdesc) + "*";
        case VT_SAFEARRAY:
            return "SAFEARRAY(" + type_text(info, *type.lptdesc) + ")";
        case VT_USERDEFINED: {
            win::com_ptr<ITypeInfo> named;
            win::unique_bstr name;
            info->GetRefTypeInfo(type.hreftype, named.put());
            named->GetDocumentation(MEMBERID_NIL, name.put(), nullptr, nullptr, nullptr);
            return text::narrow(win::bstr_view(name.get()));
        }
        case VT_BSTR:
            return "BSTR";
        case VT_BOOL:
            return "VARIANT_BOOL";
        case VT_INT:
            return "int";
        case VT_UI1:
            return "unsigned char";
        case VT_UI2:
            return "unsigned short";
        case VT_UI4:
            return "unsigned long";
        case VT_UI8:
            return "unsigned hyper";
        default:
            return "type " + std::to_string(type.vt);
    }
}

// "9 put BasePath(BSTR newVal) slot 10", the slot only where it is not the dispatch identifier.
std::string member_text(ITypeInfo* info, const FUNCDESC& member) {
    std::ostringstream text;
    text << member.memid << ' ';
    if (member.invkind == INVOKE_PROPERTYGET)
        text << "get ";
    if (member.invkind == INVOKE_PROPERTYPUT)
        text << "put ";
    BSTR names[9] = {};
    UINT count = 0;
    info->GetNames(member.memid, names, 9, &count);
    const auto name = [&](int i) { return names[i] ? text::narrow(names[i]) : std::string("newVal"); };
    text << name(0) << '(';
    for (int i = 0; i < member.cParams; ++i) {
        const USHORT flags = member.lprgelemdescParam[i].paramdesc.wParamFlags;
        text << (i ? ", " : "")
             << (flags & PARAMFLAG_FRETVAL ? "retval "
                 : flags & PARAMFLAG_FOUT  ? "out "
                                           : "")
             << type_text(info, member.lprgelemdescParam[i].tdesc) << ' ' << name(i + 1);
    }
    text << ')';
    const int slot = member.oVft / static_cast<int>(sizeof(void*));
    if (slot != member.memid)
        text << " slot " << slot;
    for (BSTR& used : names)
        ::SysFreeString(used);
    return text.str();
}

// One dual interface, seen through its table of functions: name and identifier, help string, members in order.
std::string interface_text(ITypeLib* library, UINT index) {
    win::com_ptr<ITypeInfo> dispatch, info;
    library->GetTypeInfo(index, dispatch.put());
    HREFTYPE reference = 0;
    dispatch->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference);
    dispatch->GetRefTypeInfo(reference, info.put());
    std::ostringstream text;
    TYPEATTR* of = nullptr;
    info->GetTypeAttr(&of);
    win::unique_bstr name, help;
    info->GetDocumentation(MEMBERID_NIL, name.put(), help.put(), nullptr, nullptr);
    text << text::narrow(win::bstr_view(name.get())) << ' ' << text::guid_text(of->guid) << '\n';
    EXPECT_EQ(of->wTypeFlags & (TYPEFLAG_FDUAL | TYPEFLAG_FOLEAUTOMATION), TYPEFLAG_FDUAL | TYPEFLAG_FOLEAUTOMATION);
    EXPECT_GT(help.get() ? ::SysStringLen(help.get()) : 0, 0u) << "a help string for " << text.str();
    for (UINT i = 0; i < of->cFuncs; ++i) {
        FUNCDESC* member = nullptr;
        info->GetFuncDesc(i, &member);
        text << "    " << member_text(info.get(), *member) << '\n';
        win::unique_bstr member_help;
        info->GetDocumentation(member->memid, nullptr, member_help.put(), nullptr, nullptr);
        EXPECT_TRUE(member_help) << "a help string for member " << member->memid << " of " << text.str();
        info->ReleaseFuncDesc(member);
    }
    info->ReleaseTypeAttr(of);
    return text.str();
}

class type_library_test : public ::testing::TestWithParam<const wchar_t*> {
protected:
    void SetUp() override { ASSERT_EQ(::LoadTypeLibEx(GetParam(), REGKIND_NONE, library.put()), S_OK); }
    win::com_ptr<ITypeLib> library;
};

TEST_P(type_library_test, HoldsEveryInterfaceMemberForMember) {
    std::set<std::string> sorted;
    for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
        TYPEKIND kind = TKIND_ENUM;
        library->GetTypeInfoType(i, &kind);
        if (kind == TKIND_DISPATCH)
            sorted.insert(interface_text(library.get(), i));
    }
    std::string all;
    for (const std::string& one : sorted)
        all += one;
    EXPECT_EQ(all, interfaces);
}

TEST_P(type_library_test, HoldsClassesAndConstants) {
    TLIBATTR* of = nullptr;
    library->GetLibAttr(&of);
    EXPECT_EQ(text::guid_text(of->guid), "049df1ea-a3cc-4d83-afa2-3c7fb4ddf37a");
    EXPECT_EQ(of->wMajorVerNum, 6);
    library->ReleaseTLibAttr(of);
    win::unique_bstr name, help;
    library->GetDocumentation(-1, name.put(), help.put(), nullptr, nullptr);
    EXPECT_STREQ(name.get(), L"KorvaProxyClientDllLib");
    EXPECT_STREQ(help.get(), L"KorvaProxyClient 6.0 Type Library");

    std::string all;
    for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
        win::com_ptr<ITypeInfo> info;
        library->GetTypeInfo(i, info.put());
        TYPEATTR* attributes = nullptr;
        info->GetTypeAttr(&attributes);
        info->GetDocumentation(MEMBERID_NIL, name.put(), nullptr, nullptr, nullptr);
        if (attributes->typekind == TKIND_COCLASS)
            all += text::narrow(name.get()) + ' ' + text::guid_text(attributes->guid) + '\n';
        for (UINT v = 0; attributes->typekind == TKIND_ENUM && v < attributes->cVars; ++v) {
            VARDESC* constant = nullptr;
            info->GetVarDesc(v, &constant);
            win::unique_bstr constant_name;
            info->GetDocumentation(constant->memid, constant_name.put(), nullptr, nullptr, nullptr);
            all += text::narrow(name.get()) + ' ' + text::narrow(constant_name.get()) + ' ' +
                   std::to_string(V_I4(constant->lpvarValue)) + '\n';
            info->ReleaseVarDesc(constant);
        }
        info->ReleaseTypeAttr(attributes);
    }
    EXPECT_EQ(all, classes_and_constants);
}

TEST_P(type_library_test, KeepsTheHelpStringOfTheLoggingInterface) {
    const IID iid = {0x0B5F5A5B, 0x0001, 0x4353, {0xA5, 0xFD, 0x2E, 0x0F, 0x3C, 0xCD, 0x25, 0xAE}};
    win::com_ptr<ITypeInfo> info;
    win::unique_bstr help;
    ASSERT_EQ(library->GetTypeInfoOfGuid(iid, info.put()), S_OK);
    info->GetDocumentation(MEMBERID_NIL, nullptr, help.put(), nullptr, nullptr);
    EXPECT_STREQ(help.get(), L"IKorvaHvClusterManager Interface");
}

// In the DLL, and as a file of its own.
INSTANTIATE_TEST_SUITE_P(Both, type_library_test, ::testing::Values(L"KorvaProxyClient.dll", L"KorvaProxyClient.tlb"));

}  // namespace
