// korva-console.exe: what a backup console does with KorvaProxyClient.dll, one command a run.
#include <windows.h>

#include <objbase.h>

#include "calls.h"
#include "commands.h"
#include "output.h"
#include "steps.h"

namespace {

enum exit_code_t { done = 0, failed = 1, wrong_usage = 2, stopped = 130 };

struct apartment {
    // Wine takes the classes' threading model "Neutral" for the main single-threaded apartment: from any other one, calls would
    // go through proxies, which lose error objects.
    apartment() { check("CoInitializeEx", ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)); }
    ~apartment() { ::CoUninitialize(); }
};

const command_t& wanted_command(const options_t& options) {
    const command_t& command = find_command(options.command);
    const std::size_t count = options.arguments.size();
    if (!options.help && (count < command.least || count > command.most))
        throw usage_error(text::format("The arguments are: %1 %2; see %1 --help.", command.name, command.arguments));
    if (options.secure && command.run != run_invoke)
        throw usage_error("--secure is for invoke alone: the other services are not encrypted.");
    if (!options.help && options.account.empty() && ::_wgetenv(L"KORVA_PASSWORD"))
        throw usage_error("KORVA_PASSWORD is set, but no account: name it by --account.");
    return command;
}

int run(const options_t& options, const command_t& command) {
    const xml_output output(options.xml, options.command);
    exit_code_t code = done;
    catch_ctrl_c();
    try {
        const apartment com;
        command.run(options);
    } catch (const usage_error& error) {
        show_failure(error);
        code = wrong_usage;
    } catch (const std::exception& error) {
        show_failure(error);
        code = failed;
    }
    return asked_to_stop() ? stopped : code;  // whatever the call came to that was running then
}

}  // namespace

int wmain(int count, wchar_t** values) {
    ::SetConsoleOutputCP(CP_UTF8);
    try {
        const options_t options = read_options(count, values);
        if (options.command.empty()) {
            print_help();
            return options.help ? done : wrong_usage;
        }
        const command_t& command = wanted_command(options);
        if (!options.help)
            return run(options, command);
        print_help(command);
        return done;
    } catch (const std::exception& error) {
        show_failure(error);
        return wrong_usage;
    }
}
