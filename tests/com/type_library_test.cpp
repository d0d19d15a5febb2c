#include <gmock/gmock.h>

#include <map>
#include <set>
#include <sstream>
#include <string>

#include "foundation/automation.h"
#include "foundation/com_ptr.h"
#include "foundation/convert.h"

namespace {

// What the type library must hold, by name: each class and interface with its identifier, each member with its dispatch
// identifier and, where that is another number, its slot, each enumeration with its constants.
const char expected[] =
#include "tests/com/type_library.txt"
    ;

std::string name_of(ITypeInfo* info, MEMBERID member = MEMBERID_NIL) {
    win::unique_bstr name;
    info->GetDocumentation(member, name.put(), nullptr, nullptr, nullptr);
    return text::narrow(win::bstr_view(name.get()));
}

std::string help_of(ITypeInfo* info, MEMBERID member = MEMBERID_NIL) {
    win::unique_bstr help;
    info->GetDocumentation(member, nullptr, help.put(), nullptr, nullptr);
    return text::narrow(win::bstr_view(help.get()));
}

std::string parameter_text(ITypeInfo* info, const TYPEDESC& type) {
    static const std::map<VARTYPE, std::string> names = {
        {VT_BSTR, "BSTR"},          {VT_BOOL, "VARIANT_BOOL"},  {VT_INT, "int"},
        {VT_UI1, "unsigned char"},  {VT_UI2, "unsigned short"}, {VT_UI4, "unsigned long"},
        {VT_UI8, "unsigned hyper"},
    };
    if (type.vt == VT_PTR)
        return parameter_text(info, *type.lptdesc) + "*";
    if (type.vt == VT_SAFEARRAY)
        return "SAFEARRAY(" + parameter_text(info, *type.lptdesc) + ")";
    if (type.vt != VT_USERDEFINED)
        return names.at(type.vt);
    win::com_ptr<ITypeInfo> named;
    info->GetRefTypeInfo(type.hreftype, named.put());
    return name_of(named.get());
}

// "9 put BasePath(BSTR newVal) slot 10", the slot only where it is not the dispatch identifier.
std::string member_text(ITypeInfo* info, const FUNCDESC& member) {
    BSTR names[9] = {};
    UINT count = 0;
    info->GetNames(member.memid, names, 9, &count);
    const auto name = [&](int i) { return names[i] ? text::narrow(names[i]) : std::string("newVal"); };
    const std::string kind = member.invkind == INVOKE_PROPERTYGET ? "get " : member.invkind == INVOKE_PROPERTYPUT ? "put " : "";
    std::ostringstream text;
    text << member.memid << ' ' << kind << name(0) << '(';
    for (int i = 0; i < member.cParams; ++i) {
        const ELEMDESC& parameter = member.lprgelemdescParam[i];
        const USHORT flags = parameter.paramdesc.wParamFlags;
        text << (i ? ", " : "")
             << (flags & PARAMFLAG_FRETVAL ? "retval "
                 : flags & PARAMFLAG_FOUT  ? "out "
                                           : "")
             << parameter_text(info, parameter.tdesc) << ' ' << name(i + 1);
    }
    text << ')';
    const int slot = member.oVft / static_cast<int>(sizeof(void*));
    if (slot != member.memid)
        text << " slot " << slot;
    for (BSTR& used : names)
        ::SysFreeString(used);
    return text.str();
}

// A type and what it holds; a dual interface is seen through its table of functions.
std::string type_text(ITypeInfo* type) {
    win::com_ptr<ITypeInfo> info(type);
    HREFTYPE table = 0;
    if (SUCCEEDED(type->GetRefTypeOfImplType(static_cast<UINT>(-1), &table)))
        type->GetRefTypeInfo(table, info.put());
    TYPEATTR* of = nullptr;
    info->GetTypeAttr(&of);
    std::string text = name_of(info.get()) + (of->typekind == TKIND_ENUM ? "" : ' ' + text::guid_text(of->guid)) + '\n';
    for (UINT i = 0; i < of->cVars; ++i) {
        VARDESC* constant = nullptr;
        info->GetVarDesc(i, &constant);
        text += "    " + name_of(info.get(), constant->memid) + " = " + std::to_string(V_I4(constant->lpvarValue)) + '\n';
        info->ReleaseVarDesc(constant);
    }
    for (UINT i = 0; i < of->cFuncs; ++i) {
        FUNCDESC* member = nullptr;
        info->GetFuncDesc(i, &member);
        text += "    " + member_text(info.get(), *member) + '\n';
        EXPECT_NE(help_of(info.get(), member->memid), "") << "a help string for the last member of " << text;
        info->ReleaseFuncDesc(member);
    }
    if (of->typekind == TKIND_INTERFACE) {
        EXPECT_EQ(of->wTypeFlags & (TYPEFLAG_FDUAL | TYPEFLAG_FOLEAUTOMATION), TYPEFLAG_FDUAL | TYPEFLAG_FOLEAUTOMATION);
        EXPECT_NE(help_of(info.get()), "") << "a help string for " << text;
    }
    info->ReleaseTypeAttr(of);
    return text;
}

// In the DLL, and as a file of its own.
class type_library_test : public ::testing::TestWithParam<const wchar_t*> {
protected:
    void SetUp() override { ASSERT_EQ(::LoadTypeLibEx(GetParam(), REGKIND_NONE, library.put()), S_OK); }
    win::com_ptr<ITypeLib> library;
};
INSTANTIATE_TEST_SUITE_P(Both, type_library_test, ::testing::Values(L"KorvaProxyClient.dll", L"KorvaProxyClient.tlb"));

TEST_P(type_library_test, HoldsEveryTypeMemberForMember) {
    std::set<std::string> sorted;
    for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
        win::com_ptr<ITypeInfo> info;
        library->GetTypeInfo(i, info.put());
        sorted.insert(type_text(info.get()));
    }
    std::string all;
    for (const std::string& one : sorted)
        all += one;
    EXPECT_EQ(all, expected);
}

TEST_P(type_library_test, HasItsNameAndVersionAndTheOddHelpStringOfTheLoggingInterface) {
    TLIBATTR* of = nullptr;
    library->GetLibAttr(&of);
    EXPECT_EQ(text::guid_text(of->guid), "049df1ea-a3cc-4d83-afa2-3c7fb4ddf37a");
    EXPECT_EQ(of->wMajorVerNum, 6);
    library->ReleaseTLibAttr(of);
    win::unique_bstr name, help;
    library->GetDocumentation(-1, name.put(), help.put(), nullptr, nullptr);
    EXPECT_STREQ(name.get(), L"KorvaProxyClientDllLib");
    EXPECT_STREQ(help.get(), L"KorvaProxyClient 6.0 Type Library");

    const IID logging = {0x0B5F5A5B, 0x0001, 0x4353, {0xA5, 0xFD, 0x2E, 0x0F, 0x3C, 0xCD, 0x25, 0xAE}};
    win::com_ptr<ITypeInfo> info;
    ASSERT_EQ(library->GetTypeInfoOfGuid(logging, info.put()), S_OK);
    EXPECT_EQ(help_of(info.get()), "IKorvaHvClusterManager Interface");
}

}  // namespace
