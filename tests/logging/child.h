#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "foundation/handles.h"

// Second processes: this test program started again to play a role.
namespace child {

using arguments_t = std::vector<std::string>;

// Registers a role.
struct role_t {
    role_t(const char* name, void (*run)(const arguments_t& arguments));
};

class process_t {
public:
    // Arguments hold no blanks and no quotes.
    process_t(const std::string& role, const arguments_t& arguments, bool inherit_handles = false);
    ~process_t();  // ends the child where it still runs

    // Exit code; a child that takes minutes is ended.
    DWORD wait();

    // Returns once the child has reported.
    void wait_until_ready();

private:
    win::unique_handle process_;
    win::unique_handle ready_;
};

// Child: lets the parent go on, and stays until the parent ends it.
void report_ready_and_stay();

}  // namespace child
