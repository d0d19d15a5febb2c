#include "com/registration.h"

#include "com/class_table.h"
#include "com/guarded.h"
#include "com/module.h"
#include "com/registrar.h"
#include "com/resource.h"
#include "com/type_library.h"

namespace com {
namespace {

std::wstring guid_in_braces(const GUID& guid) {
    wchar_t text[39];
    ::StringFromGUID2(guid, text, 39);
    return text;
}

script_arguments module_arguments() { return {{L"APPID", module::app_id}, {L"MODULE", module::path()}}; }

script_arguments class_arguments(const class_entry& entry) {
    script_arguments arguments = module_arguments();
    arguments[L"CLSID"] = guid_in_braces(entry.clsid);
    arguments[L"PROGID"] = entry.prog_id;
    arguments[L"VIPROGID"] = entry.version_independent_prog_id;
    arguments[L"DESCRIPTION"] = entry.description;
    return arguments;
}

template <class Step>
HRESULT registration_step(Step&& step) noexcept {
    return guarded(IID_NULL, {true}, std::forward<Step>(step));
}

}  // namespace

HRESULT register_server() noexcept {
    return registration_step([] {
        registrar::run(IDR_APPID, module_arguments());
        for (const class_entry& entry : class_table())
            registrar::run(IDR_CLASS, class_arguments(entry));
        type_library::register_library();
    });
}

HRESULT unregister_server() noexcept {
    HRESULT result = registration_step([] { type_library::unregister_library(); });
    const auto go_on = [&](auto&& step) {
        const HRESULT next = registration_step(step);
        if (SUCCEEDED(result))
            result = next;
    };
    for (const class_entry& entry : class_table())
        go_on([&] { registrar::undo(IDR_CLASS, class_arguments(entry)); });
    go_on([] { registrar::undo(IDR_APPID, module_arguments()); });
    return result;
}

}  // namespace com
