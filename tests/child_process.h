#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "foundation/convert.h"
#include "foundation/handles.h"

// A program from the folder of this test program, or of a full path, with its output read line by line. It inherits what may be
// inherited. Ended, if it runs still, by the destructor.
class child_process {
public:
    child_process(const std::wstring& program, const std::wstring& arguments, DWORD flags = 0) {
        std::wstring command =
            L"\"" + (program.find(L'\\') != program.npos ? L"" : own_folder()) + program + L"\" " + arguments;

        // Wine starts its desktop with the first program that needs a window; had that program inherited the pipe, the desktop
        // would keep it open.
        ::GetDesktopWindow();
        SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
        win::unique_handle write_end;
        EXPECT_TRUE(::CreatePipe(output_.put(), write_end.put(), &inherited, 0));
        ::SetHandleInformation(output_.get(), HANDLE_FLAG_INHERIT, 0);
        STARTUPINFOW start{};
        start.cb = sizeof start;
        start.dwFlags = STARTF_USESTDHANDLES;
        start.hStdOutput = start.hStdError = write_end.get();
        PROCESS_INFORMATION started{};
        EXPECT_TRUE(
            ::CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, flags, nullptr, nullptr, &start, &started))
            << text::narrow(command);
        process_.reset(started.hProcess);
        const win::unique_handle thread(started.hThread);
    }
    ~child_process() { end(); }
    child_process(const child_process&) = delete;

    // This test program.
    static std::wstring own_path() {
        wchar_t path[MAX_PATH] = {};
        ::GetModuleFileNameW(nullptr, path, MAX_PATH);
        return path;
    }
    // Where it lies, with the separator behind it.
    static std::wstring own_folder() { return own_path().substr(0, own_path().rfind(L'\\') + 1); }

    // The output up to the line that holds the text, or all of it where the program ends before.
    std::string read_until(std::string_view text) {
        std::string read;
        char c = 0;
        DWORD got = 0;
        while (::ReadFile(output_.get(), &c, 1, &got, nullptr) && got == 1) {
            read += c;
            if (c == '\n' && read.find(text) != std::string::npos)
                break;
        }
        return read;
    }
    std::string read_all() { return read_until("\n\n\n(never)"); }

    // STILL_ACTIVE where it hangs.
    DWORD exit_code() {
        DWORD code = STILL_ACTIVE;
        ::WaitForSingleObject(process_.get(), patience_ms);
        ::GetExitCodeProcess(process_.get(), &code);
        return code;
    }

    // Where the program was started with CREATE_NO_WINDOW: so it has a console of its own.
    bool press_ctrl_c() {
        ::SetConsoleCtrlHandler([](DWORD) -> BOOL { return TRUE; }, TRUE);  // this process is told, too
        ::FreeConsole();
        const bool pressed = ::AttachConsole(::GetProcessId(process_.get())) && ::GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0);
        ::FreeConsole();
        return pressed;
    }

    void end() {
        ::TerminateProcess(process_.get(), 99);
        ::WaitForSingleObject(process_.get(), patience_ms);
    }

private:
    static constexpr DWORD patience_ms = 240'000;  // only a hang takes so long

    win::unique_handle output_, process_;
};
