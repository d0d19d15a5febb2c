#pragma once

#include <cstdint>
#include <filesystem>

namespace lab {

// The installer service's part of the host.
struct deployment_model_t {
    std::uint32_t service_version = 6;
    std::uint32_t dll_version_high = 0x00060000;  // 6.0.1.0
    std::uint32_t dll_version_low = 0x00010000;
    std::filesystem::path upload_folder = std::filesystem::temp_directory_path() / L"KorvaLab" / L"Upload";
    bool writes_one_byte_less = false;  // of every block, and says so
};

}  // namespace lab
