// korva-lab.exe: what a console developer runs instead of a Hyper-V host.
#include <windows.h>

#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "foundation/convert.h"
#include "foundation/ctrl_c.h"
#include "foundation/errors.h"
#include "foundation/numbers.h"
#include "lab/failures.h"
#include "lab/host_model.h"
#include "lab/request_log.h"
#include "lab/server.h"

namespace {

constexpr char usage[] =
    R"(korva-lab.exe: the deployment, Hyper-V integration and invoker services on one TCP port, with a small make-believe host.

  --port N              listen on port N (default 2600; 0: any that is free; may be given several times)
  --polls N             a snapshot or an import is done at the N-th poll (default 2; 0: at once)
  --fail-work TEXT      snapshots and imports are begun, and then fail with TEXT
  --fail NAME=TEXT      the procedure NAME (DoRpc, HvPreRestore, ...) fails with TEXT (may be given several times)
  --reply-pause MS      wait before each reply (default 0; under Wine, whose server can hang without a pause, 5)
  --trace FILE          append every request as one line to FILE
  --quiet               do not print the requests

The specification of a snapshot can say otherwise: <Snapshot Polls="3" Fail="TEXT"><VM ID="..."/></Snapshot>.
The invoker answers <LabReply Command="NAME">INPUT</LabReply>, and a byte block by the block twice. Its commands Lab.Fail
(fails with the input as text), Lab.SetFailure (input: NAME=TEXT), Lab.Reset (the host as it is without options, nothing fails)
and Lab.Sleep (input: milliseconds) control the lab.
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
                throw exc::runtime_exc_t(text::narrow(name) + " needs a value.");
            return values[i];
        };
        const auto number = [&](std::uint32_t least, std::uint32_t most) {
            return text::read_number(text::narrow(name), value(), least, most);
        };
        if (name == L"--port")
            arguments.options.ports.push_back(number(0, 65535));
        else if (name == L"--polls")
            lab::host()->snapshots.polls = number(0, 1'000'000);
        else if (name == L"--fail-work")
            lab::host()->snapshots.failure = value();
        else if (name == L"--reply-pause")
            arguments.options.reply_pause_ms = number(0, 60'000);
        else if (name == L"--fail")
            lab::set_failure(text::narrow(value()));
        else if (name == L"--trace")
            lab::requests().write_to_file(value());
        else if (name == L"--quiet")
            lab::requests().show_on_console(false);
        else if (name == L"--help")
            arguments.help = true;
        else
            throw exc::runtime_exc_t("There is no option " + text::narrow(name) + "; see --help.");
    }
    if (arguments.options.ports.empty())
        arguments.options.ports.push_back(2600);
    return arguments;
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
        ::WaitForSingleObject(win::ctrl_c_event(), INFINITE);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "korva-lab: %s\n", error.what());
        return 1;
    }
}
