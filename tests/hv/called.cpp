#include "tests/hv/called.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <sstream>

#include "foundation/convert.h"
#include "tests/com/type_info.h"
#include "tests/foundation/error_object.h"

namespace hv_tests {
namespace {

// Room for any output.
struct output_t {
    const TYPEDESC* type = nullptr;
    alignas(std::uint64_t) unsigned char value[sizeof(GUID)];

    output_t() { std::ranges::fill(value, 0xEE); }

    template <class T>
    T as() const {
        T result;
        std::memcpy(&result, value, sizeof result);
        return result;
    }
};

std::string quoted(BSTR text) { return "'" + text::narrow(win::bstr_view(text)) + "'"; }

std::string list_of(const win::unique_safe_array& array) {
    if (!array)
        return "null";
    VARTYPE type = VT_EMPTY;
    EXPECT_TRUE(::SafeArrayGetVartype(array.get(), &type) == S_OK && type == VT_BSTR);
    std::string list;
    for (ULONG i = 0; i < array.get()->rgsabound[0].cElements; ++i)
        list += (list.empty() ? "" : ", ") + quoted(static_cast<BSTR*>(array.get()->pvData)[i]);
    return '[' + list + ']';
}

// How many bytes a failing method has to clear.
std::size_t size_of(ITypeInfo* table, const TYPEDESC& type) {
    switch (type.vt) {
        case VT_BOOL:
        case VT_UI2:
            return 2;
        case VT_UI4:
            return 4;
        case VT_USERDEFINED:
            return kind_of(table, type) == TKIND_RECORD ? sizeof(GUID) : sizeof(int);
        default:
            return 8;
    }
}

// Takes over what the output owns.
void take(ITypeInfo* table, const output_t& output, called_t& called) {
    std::string text;
    switch (output.type->vt) {
        case VT_PTR:
            called.object = win::com_ptr<IDispatch>::attach(output.as<IDispatch*>());
            break;
        case VT_BSTR:
            text = quoted(win::unique_bstr(output.as<BSTR>()).get());
            break;
        case VT_SAFEARRAY:
            text = list_of(win::unique_safe_array(output.as<SAFEARRAY*>()));
            break;
        case VT_BOOL:
            text = output.as<VARIANT_BOOL>() == VARIANT_TRUE    ? "true"
                   : output.as<VARIANT_BOOL>() == VARIANT_FALSE ? "false"
                                                                : "neither";
            break;
        case VT_UI2:
            text = std::to_string(output.as<USHORT>());
            break;
        case VT_UI8:
            text = std::to_string(output.as<ULONGLONG>());
            break;
        default:
            text = size_of(table, *output.type) == sizeof(GUID) ? text::guid_text(output.as<GUID>())
                                                                : std::to_string(output.as<ULONG>());
    }
    called.outputs += (called.outputs.empty() ? "" : ", ") + text;
}

bool is_output(const ELEMDESC& parameter) { return parameter.paramdesc.wParamFlags & PARAMFLAG_FOUT; }

}  // namespace

called_t call_by_name(IDispatch* object, const std::string& method, const std::vector<void*>& inputs) {
    using function_t = HRESULT(STDMETHODCALLTYPE*)(void*, void*, void*, void*, void*, void*, void*);
    const auto table = table_of(object);
    FUNCDESC* member = nullptr;
    for (UINT i = 0; table->GetFuncDesc(i, &member) == S_OK; table->ReleaseFuncDesc(member), ++i) {
        win::unique_bstr name;
        table->GetDocumentation(member->memid, name.put(), nullptr, nullptr, nullptr);
        const std::span parameters(member->lprgelemdescParam, static_cast<std::size_t>(member->cParams));
        if (text::narrow(win::bstr_view(name.get())) != method ||
            inputs.size() + static_cast<std::size_t>(std::ranges::count_if(parameters, is_output)) != parameters.size())
            continue;
        output_t outputs[6];
        void* a[6]{};
        auto input = inputs.begin();
        for (std::size_t p = 0; p < parameters.size(); ++p) {
            if (is_output(parameters[p]))
                outputs[p].type = parameters[p].tdesc.lptdesc;
            a[p] = outputs[p].type ? outputs[p].value : *input++;
        }
        const std::size_t slot = static_cast<std::size_t>(member->oVft) / sizeof(void*);
        called_t called{(*reinterpret_cast<function_t**>(object))[slot](object, a[0], a[1], a[2], a[3], a[4], a[5]), {}};
        if (FAILED(called.result)) {
            std::istringstream description(description_of_error());
            for (std::string line; std::getline(description, line);)
                called.lines.push_back(line);
        }
        for (const output_t& output : outputs) {
            if (!output.type)
                continue;
            const auto size = static_cast<std::ptrdiff_t>(size_of(table.get(), *output.type));
            if (SUCCEEDED(called.result))
                take(table.get(), output, called);
            else
                EXPECT_EQ(std::count(output.value, output.value + size, 0), size) << "left over in an output";
        }
        table->ReleaseFuncDesc(member);
        return called;
    }
    ADD_FAILURE() << "There is no " << method << " of " << inputs.size() << " inputs.";
    return {};
}

}  // namespace hv_tests
