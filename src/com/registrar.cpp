#include "com/registrar.h"

#include "com/module.h"
#include "foundation/errors.h"
#include "foundation/format.h"
#include "foundation/handles.h"

namespace com::registrar {
namespace {

void check(LSTATUS status, std::string_view message, std::wstring_view name) {
    if (status != ERROR_SUCCESS)
        throw exc::win_sys_exc_t(text::format(message, name), static_cast<std::uint32_t>(status));
}

std::string_view load_script(UINT id) {
    const HMODULE module = module::handle();
    const HRSRC found = ::FindResourceW(module, MAKEINTRESOURCEW(id), L"REGISTRY");
    const HGLOBAL resource = found ? ::LoadResource(module, found) : nullptr;
    const void* const data = resource ? ::LockResource(resource) : nullptr;
    if (!data)
        exc::throw_last_error("Failed to load a registry script.");
    return {static_cast<const char*>(data), ::SizeofResource(module, found)};
}

void delete_tree(HKEY parent, const std::wstring& name) {
    const LSTATUS status = ::RegDeleteTreeW(parent, name.c_str());
    if (status != ERROR_FILE_NOT_FOUND)
        check(status, "Failed to delete registry key [%1].", name);
}

void set_value(HKEY key, const std::wstring& name, const registry_data& data) {
    DWORD type = REG_DWORD;
    const void* bytes = std::get_if<DWORD>(&data);
    DWORD size = sizeof(DWORD);
    if (const auto* text = std::get_if<std::wstring>(&data)) {
        type = REG_SZ;
        bytes = text->c_str();
        size = static_cast<DWORD>((text->size() + 1) * sizeof(wchar_t));
    }
    check(::RegSetValueExW(key, name.empty() ? nullptr : name.c_str(), 0, type, static_cast<const BYTE*>(bytes), size),
          "Failed to set registry value [%1].", name);
}

void make(HKEY parent, const registry_key& key) {
    if (key.force_remove)
        delete_tree(parent, key.name);
    win::unique_registry_key made;
    check(::RegCreateKeyExW(parent, key.name.c_str(), 0, nullptr, 0, KEY_READ | KEY_WRITE, nullptr, made.put(), nullptr),
          "Failed to create registry key [%1].", key.name);
    if (key.default_value)
        set_value(made.get(), {}, *key.default_value);
    for (const registry_value& value : key.values)
        set_value(made.get(), value.name, value.data);
    for (const registry_key& child : key.keys)
        make(made.get(), child);
}

bool has_keys(HKEY key, const std::wstring& name) {
    DWORD count = 0;
    check(::RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &count, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                             nullptr),
          "Failed to read registry key [%1].", name);
    return count != 0;
}

void remove(HKEY parent, const registry_key& key) {
    if (key.force_remove)
        return delete_tree(parent, key.name);
    win::unique_registry_key found;
    const LSTATUS opened = ::RegOpenKeyExW(parent, key.name.c_str(), 0, KEY_READ | KEY_WRITE, found.put());
    if (opened == ERROR_FILE_NOT_FOUND)
        return;
    check(opened, "Failed to open registry key [%1].", key.name);
    for (const registry_key& child : key.keys)
        remove(found.get(), child);
    if (key.no_remove || has_keys(found.get(), key.name))
        return;
    found.reset();
    check(::RegDeleteKeyW(parent, key.name.c_str()), "Failed to delete registry key [%1].", key.name);
}

template <class Step>
void for_each_key(UINT script, const script_arguments& arguments, const Step& step) {
    for (const registry_root& root : parse_registry_script(load_script(script), arguments))
        for (const registry_key& key : root.keys)
            step(root.root, key);
}

}  // namespace

void run(UINT script, const script_arguments& arguments) { for_each_key(script, arguments, make); }

void undo(UINT script, const script_arguments& arguments) { for_each_key(script, arguments, remove); }

}  // namespace com::registrar
