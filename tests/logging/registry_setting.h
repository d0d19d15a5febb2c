#pragma once

#include <windows.h>

#include <string>
#include <utility>
#include <variant>
#include <vector>

using registry_values_t = std::vector<std::pair<const wchar_t*, std::variant<DWORD, std::wstring>>>;

// A key of HKEY_LOCAL_MACHINE with these values, gone at the end; without values there is no key.
class registry_setting_t {
public:
    registry_setting_t(const wchar_t* key, const registry_values_t& values) : key_(key) {
        for (const auto& [name, value] : values) {
            if (const auto* const text = std::get_if<std::wstring>(&value))
                ::RegSetKeyValueW(HKEY_LOCAL_MACHINE, key, name, REG_SZ, text->c_str(),
                                  2 * static_cast<DWORD>(text->size() + 1));
            else
                ::RegSetKeyValueW(HKEY_LOCAL_MACHINE, key, name, REG_DWORD, &std::get<DWORD>(value), sizeof(DWORD));
        }
    }
    ~registry_setting_t() { ::RegDeleteKeyW(HKEY_LOCAL_MACHINE, key_); }
    registry_setting_t(const registry_setting_t&) = delete;
    registry_setting_t& operator=(const registry_setting_t&) = delete;

private:
    const wchar_t* key_;
};
