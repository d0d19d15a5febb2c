#pragma once

#include <windows.h>

#include <string>

// A value of HKEY_LOCAL_MACHINE that is gone at the end.
class registry_setting_t {
public:
    registry_setting_t(const wchar_t* key, const wchar_t* name, const std::wstring& text) : key_(key), name_(name) {
        ::RegSetKeyValueW(HKEY_LOCAL_MACHINE, key, name, REG_SZ, text.c_str(), static_cast<DWORD>((text.size() + 1) * 2));
    }
    registry_setting_t(const wchar_t* key, const wchar_t* name, DWORD value) : key_(key), name_(name) {
        ::RegSetKeyValueW(HKEY_LOCAL_MACHINE, key, name, REG_DWORD, &value, sizeof value);
    }
    ~registry_setting_t() { ::RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, key_, name_); }
    registry_setting_t(const registry_setting_t&) = delete;
    registry_setting_t& operator=(const registry_setting_t&) = delete;

private:
    const wchar_t* key_;
    const wchar_t* name_;
};
