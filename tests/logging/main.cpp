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
#include "logging/kbmngr_log_file.h"
#include "logging/log.h"
#include "logging/rotation.h"
#include "logging/win_log_file.h"

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
    logging::file_functions_t files;
    const int last = std::atoi(arguments[1]);
    int steps = 0;
    const auto count = [&](auto& function) {
        function = [&, real = function](auto&&... args) {
            if (++steps == last)
                ::TerminateProcess(::GetCurrentProcess(), 77);
            return real(args...);
        };
    };
    count(files.remove);
    count(files.rename);
    count(files.seek);
    count(files.cut);
    count(files.gz_open);
    count(files.gz_write);
    count(files.gz_finish);
    count(files.gz_close);
    win::win_log_file_t file(arguments[0], files);
    logging::rotate_when_full(file, files, {200'000, 10});
}

// LOG MUTEX NAME...: for each name a thread that writes 20,000 numbered lines.
void write(char** arguments) {
    logging::log_t log;
    log.set_receiver(std::make_shared<win::kbmngr_sync_log_file_t>(arguments[0], arguments[1]));
    std::vector<std::jthread> writers;
    for (char** name = arguments + 2; *name; ++name) {
        writers.emplace_back([&log, name] {
            for (int i = 0; i < 20'000; ++i)
                log.write(2, 0, nullptr, text::format("%1 %2", *name, i));
        });
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 2 && argv[1] == std::string_view("--child")) {
        const std::map<std::string_view, void (*)(char**)> roles = {
            {"stay", stay}, {"hold", hold}, {"rotate", rotate}, {"write", write}};
        roles.at(argv[2])(argv + 3);
        return 0;
    }
    // What a run that was ended early may have left.
    ::RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Korva\\Quorvane", L"LogDirectory");
    ::RegDeleteKeyW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\KorvA\\Korva NFS");
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
