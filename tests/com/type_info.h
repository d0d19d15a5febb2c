#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <oaidl.h>

#include <array>
#include <string>

#include "foundation/automation.h"
#include "foundation/com_ptr.h"
#include "foundation/convert.h"

// What the type library tells of a type and its members.

inline std::string name_of(ITypeInfo* info, MEMBERID member = MEMBERID_NIL) {
    win::unique_bstr name;
    info->GetDocumentation(member, name.put(), nullptr, nullptr, nullptr);
    return text::narrow(win::bstr_view(name.get()));
}

// A dual interface is described as its table of functions, everything else as it is.
inline win::com_ptr<ITypeInfo> table_of(ITypeInfo* type) {
    win::com_ptr<ITypeInfo> table(type);
    HREFTYPE reference = 0;
    if (SUCCEEDED(type->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference)))
        type->GetRefTypeInfo(reference, table.put());
    return table;
}
inline win::com_ptr<ITypeInfo> table_of(IDispatch* object) {
    win::com_ptr<ITypeInfo> type;
    EXPECT_EQ(object->GetTypeInfo(0, LOCALE_NEUTRAL, type.put()), S_OK);
    return table_of(type.get());
}

inline TYPEKIND kind_of(ITypeInfo* info, const TYPEDESC& type) {
    win::com_ptr<ITypeInfo> named;
    TYPEATTR* of = nullptr;
    if (type.vt != VT_USERDEFINED || info->GetRefTypeInfo(type.hreftype, named.put()) != S_OK ||
        named->GetTypeAttr(&of) != S_OK)
        return TKIND_MAX;
    const TYPEKIND kind = of->typekind;
    named->ReleaseTypeAttr(of);
    return kind;
}

template <class Visit>
void for_each_member(ITypeInfo* table, Visit visit) {
    FUNCDESC* member = nullptr;
    for (UINT i = 0; table->GetFuncDesc(i, &member) == S_OK; ++i) {
        visit(*member);
        table->ReleaseFuncDesc(member);
    }
}

inline int slot_of(const FUNCDESC& member) { return member.oVft / static_cast<int>(sizeof(void*)); }

// With the platform's calling convention a method does not mind more arguments than it takes.
using arguments_t = std::array<void*, 6>;
inline HRESULT call_member(IDispatch* object, const FUNCDESC& member, const arguments_t& a) {
    using method = HRESULT(STDMETHODCALLTYPE*)(void*, void*, void*, void*, void*, void*, void*);
    return (*reinterpret_cast<method**>(object))[slot_of(member)](object, a[0], a[1], a[2], a[3], a[4], a[5]);
}
