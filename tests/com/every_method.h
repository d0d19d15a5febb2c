#pragma once

#include <cstring>
#include <functional>
#include <set>
#include <string>

#include "com/class_table.h"
#include "tests/com/com_test.h"
#include "tests/com/type_info.h"

// Calls every method of an object as the type library describes it, and those of each object that it hands out: with one text
// and one number for all, the identifier that was last given back, and no name for a log.
struct every_method_t {
    struct called_t {
        HRESULT result;
        int given_out;  // objects, texts and arrays
    };
    using call_t = std::function<called_t()>;  // as often as one likes: each gives back what the one before gave out
    std::function<void(const call_t&)> on_call = [](const call_t& call) { call(); };
    const wchar_t* host = L"\x65E5";  // not in the code page: no call gets as far as the network
    unsigned port = 1;
    const wchar_t* password = L"password";
    int run = 0;                            // a part of the text: another file to track
    std::set<std::string> interfaces = {};  // that were met
    GUID id{};

    void call(IDispatch* object) {
        const auto table = table_of(object);
        interfaces.insert(name_of(table.get()));
        // Where to and who first: no call goes out without an account, nor through the endpoint mapper.
        for (const bool first : {true, false})
            for_each_member(table.get(), [&](const FUNCDESC& member) {
                const std::string name = name_of(table.get(), member.memid);
                if ((name == "SetEndpoint" || name == "SetAccount") == first)
                    call(object, table.get(), member, name);
            });
    }

    // Of a new object of each creatable class; `around` is given the call of all, to be made as often as it likes.
    template <class Around>
    void call_each_class(Around around) {
        for (const com::class_entry& entry : com::class_table()) {
            SCOPED_TRACE(text::narrow(entry.description));
            around([&] { call(create<IDispatch>(entry.clsid).get()); });
        }
    }

private:
    void call(IDispatch* object, ITypeInfo* table, const FUNCDESC& member, const std::string& name) {
        SCOPED_TRACE(name);
        const auto is_id = [&](const TYPEDESC& type) { return kind_of(table, type) == TKIND_RECORD; };
        std::array<win::unique_bstr, 6> texts;
        std::array<win::unique_variant, 6> outputs;  // an identifier finds room in one, too
        arguments_t arguments{};
        for (int i = 0; i < member.cParams; ++i) {
            const TYPEDESC& type = member.lprgelemdescParam[i].tdesc;
            if (type.vt == VT_BSTR)
                arguments[i] = (texts[i] = text_for(name, i)).get();
            else if (is_id(type))
                arguments[i] = &id;
            else if (type.vt != VT_PTR && type.vt != VT_SAFEARRAY)
                arguments[i] = reinterpret_cast<void*>(number_for(name));
            else if (type.vt == VT_PTR && kind_of(table, *type.lptdesc) != TKIND_DISPATCH) {
                arguments[i] = &V_BYREF(outputs[i].get());
                V_VT(outputs[i].get()) = type_given_out(type.lptdesc->vt);
            }
        }
        on_call([&] {
            for (win::unique_variant& output : outputs) {
                const VARTYPE type = V_VT(output.get());
                ::VariantClear(output.get());
                V_VT(output.get()) = type;
                V_BYREF(output.get()) = nullptr;
            }
            called_t called{call_member(object, member, arguments), 0};
            for (win::unique_variant& output : outputs)
                called.given_out += V_VT(output.get()) != VT_EMPTY && V_BYREF(output.get());
            return called;
        });
        for (int i = 0; i < member.cParams; ++i) {
            const TYPEDESC& type = member.lprgelemdescParam[i].tdesc;
            if (V_VT(outputs[i].get()) == VT_DISPATCH && V_DISPATCH(outputs[i].get()))
                call(V_DISPATCH(outputs[i].get()));
            else if (type.vt == VT_PTR && is_id(*type.lptdesc))
                std::memcpy(&id, arguments[i], sizeof id);
        }
    }

    static VARTYPE type_given_out(VARTYPE type) {
        return type == VT_BSTR ? VT_BSTR : type == VT_PTR ? VT_DISPATCH : type == VT_SAFEARRAY ? VT_ARRAY | VT_UI1 : VT_EMPTY;
    }
    win::unique_bstr text_for(std::string_view method, int parameter) const {
        if (method.starts_with("SetLog"))
            return {};
        const std::wstring text = L"<Snapshot Polls='0'/><!--" + std::to_wstring(run) + L"-->";
        return win::make_bstr(method == "SetEndpoint"  ? host
                              : method == "SetAccount" ? (parameter == 0 ? L"CORPORATION\\an.operator.of.it" : password)
                                                       : text.c_str());
    }
    // The tracked file with the first number stays, for the methods behind.
    std::uintptr_t number_for(std::string_view method) const {
        return method == "SetEndpoint" ? port : method == "RemoveFile" || method == "Get" ? 0 : 1;
    }
};
