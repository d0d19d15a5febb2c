#include "deploy/share_information.h"

#include <memory>

#include "foundation/errors.h"

namespace win {

std::wstring share_local_path(const std::wstring& host, const std::wstring& share, const share_functions_t& functions) {
    std::wstring host_argument = host;  // the platform declares its inputs as writable
    std::wstring share_argument = share;
    BYTE* buffer = nullptr;
    DWORD code = functions.get_info(host_argument.data(), share_argument.data(), 2, &buffer);
    const std::unique_ptr<BYTE, std::function<decltype(::NetApiBufferFree)>> owner(buffer, functions.free_buffer);
    const auto* const information = reinterpret_cast<const SHARE_INFO_2*>(buffer);
    if (code == NERR_Success && (!information || !information->shi2_path))
        code = ERROR_INVALID_DATA;
    if (code != NERR_Success)
        throw exc::win_sys_exc_t("Failed to get information about network share from the target host", code);
    return information->shi2_path;
}

}  // namespace win
