#include "commands.h"

std::span<const command_t> commands() {
    static constexpr command_t table[] = {
        {L"invoke", "[NAME [XML]]  Tests the connection, runs the command NAME with XML, then once more with a block of bytes.",
         run_invoke},
    };
    return table;
}
