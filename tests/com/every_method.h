#pragma once

#include <cstring>
#include <functional>
#include <set>
#include <string>

#include "foundation/automation.h"
#include "tests/com/classes.h"

// Calls every method of an object as the type library describes it, and those of each object that it hands out: with one text
// and one number for all, the identifier that was last given back, and no name for a log.
struct every_method_t {
    std::function<void(HRESULT)> after_call = [](HRESULT) {};
    const wchar_t* host = L"\x65E5";  // not in the code page: no call gets as far as the network
    unsigned port = 1;
    const wchar_t* password = L"password";
    int run = 0;                             // a part of the text: another file to track
    std::set<std::wstring> interfaces = {};  // that were met
    GUID id{};

    void call(IDispatch* object);

private:
    win::unique_bstr text_for(std::wstring_view method, int parameter) const {
        const std::wstring text = L"<Snapshot Polls='0'/><!--" + std::to_wstring(run) + L"-->";
        return win::make_bstr(method == L"SetEndpoint"        ? host
                              : method == L"SetAccount"       ? (parameter == 0 ? L"CORP\\user" : password)
                              : method.starts_with(L"SetLog") ? L""
                                                              : text.c_str());
    }
    // The tracked file with the first number stays, for the methods behind.
    std::uintptr_t number_for(std::wstring_view method) const {
        return method == L"SetEndpoint" ? port : method == L"RemoveFile" || method == L"Get" ? 0 : 1;
    }
};

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

inline void every_method_t::call(IDispatch* object) {
    using method = HRESULT(STDMETHODCALLTYPE*)(void*, void*, void*, void*, void*, void*, void*);
    const auto table = table_of(object);
    win::unique_bstr name;
    table->GetDocumentation(MEMBERID_NIL, name.put(), nullptr, nullptr, nullptr);
    interfaces.insert(name.get());
    FUNCDESC* member = nullptr;
    for (UINT i = 0; table->GetFuncDesc(i, &member) == S_OK; table->ReleaseFuncDesc(member), ++i) {
        const std::size_t slot = static_cast<std::size_t>(member->oVft) / sizeof(void*);
        table->GetDocumentation(member->memid, name.put(), nullptr, nullptr, nullptr);
        if (slot < 7)
            continue;
        GUID values[6]{};  // room for any output
        win::unique_bstr texts[6];
        void* a[6]{};
        const auto type = [&](int p) -> const TYPEDESC& { return member->lprgelemdescParam[p].tdesc; };
        const auto output = [&](int p) { return type(p).vt == VT_PTR ? type(p).lptdesc->vt : VARTYPE{VT_EMPTY}; };
        for (int p = 0; p < member->cParams; ++p) {
            if (type(p).vt == VT_BSTR)
                a[p] = (texts[p] = text_for(win::bstr_view(name.get()), p)).get();
            else if (type(p).vt == VT_PTR)
                a[p] = kind_of(table.get(), *type(p).lptdesc) == TKIND_DISPATCH ? nullptr : &values[p];
            else if (kind_of(table.get(), type(p)) == TKIND_RECORD)
                a[p] = &id;
            else if (type(p).vt != VT_SAFEARRAY)
                a[p] = reinterpret_cast<void*>(number_for(win::bstr_view(name.get())));
        }
        const HRESULT result = (*reinterpret_cast<method**>(object))[slot](object, a[0], a[1], a[2], a[3], a[4], a[5]);
        after_call(result);
        for (int p = 0; p < member->cParams; ++p) {
            void* value = nullptr;
            std::memcpy(&value, &values[p], sizeof value);
            if (output(p) == VT_BSTR)
                ::SysFreeString(static_cast<BSTR>(value));
            else if (output(p) == VT_SAFEARRAY)
                ::SafeArrayDestroy(static_cast<SAFEARRAY*>(value));
            else if (output(p) == VT_PTR && value)
                call(win::com_ptr<IDispatch>::attach(static_cast<IDispatch*>(value)).get());
            else if (output(p) == VT_USERDEFINED && kind_of(table.get(), *type(p).lptdesc) == TKIND_RECORD)
                id = values[p];
        }
    }
}
