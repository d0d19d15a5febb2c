// Runs the tests, or, with "--child ROLE ARGUMENTS", plays a role for them.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <string_view>
#include <thread>
#include <vector>

#include "foundation/format.h"
#include "foundation/handles.h"
#include "logging/kbmngr_log_file.h"
#include "logging/log.h"
#include "logging/memory_receiver.h"
#include "logging/rotation.h"
#include "logging/win_log_file.h"
#include "tests/logging/played_files.h"

namespace {

// Keeps what it inherited until the parent ends it.
void stay(char**) {
    std::puts("ready");
    std::fflush(stdout);
    ::Sleep(240'000);
}

// LOG: holds it.
void hold(char** arguments) {
    const win::win_log_file_t file(arguments[0]);
    stay(nullptr);
}

// LOG STEP: rotates it, and dies in front of the step of that number.
void rotate(char** arguments) {
    const int last = std::atoi(arguments[1]);
    int steps = 0;
    played_files_t files([&](auto&, int) {
        if (++steps == last)
            ::TerminateProcess(::GetCurrentProcess(), 77);
        return false;
    });
    win::win_log_file_t file(arguments[0], files.functions);
    logging::rotate_when_full(file, files.functions, {200'000, 10});
}

// LOG MUTEX NAME...: for each name a thread that writes 20,000 numbered lines, ten in a message.
void write(char** arguments) {
    logging::log_t log;
    log.set_receiver(std::make_shared<win::kbmngr_sync_log_file_t>(arguments[0], arguments[1]));
    std::vector<std::jthread> writers;
    for (char** name = arguments + 2; *name; ++name) {
        writers.emplace_back([&log, name] {
            for (int line = 0; line < 20'000;) {
                std::string message;
                for (const int end = line + 10; line < end; ++line)
                    message += text::format("%1 %2\n", *name, line);
                log.write(2, 0, nullptr, message);
            }
        });
    }
}

// Ends while a thread is inside the log, which then never gives its lock back. Code 5: what is logged that late returned.
void end(char**) {
    struct receiver_t : logging::receiver::memory_receiver_t {
        void write(std::string_view) override {
            ::SetEvent(inside.get());
            ::Sleep(INFINITE);
        }
        const win::unique_handle inside{::CreateEventW(nullptr, FALSE, FALSE, nullptr)};
    };
    static logging::log_t log;
    const auto receiver = std::make_shared<receiver_t>();
    log.set_receiver(receiver);
    std::thread([] { log.write(2, 0, nullptr, "inside"); }).detach();
    ::WaitForSingleObject(receiver->inside.get(), INFINITE);
    // Called when the process has ended its other threads.
    ::FlsSetValue(::FlsAlloc([](void*) {
                      log.write(2, 0, nullptr, "late");
                      ::TerminateProcess(::GetCurrentProcess(), 5);
                  }),
                  &log);
    ::ExitProcess(1);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 2 && argv[1] == std::string_view("--child")) {
        const std::map<std::string_view, void (*)(char**)> roles = {
            {"stay", stay}, {"hold", hold}, {"rotate", rotate}, {"write", write}, {"end", end}};
        roles.at(argv[2])(argv + 3);
        return 0;
    }
    // What a run that was ended early may have left.
    ::RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Korva\\Quorvane", L"LogDirectory");
    ::RegDeleteKeyW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\KorvA\\Korva NFS");
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
