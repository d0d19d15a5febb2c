// korva-lab.exe: what a console developer runs instead of a Hyper-V host.
#include <windows.h>

#include <cstdio>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "foundation/convert.h"
#include "foundation/handles.h"
#include "lab/failures.h"
#include "lab/request_log.h"
#include "lab/server.h"

namespace {

constexpr char usage[] =
    R"(korva-lab.exe: the deployment, Hyper-V integration and invoker services on one TCP port, with a small make-believe host.

  --port N          listen on port N (default 2600; 0: any that is free; may be given several times)
  --fail NAME=TEXT  the procedure NAME (DoRpc, HvPreRestore, ...) fails with TEXT (may be given several times)
  --trace FILE      append every request as one line to FILE
  --quiet           do not print the requests

The invoker answers <LabReply Command="NAME">INPUT</LabReply>, and a byte block by the block twice. Its commands Lab.Fail
(fails with the input as text), Lab.SetFailure (input: NAME=TEXT), Lab.Reset and Lab.Sleep (input: milliseconds) control the lab.
The lab runs until Ctrl-C.
)";

struct arguments_t {
    lab::server_options options = {.ports = {}, .mapper = true};
    bool help = false;
};

arguments_t read_arguments(int count, wchar_t** values) {
    arguments_t arguments;
    lab::requests().show_on_console(true);
    for (int i = 1; i < count; ++i) {
        const std::wstring_view name = values[i];
        const auto value = [&]() -> std::wstring {
            if (++i == count)
                throw std::invalid_argument(text::narrow(name) + " needs a value.");
            return values[i];
        };
        if (name == L"--port")
            arguments.options.ports.push_back(std::stoul(value()));
        else if (name == L"--fail")
            lab::set_failure(text::narrow(value()));
        else if (name == L"--trace")
            lab::requests().write_to_file(value());
        else if (name == L"--quiet")
            lab::requests().show_on_console(false);
        else if (name == L"--help")
            arguments.help = true;
        else
            throw std::invalid_argument("There is no option " + text::narrow(name) + "; see --help.");
    }
    if (arguments.options.ports.empty())
        arguments.options.ports.push_back(2600);
    return arguments;
}

HANDLE stop_requested;

void wait_for_ctrl_c() {
    const win::unique_handle stop(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    stop_requested = stop.get();
    ::SetConsoleCtrlHandler([](DWORD) -> BOOL { return ::SetEvent(stop_requested); }, TRUE);
    ::WaitForSingleObject(stop.get(), INFINITE);
}

}  // namespace

int wmain(int count, wchar_t** values) {
    ::SetConsoleOutputCP(CP_UTF8);
    try {
        const arguments_t arguments = read_arguments(count, values);
        if (arguments.help) {
            std::fputs(usage, stdout);
            return 0;
        }
        const lab::server server(arguments.options);
        for (const unsigned port : server.ports())
            std::printf("korva-lab serves on port %u\n", port);
        std::puts(server.maps_endpoints()
                      ? "korva-lab serves the endpoint mapper on port 135"
                      : "korva-lab cannot serve the endpoint mapper (port 135): clients have to name the port");
        std::fflush(stdout);
        wait_for_ctrl_c();
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "korva-lab: %s\n", error.what());
        return 1;
    }
}
