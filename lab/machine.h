#pragma once

#include <string>
#include <vector>

namespace lab {

struct machine_t {
    std::wstring id;  // what the console calls "VM ID"
    std::wstring name;
    std::vector<std::wstring> files;  // full paths: configuration and disks
};

}  // namespace lab
