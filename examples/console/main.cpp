// korva-console.exe: what a backup console does with KorvaProxyClient.dll, one command a run.
#include <windows.h>

#include <objbase.h>

#include <algorithm>
#include <cstdio>
#include <stdexcept>

#include "calls.h"
#include "commands.h"
#include "foundation/convert.h"

namespace {

struct apartment {
    // Wine takes the classes' threading model "Neutral" for the main single-threaded apartment: from any other one, calls would
    // go through proxies, which lose error objects.
    apartment() { check("CoInitializeEx", ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)); }
    ~apartment() { ::CoUninitialize(); }
};

void print_help() {
    std::puts(
        "korva-console.exe [options] COMMAND [arguments]: drives a remote service through KorvaProxyClient.dll.\n"
        "\n"
        "  --host NAME       the service's host (localhost)\n"
        "  --port N          its TCP port (2600; 0 asks the host's endpoint mapper)\n"
        "  --account NAME    DOMAIN\\user (.\\operator); the password comes from KORVA_PASSWORD or is asked for\n"
        "  --secure          encrypt the connection\n"
        "\n"
        "Commands:");
    for (const command_t& command : commands())
        std::printf("  %ls %s\n", command.name, command.usage);
}

int run(int count, wchar_t** values) {
    const options_t options = read_options(count, values);
    if (options.command.empty()) {
        print_help();
        return 0;
    }
    const auto command =
        std::ranges::find(commands(), options.command, [](const command_t& known) { return std::wstring_view(known.name); });
    if (command == commands().end())
        throw std::invalid_argument("There is no command " + text::narrow(options.command) + "; see --help.");
    const apartment com;
    command->run(options);
    return 0;
}

}  // namespace

int wmain(int count, wchar_t** values) {
    ::SetConsoleOutputCP(CP_UTF8);
    try {
        return run(count, values);
    } catch (const call_failed& failure) {
        show(failure.what(), "failed with HRESULT " + text::hex8(static_cast<std::uint32_t>(failure.result())));
        for (const std::string& line : failure.lines())
            std::printf("    %s\n", line.c_str());
        return 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "korva-console: %s\n", error.what());
        return 2;
    }
}
