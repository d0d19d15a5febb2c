#include <gmock/gmock.h>

#include <map>
#include <set>
#include <string>

#include "tests/com/type_info.h"

namespace {

// What the type library must hold, by name: each class and interface with its identifier, each member with its dispatch
// identifier and, where that is another number, its slot, each enumeration with its constants.
const char expected[] =
#include "tests/com/type_library.txt"
    ;

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
    win::unique_bstr names[9];
    BSTR raw[9] = {};
    UINT count = 0;
    info->GetNames(member.memid, raw, 9, &count);
    for (UINT i = 0; i < count; ++i)
        names[i].reset(raw[i]);
    std::string text = std::to_string(member.memid) + (member.invkind == INVOKE_PROPERTYGET   ? " get "
                                                       : member.invkind == INVOKE_PROPERTYPUT ? " put "
                                                                                              : " ");
    text += text::narrow(names[0].get()) + '(';
    for (int i = 0; i < member.cParams; ++i) {
        const ELEMDESC& parameter = member.lprgelemdescParam[i];
        const USHORT flags = parameter.paramdesc.wParamFlags;
        text += (i ? ", " : "");
        text += flags & PARAMFLAG_FRETVAL ? "retval " : flags & PARAMFLAG_FOUT ? "out " : "";
        text += parameter_text(info, parameter.tdesc) + ' ' + (names[i + 1] ? text::narrow(names[i + 1].get()) : "newVal");
    }
    return text + ')' + (slot_of(member) == member.memid ? "" : " slot " + std::to_string(slot_of(member)));
}

// A type and what it holds.
std::string type_text(ITypeInfo* type) {
    const auto info = table_of(type);
    TYPEATTR* of = nullptr;
    info->GetTypeAttr(&of);
    std::string text = name_of(info.get()) + (of->typekind == TKIND_ENUM ? "" : ' ' + text::guid_text(of->guid)) + '\n';
    for (UINT i = 0; i < of->cVars; ++i) {
        VARDESC* constant = nullptr;
        info->GetVarDesc(i, &constant);
        text += "    " + name_of(info.get(), constant->memid) + " = " + std::to_string(V_I4(constant->lpvarValue)) + '\n';
        info->ReleaseVarDesc(constant);
    }
    for_each_member(info.get(), [&](const FUNCDESC& member) {
        text += "    " + member_text(info.get(), member) + '\n';
        EXPECT_NE(help_of(info.get(), member.memid), "") << "a help string for the last member of " << text;
    });
    if (of->typekind == TKIND_INTERFACE) {
        EXPECT_EQ(of->wTypeFlags & (TYPEFLAG_FDUAL | TYPEFLAG_FOLEAUTOMATION), TYPEFLAG_FDUAL | TYPEFLAG_FOLEAUTOMATION);
        EXPECT_NE(help_of(info.get()), "") << "a help string for " << text;
    }
    info->ReleaseTypeAttr(of);
    return text;
}

// In the DLL, and as a file of its own.
TEST(TypeLibrary, HoldsEveryTypeMemberForMember) {
    for (const wchar_t* file : {L"KorvaProxyClient.dll", L"KorvaProxyClient.tlb"}) {
        win::com_ptr<ITypeLib> library;
        ASSERT_EQ(::LoadTypeLibEx(file, REGKIND_NONE, library.put()), S_OK);
        std::set<std::string> sorted;
        for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
            win::com_ptr<ITypeInfo> info;
            library->GetTypeInfo(i, info.put());
            sorted.insert(type_text(info.get()));
            if (name_of(info.get()) == "IKorvaProxyClientLogging") {
                EXPECT_EQ(help_of(info.get()), "IKorvaHvClusterManager Interface") << "an old slip that stays";
            }
        }
        std::string all;
        for (const std::string& one : sorted)
            all += one;
        EXPECT_EQ(all, expected);
        win::unique_bstr name;
        library->GetDocumentation(-1, name.put(), nullptr, nullptr, nullptr);
        EXPECT_STREQ(name.get(), L"KorvaProxyClientDllLib");
    }
}

}  // namespace
