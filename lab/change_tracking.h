#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

namespace lab {

struct tracked_file_t {
    std::uint32_t id = 0;
    std::wstring name;
    std::uint32_t block_size = 0;
    std::uint32_t options = 0;
    GUID generation_id{};
    std::uint16_t current_index = 0;
    std::uint64_t max_flat_size = 1 << 20;
    std::uint64_t max_indirect_size = 16 << 20;
};

// The change-tracking driver of a host and its store. The machines of the lab never rest: every flush finds new changes and
// raises the file's index by one. Methods throw exc::runtime_exc_t where tracking is not initialised or the file is unknown.
class change_tracking_t {
public:
    std::uint16_t compatible_version = 2;
    std::uint16_t current_version = 5;
    std::wstring store_path = LR"(C:\ProgramData\ChangeTracking)";
    // Hostile answers: records that replies must have are missing.
    bool null_records = false;

    void init() { initialised_ = true; }
    void done() { initialised_ = false; }

    const tracked_file_t& add(const std::wstring& name, std::uint32_t block_size, std::uint32_t options);
    void remove(std::uint32_t id);
    tracked_file_t& file(std::uint32_t id);
    const tracked_file_t& file(const std::wstring& name) const;
    void flush(std::uint32_t id);
    // Where the file's changes are kept: in the store, or beside the file where its options say so (512).
    std::wstring tracking_file_of(const tracked_file_t& file) const;

private:
    void check_initialised() const;

    bool initialised_ = false;
    std::uint32_t last_id_ = 100;
    std::vector<tracked_file_t> files_;
};

}  // namespace lab
