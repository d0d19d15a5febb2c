#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "vdisk/reparse_data.h"
#include "vdisk/reparse_index.h"

// A volume that exists only behind the updater's table of platform functions: a reparse index, its points with their data, and
// failures on demand. It refuses, as a file system would, every call whose parameters are not exactly those that the platform
// needs. One at a time: the functions are plain ones.
class model_volume_t {
public:
    // What a point may fail at, beside the control codes of a device (below).
    static constexpr DWORD opening = 1, reading_attributes = 2;
    static constexpr DWORD setting = 0x900A4, reading = 0x900A8, deleting = 0x900AC;

    struct point_t {
        std::uint32_t tag = 0;
        impl::vdmount::bytes_t data{};
        bool directory = true;
        DWORD fails_at = 0;
        DWORD error = ERROR_ACCESS_DENIED;  // of what fails
        DWORD too_small_error = ERROR_MORE_DATA;

        // What became of it.
        bool deleted = false;
        std::vector<DWORD> read_sizes{};
        impl::vdmount::bytes_t set{};
    };

    model_volume_t();
    ~model_volume_t();

    impl::vdmount::volume_functions_t functions() const;

    std::wstring path = L"E:\\Mnt\\C\\";  // the one directory that is there
    std::vector<point_t> points;          // file references count from first_reference
    DWORD root_error = 0;
    std::uint32_t index_status = 0;
    std::uint32_t end_status = 0x80000006;  // of a pass that finds nothing more
    DWORD privilege_error = 0;
    std::string missing_function;

    static constexpr std::int64_t first_reference = 0x0005000000000100;

    // The index and where its points are; a benchmark plays a volume that is in no memory.
    std::function<std::size_t()> index_size = [this] { return points.size(); };
    std::function<std::uint32_t(std::size_t)> tag_of = [this](std::size_t i) { return points[i].tag; };
    std::function<point_t&(std::size_t)> point_at = [this](std::size_t i) -> point_t& { return points.at(i); };

    // What happened.
    std::size_t opens = 0;  // of the root
    std::size_t passes = 0;
    std::vector<std::size_t> opened_points;
    // Whether all handles that were given out are closed and the thread holds no privilege any more.
    bool is_all_given_back() const;

private:
    friend struct model_calls;
    HANDLE give_handle();

    win::unique_handle object_;
    HANDLE root_ = nullptr;
    HANDLE index_ = nullptr;
    HANDLE point_handle_ = nullptr;
    point_t* point_ = nullptr;
    std::size_t next_entry_ = 0;
};

// Whoever holds a privilege has a token for it.
bool thread_has_token();
