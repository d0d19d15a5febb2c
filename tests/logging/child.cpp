#include "tests/logging/child.h"

#include <gtest/gtest.h>

#include <map>
#include <stdexcept>

#include "foundation/convert.h"
#include "foundation/format.h"

namespace child {
namespace {

constexpr DWORD patience_ms = 240'000;  // only a hang takes so long

auto& roles() {
    static std::map<std::string, void (*)(const arguments_t&)> instance;
    return instance;
}

std::wstring ready_name(DWORD process_id) { return text::widen(text::format("korva-test-ready-%1", process_id)); }

}  // namespace

role_t::role_t(const char* name, void (*run)(const arguments_t&)) { roles()[name] = run; }

process_t::process_t(const std::string& role, const arguments_t& arguments, bool inherit_handles) {
    wchar_t program[MAX_PATH];
    ::GetModuleFileNameW(nullptr, program, MAX_PATH);
    std::string command = "\"" + text::narrow(program) + "\" --child " + role;
    for (const std::string& argument : arguments)
        command += " " + argument;
    std::wstring wide = text::widen(command);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION made;
    if (!::CreateProcessW(nullptr, wide.data(), nullptr, nullptr, inherit_handles, CREATE_SUSPENDED, nullptr, nullptr, &startup,
                          &made))
        throw std::runtime_error("the child does not start");
    process_.reset(made.hProcess);
    const win::unique_handle thread(made.hThread);
    ready_.reset(::CreateEventW(nullptr, TRUE, FALSE, ready_name(made.dwProcessId).c_str()));
    ::ResumeThread(thread.get());
}

process_t::~process_t() {
    if (::WaitForSingleObject(process_.get(), 0) == WAIT_TIMEOUT) {
        ::TerminateProcess(process_.get(), 1);
        ::WaitForSingleObject(process_.get(), patience_ms);
    }
}

DWORD process_t::wait() {
    if (::WaitForSingleObject(process_.get(), patience_ms) != WAIT_OBJECT_0)
        throw std::runtime_error("the child hangs");
    DWORD code = 0;
    ::GetExitCodeProcess(process_.get(), &code);
    return code;
}

void process_t::wait_until_ready() {
    const HANDLE both[] = {ready_.get(), process_.get()};
    if (::WaitForMultipleObjects(2, both, FALSE, patience_ms) != WAIT_OBJECT_0)
        throw std::runtime_error("the child does not get ready");
}

void report_ready_and_stay() {
    const win::unique_handle ready(::OpenEventW(EVENT_MODIFY_STATE, FALSE, ready_name(::GetCurrentProcessId()).c_str()));
    ::SetEvent(ready.get());
    ::Sleep(patience_ms);
}

}  // namespace child

int main(int argc, char** argv) {
    if (argc > 2 && std::string(argv[1]) == "--child") {
        child::roles().at(argv[2])(child::arguments_t(argv + 3, argv + argc));
        return 0;
    }
    // What a run that was ended early may have left.
    ::RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Korva\\Quorvane", L"LogDirectory");
    ::RegDeleteKeyW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\KorvA\\Korva NFS");
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
