#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "deploy/deployer_platform.h"
#include "tests/files.h"

namespace played {

// A host behind the deployer's platform functions. Its service, its share and who the thread acts as are a model; its files,
// and those of the console, are real ones in a scratch folder. Every call is recorded, in the log too, with its texts and
// numbers, and can be made to fail; what is open is counted.
class host_t {
public:
    host_t();
    ~host_t();
    host_t(const host_t&) = delete;
    host_t& operator=(const host_t&) = delete;

    impl::deployer_platform_t platform();

    // Every call of this name ("CopyFileW"), or one alone ("CopyFileW 2": the second), fails with the code.
    void fail(const std::string& call, DWORD code) { failures_[call] = code; }
    void recover();
    bool has_failed() const { return has_failed_; }

    // Handles, buffers, searches, share connections and the impersonation that were not given back, and what was given back
    // though it was not open; empty when all is in order.
    std::string left_open() const;

    int count(const std::string& call) const { return counts_.contains(call) ? counts_.at(call) : 0; }

    void install(const std::string& command_line, DWORD state);

    // Where a path of the host ("\\\\host\\...") or of the console ("C:\\...") lies in truth.
    std::filesystem::path at(std::wstring_view path) const;

    // The model.
    const wchar_t* share_path = L"C:\\Windows";
    bool service_exists = false;
    DWORD service_state = SERVICE_STOPPED;
    int polls_until_state = 1;  // how many looks it takes until a start or a stop is seen
    std::string service_command_line;
    std::vector<std::wstring> connections;  // made by others, with other credentials: what the enumeration shows
    std::set<std::wstring> connected;       // by this process, not closed yet
    HANDLE acting_as = nullptr;

    std::vector<std::string> calls;
    std::vector<std::uint32_t> waits;

private:
    const win::unique_handle account_;  // every logon's token is another handle of it

    // Records a call and says how it fails, 0 where it is not told to.
    DWORD enter(const std::string& name, const std::string& arguments);
    template <class Result>
    using failure_t = std::type_identity_t<Result (*)(DWORD code)>;
    // Puts in the place of a platform function the real one, recorded; it may be told to fail.
    template <class Result, class... Args, class Real>
    void record(
        std::function<Result(Args...)>& function, const char* name, Real real,
        failure_t<Result> failure = [](DWORD) { return Result{}; });
    // The same with a model of the function, which returns an error code or always succeeds.
    template <class Result, class... Args, class Model>
    void play(std::function<Result(Args...)>& function, const char* name, Model model);
    void play_services(win::service_functions_t& functions);
    void play_files(win::file_functions_t& functions);
    void play_network(win::network_functions_t& functions);
    // Something that must be given back: `handle`, or a new one.
    void* opened(const std::string& kind, void* handle = nullptr);
    BOOL given_back(void* handle);

    scratch_t scratch_;
    std::map<std::string, DWORD> failures_;
    bool has_failed_ = false;
    std::map<std::string, int> counts_;
    std::map<void*, std::string> open_;
    int given_back_twice_ = 0;
    std::uintptr_t last_handle_ = 0x1000;
    std::size_t next_connection_ = 0;
    int polls_ = 0;
    DWORD target_state_ = SERVICE_STOPPED;
    bool marked_for_deletion_ = false;
};

}  // namespace played
