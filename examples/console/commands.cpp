#include "commands.h"

std::span<const command_t> commands() {
    static constexpr command_t table[] = {
        {L"invoke", "[NAME [XML]]  Tests the connection, runs the command NAME with XML, then once more with a block of bytes.",
         run_invoke},
        {L"snapshot",
         "SPEC FOLDER [VMID...]  Takes a snapshot of the host by the XML specification SPEC (or @FILE), lists the files of the "
         "machines, reports them as backed up and closes it; FOLDER gets what an import needs.",
         run_snapshot},
        {L"import", "FOLDER  Imports the snapshot of FOLDER on a proxy and shows where the last machine's files are.",
         run_import},
    };
    return table;
}
