// 200,000 calls of every procedure in turn: what the process holds at a fifth and at the end.
#include <windows.h>
#include <winsock2.h>

#include <gtest/gtest.h>
#include <psapi.h>

#include "bench/harness.h"
#include "bench/served_peer.h"
#include "logging/default_log.h"

namespace {

constexpr std::size_t calls = 200'000;

struct held_t {
    double private_kib;
    double handles;

    static held_t now() {
        PROCESS_MEMORY_COUNTERS memory{};
        ::GetProcessMemoryInfo(::GetCurrentProcess(), &memory, sizeof memory);
        DWORD handles = 0;
        ::GetProcessHandleCount(::GetCurrentProcess(), &handles);
        return {static_cast<double>(memory.PagefileUsage) / 1024, static_cast<double>(handles)};
    }
};

// One way to make each procedure's call, on a client of its table.
struct step_t {
    const wire::row_t* row;
    std::shared_ptr<win::rpc::CRpcClientBase> client;
};

std::vector<step_t> all_steps(const bench::served_peers& peers) {
    std::vector<step_t> steps;
    std::size_t index = 0;
    for (const wire::table_t& table : wire::golden_tables()) {
        const auto client = table.make_client(win::rpc::rpc_functions_t::real());
        client->SetEndpoint(L"127.0.0.1", peers.ports()[index++]);
        client->SetAccount(L"KORVA", L"admin", L"password");
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
        const bench::served_peers peers(bench::served_peers::what::everything);
        const std::vector<step_t> steps = all_steps(peers);

        bench::bench_t bench("soak", argc, argv);
        held_t early{};
        for (std::size_t i = 0; i < calls; ++i) {
            if (i == calls / 5)
                early = held_t::now();
            const step_t& step = steps[i % steps.size()];
            step.row->run(*step.client);
        }
        const held_t late = held_t::now();
        std::printf("\n%zu calls of %zu procedures in turn\n", calls, steps.size());
        bench.figure("private KiB at 20 %", early.private_kib);
        bench.figure("private KiB at 100 %", late.private_kib);
        bench.aim_at_most("growth of private KiB", late.private_kib - early.private_kib, 0);
        bench.aim_at_most("growth of handles", late.handles - early.handles, 0);
        return bench.finish();
    });
}
