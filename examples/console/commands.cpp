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
        {L"restore",
         "FOLDER VMID [PATH]  Takes the Hyper-V writer through the restore of a machine of the snapshot in FOLDER, to where it "
         "was "
         "or to the folder PATH.",
         run_restore},
        {L"track", "FILE [BLOCKSIZE]  Tracks the changes of a disk file for a while.", run_track},
        {L"cluster", "[RESOURCE...]  Lists a cluster's volumes; finds and refreshes clustered machines.", run_cluster},
        {L"vss",
         "[VOLUME...]  Lists the VSS providers, which of them can snapshot the volumes, and asks for the writer's document.",
         run_vss},
    };
    return table;
}
