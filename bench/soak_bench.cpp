// 200,000 calls of every procedure in turn: what the process holds after each fifth of them.
#include <windows.h>
#include <winsock2.h>

#include "bench/harness.h"
#include "bench/served_peer.h"
#include "logging/default_log.h"
#include "tests/process_state.h"

namespace {

constexpr std::size_t calls = 200'000;
constexpr std::size_t looks = 5;

// One way to make each procedure's call, on a client of its table.
struct step_t {
    const wire::row_t* row;
    std::shared_ptr<win::rpc::CRpcClientBase> client;
};

std::vector<step_t> all_steps(const bench::served_peers& peers) {
    std::vector<step_t> steps;
    std::size_t index = 0;
    for (const wire::table_t& table : wire::golden_tables()) {
        const auto client = wire::client_of(table, peers.ports()[index++]);
        std::vector<bool> seen(64);
        for (const wire::row_t& row : table.rows) {
            if (!seen[row.operation])
                steps.push_back({&row, client});
            seen[row.operation] = true;
        }
    }
    return steps;
}

}  // namespace

int main(int argc, char** argv) {
    return bench::run(argc, argv, [&] {
        logging::open_default_log();
        const bench::served_peers peers(bench::everything);
        const std::vector<step_t> steps = all_steps(peers);

        bench::bench_t bench("soak", argc, argv);
        std::printf("\n%zu calls of %zu procedures in turn\n", calls, steps.size());
        std::vector<double> kib, handles;
        for (std::size_t i = 0; i < calls; ++i) {
            const step_t& step = steps[i % steps.size()];
            if (step.row->run(*step.client) != step.row->outputs)
                throw std::runtime_error("not the reply that was sent: " + step.row->line);
            if ((i + 1) % (calls / looks) != 0)
                continue;
            kib.push_back(static_cast<double>(process_state::private_bytes()) / 1024);
            handles.push_back(process_state::open_handles());
            const std::string part = std::to_string((i + 1) * 100 / calls) + " %";
            bench.figure("private KiB at " + part, kib.back());
            bench.figure("handles at " + part, handles.back());
        }
        bench.aim_at_most("growth of private KiB from 20 % to 100 %", kib.back() - kib.front(), 0);
        bench.aim_at_most("growth of handles from 20 % to 100 %", handles.back() - handles.front(), 0);
        return bench.finish();
    });
}
