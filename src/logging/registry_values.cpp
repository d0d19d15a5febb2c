#include "logging/registry_values.h"

#include "foundation/convert.h"
#include "foundation/errors.h"
#include "foundation/format.h"
#include "foundation/nesting.h"

namespace win {
namespace {

// Reads a value of the expected type (and, for a null buffer, only its length). False where there is none of that name.
bool read_value(const unique_registry_key& key, const std::string& name, DWORD expected_type, void* buffer, DWORD& length) {
    const auto fail = [&] {
        return text::format("Cannot retrieve a registry value. Value name: [%1]. Expected value type: [%2].", name,
                            expected_type);
    };
    return exc::wrap_errors(fail, [&] {
        const DWORD accepted = expected_type == REG_DWORD ? RRF_RT_REG_DWORD : RRF_RT_REG_SZ;
        DWORD type = 0;
        const LSTATUS status = ::RegGetValueW(key.get(), nullptr, text::widen(name).c_str(), accepted, &type, buffer, &length);
        if (status == ERROR_UNSUPPORTED_TYPE)
            throw exc::runtime_exc_t(text::format("Unexpected registry type: [%1].", type));
        if (status != ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND)
            throw exc::win_sys_exc_t("RegGetValue() function call has failed.", static_cast<DWORD>(status));
        return status == ERROR_SUCCESS;
    });
}

}  // namespace

unique_registry_key open_machine_key(const std::string& path, REGSAM view) {
    unique_registry_key key;
    const LSTATUS status = ::RegOpenKeyExW(HKEY_LOCAL_MACHINE, text::widen(path).c_str(), 0, KEY_READ | view, key.put());
    if (status != ERROR_SUCCESS)
        throw exc::win_sys_exc_t(text::format("Failed to open registry key [%1].", path), static_cast<DWORD>(status));
    return key;
}

std::optional<std::uint32_t> dword_value(const unique_registry_key& key, const std::string& name) {
    DWORD value = 0;
    DWORD length = sizeof value;
    if (!read_value(key, name, REG_DWORD, &value, length))
        return std::nullopt;
    return value;
}

std::optional<std::string> string_value(const unique_registry_key& key, const std::string& name) {
    DWORD length = 0;
    if (!read_value(key, name, REG_SZ, nullptr, length))
        return std::nullopt;
    std::wstring value(length / sizeof(wchar_t) + 1, L'\0');
    length = static_cast<DWORD>(value.size() * sizeof(wchar_t));
    if (!read_value(key, name, REG_SZ, value.data(), length))
        return std::nullopt;
    return text::narrow(value.c_str());
}

}  // namespace win
