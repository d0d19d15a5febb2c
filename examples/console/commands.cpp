#include "commands.h"

#include <algorithm>
#include <cstdio>

#include "foundation/format.h"

std::span<const command_t> commands() {
    constexpr std::size_t any = ~std::size_t{0};
    static constexpr command_t table[] = {
        {L"invoke", "[NAME [XML]]", 0, 2, "Sends a command to the invoker service.",
         R"(Tests the connection, runs the command NAME (GetHostInfo) with XML or @FILE, then once more with a block of bytes.

  korva-console --host hv-01 invoke GetHostInfo "<Host/>")",
         run_invoke},
        {L"snapshot", "SPEC FOLDER [VMID...]", 2, any, "Takes a VSS snapshot on the host and backs machines up from it.",
         R"(SPEC is the XML specification of the snapshot, or @FILE. The files of each machine are listed, the machine is reported as
backed up, and the snapshot is closed, whatever happens. FOLDER, which is made, gets what import and restore need; what an
earlier run has saved there goes. Without a VMID the machines are those of the backup document, as the lab writes it.

  korva-console --host hv-01 snapshot "<Snapshot/>" C:\saved 6f8d3c1e-0f5b-4a7e-9a53-0c2f5b1a9d02)",
         run_snapshot},
        {L"import", "FOLDER", 1, 1, "Imports a saved snapshot on a proxy and shows where the machines' files are.",
         R"(FOLDER is that of the snapshot command. The host is the proxy; the imported snapshot is closed, whatever happens.

  korva-console --host proxy-01 import C:\saved)",
         run_import},
        {L"close", "OPERATION", 1, 1, "Closes the snapshot of an operation that nobody waited for.",
         R"(A snapshot or an import that was interrupted, or took longer than --wait allows, goes on on its host; what it makes stays
open there. OPERATION is the ID that was shown as it began.

  korva-console --host hv-01 close 90fca9d4-fe6a-420a-b0d6-941ddbcf3ca2)",
         run_close},
        {L"restore", "FOLDER VMID [PATH]", 2, 3, "Takes the Hyper-V writer through the restore of a machine.",
         R"(FOLDER is that of the snapshot command. The machine goes to where it was, or to the folder PATH on the host. A restore that
fails is reported as failed, and its session is closed.

  korva-console --host hv-01 restore C:\saved 6f8d3c1e-0f5b-4a7e-9a53-0c2f5b1a9d02 R:\restored)",
         run_restore},
        {L"track", "FILE [BLOCKSIZE]", 1, 2, "Tracks the changes of a disk file for a while.",
         R"(Registers FILE of the host with blocks of BLOCKSIZE bytes (65536), reads its changes and lets it go again.

  korva-console --host hv-01 track D:\vm\web\system.vhd)",
         run_track},
        {L"cluster", "[RESOURCE...]", 0, any, "Lists a cluster's volumes; finds and refreshes clustered machines.",
         R"(The host is a node of the cluster. RESOURCE is the name of a machine's resource; its configuration is read anew.

  korva-console --host node-01 cluster "Virtual Machine mail")",
         run_cluster},
        {L"vss", "[VOLUME...]", 0, any, "Tells the VSS providers, what they can snapshot, and the writer's document.",
         R"(VOLUME is a volume or a file of the host; every provider is asked about every one of them.

  korva-console --host hv-01 vss C:\ClusterStorage\Volume1 D:\)",
         run_vss},
    };
    return table;
}

const command_t& find_command(const std::wstring& name) {
    const auto found = std::ranges::find(commands(), name, [](const command_t& known) { return std::wstring(known.name); });
    if (found == commands().end())
        throw usage_error(text::format("There is no command '%1'; see --help.", name));
    return *found;
}

void print_help() {
    std::puts(
        "korva-console [options] COMMAND [arguments]: drives a remote service through KorvaProxyClient.dll.\n"
        "\n"
        "Commands (korva-console COMMAND --help tells more):");
    for (const command_t& command : commands())
        std::printf("  %-9ls %s\n", command.name, command.summary);
    std::puts(
        "\n"
        "Options:\n"
        "  --host NAME     the service's host (localhost)\n"
        "  --port N        its TCP port (2600; 0 asks the host's endpoint mapper)\n"
        "  --account NAME  DOMAIN\\user (your own logon); the password comes from KORVA_PASSWORD or is asked for\n"
        "  --secure        encrypt the connection (invoke alone)\n"
        "  --wait SECONDS  how long a snapshot or an import may take (3600)\n"
        "  --xml           print one XML document instead of text; progress goes to standard error\n"
        "  --              what follows are arguments\n"
        "\n"
        "Errors go to standard error; with --xml, those of the command into the document.\n"
        "Exit codes: 0 done, 1 failed, 2 the command line is wrong, 130 interrupted by Ctrl-C: what was begun on the host is\n"
        "tidied up, but for a snapshot or an import that it still makes ('close' ends that). A second Ctrl-C ends\n"
        "at once.");
}

void print_help(const command_t& command) {
    std::printf("korva-console [options] %ls %s\n\n%s\n\n%s\n", command.name, command.arguments, command.summary,
                command.details);
}
