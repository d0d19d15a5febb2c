#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "deploy/deployer_platform.h"
#include "deploy/unc_path.h"
#include "foundation/names.h"

namespace played {

// A host in memory behind the deployer's platform functions: its service, its share, its files, who the thread acts as. Every
// call is recorded with its texts and numbers and can be made to fail; what is open is counted.
class host_t {
public:
    host_t();
    host_t(const host_t&) = delete;
    host_t& operator=(const host_t&) = delete;

    impl::deployer_platform_t platform();

    // The call of this name (its n-th, or every one for 0) fails with the code.
    void fail(const std::string& call, DWORD code, int nth = 1) { failures_[call] = {code, nth}; }
    void recover() {
        failures_.clear();
        counts_.clear();
        calls.clear();
        waits.clear();
    }

    // Handles, buffers, searches, share connections and the impersonation that were not given back, and what was given back
    // though it was not open; empty when all is in order.
    std::string left_open() const;

    int count(const std::string& call) const { return counts_.contains(call) ? counts_.at(call) : 0; }

    bool has(const std::wstring& path) const { return files.contains(path); }
    void add_file(const std::wstring& path, DWORD attributes = FILE_ATTRIBUTE_ARCHIVE) { files[path] = attributes; }
    void add_folder(const std::wstring& path) { files[path] = FILE_ATTRIBUTE_DIRECTORY; }
    void install(const std::string& command_line, DWORD state);

    // The model.
    const wchar_t* share_path = L"C:\\Windows";
    bool service_exists = false;
    DWORD service_state = SERVICE_STOPPED;
    int polls_until_state = 1;  // how many looks it takes until a start or a stop is seen
    std::string service_command_line, service_description, service_dependencies, failure_actions;
    std::map<std::wstring, DWORD, win::name_less_t> files;  // through the share and local: attributes
    std::vector<std::wstring> connections;  // made by others, with other credentials: what the enumeration shows
    std::set<std::wstring> connected;       // by this process, not closed yet
    HANDLE acting_as = nullptr;

    std::vector<std::string> calls;
    std::vector<std::uint32_t> waits;

private:
    struct failure_t {
        DWORD code;
        int nth;
    };

    // Records a call and says how it fails, 0 where it is not told to.
    DWORD enter(const std::string& name, const std::string& arguments);
    // Puts in the place of a platform function one that is recorded, may be told to fail, and else does as the model, which
    // returns an error code.
    template <class Result, class... Args, class Model>
    void play(std::function<Result(Args...)>& function, const char* name, Model model);
    void play_services(win::service_functions_t& functions);
    void play_files(win::file_functions_t& functions);
    void play_network(win::network_functions_t& functions);
    // Something that must be given back: `handle`, or a new one.
    void* opened(const std::string& kind, void* handle = nullptr);
    BOOL given_back(void* handle);

    std::map<std::string, failure_t> failures_;
    std::map<std::string, int> counts_;
    std::map<void*, std::string> open_;
    int given_back_twice_ = 0;
    std::uintptr_t last_handle_ = 0x1000;
    std::vector<std::wstring> found_;
    std::size_t next_connection_ = 0;
    int polls_ = 0;
    DWORD target_state_ = SERVICE_STOPPED;
    bool marked_for_deletion_ = false;
};

}  // namespace played
