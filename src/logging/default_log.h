#pragma once

#include <windows.h>

#include <functional>
#include <memory>
#include <string>

#include "logging/log.h"
#include "logging/win_log_file.h"

// The log that the module opens for itself as it is loaded into a process.
namespace logging {

// What the module's process attach calls, once: opens "Auxiliary.KorvaProxyClient.log" in the default log directory as the
// receiver of the default log and writes the header. Never fails: a log that cannot be opened leaves the default log without
// a receiver. Waits for no other thread and uses no COM, because the loader's lock is held.
void open_default_log() noexcept;

// Opens the rotating file on the path, with its directory; where other processes hold it, on the first free of 1000 indexed
// names; where a configured log directory cannot be made, in the common one. Throws exc::runtime_exc_t.
std::shared_ptr<win::win_log_file_t> open_log_file(const std::string& path, const file_functions_t& files = {});

// What the header tells; tests give other answers.
struct header_facts_t {
    std::function<std::string()> executable_path;
    std::function<std::string(const std::string& path)> file_version;
    std::function<OSVERSIONINFOA()> os_version;

    header_facts_t();  // of this process and machine
};

// Writes the header to the default log. What cannot be found out becomes an error line.
void write_log_header(const header_facts_t& facts = {}) noexcept;

}  // namespace logging
