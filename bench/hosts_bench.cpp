// 1, 8 and 64 clients in as many threads, each with an endpoint of its own in one of four processes: calls a second in all,
// and the client's processor time for each call; beside as many bare stubs, which show what the platform allows.
#include <map>
#include <thread>

#include "bench/harness.h"
#include "bench/invoker_client.h"
#include "bench/processor_time.h"
#include "bench/served_peer.h"
#include "logging/default_log.h"

int main(int argc, char** argv) {
    return bench::run(argc, argv, [&] {
        constexpr unsigned calls = 6400, processes = 4, most = 64;
        logging::open_default_log();
        std::vector<std::unique_ptr<bench::served_peers>> hosts;
        for (unsigned i = 0; i < processes; ++i)
            hosts.push_back(std::make_unique<bench::served_peers>("invoker", most / processes));
        std::vector<std::shared_ptr<win::rpc::CRpcClientBase>> clients;
        for (unsigned i = 0; i < most; ++i)
            clients.push_back(bench::make_client(hosts[i % processes]->ports()[i / processes]));

        // Every client's share of the calls in a thread of its own.
        const auto on_threads = [&](unsigned count, const auto& share) {
            std::vector<std::jthread> threads;
            for (unsigned client = 0; client < count; ++client)
                threads.emplace_back([&, client] { share(*clients[client], calls / count); });
        };
        std::map<unsigned, bench::processor_times> used;
        const auto through_client = [&](unsigned count) {
            const auto run = [&, count] {
                on_threads(count, [](win::rpc::CRpcClientBase& client, unsigned share) {
                    for (unsigned call = 0; call < share; ++call)
                        bench::call(client);
                });
            };
            return bench::contender_t{std::to_string(count) + " clients", used[count].around(run)};
        };
        const auto by_stub = [&](unsigned count) {
            return bench::contender_t{std::to_string(count) + " bare stubs",
                                      [&, count] { on_threads(count, bench::call_bare); }};
        };

        bench::bench_t bench("hosts", argc, argv);
        const auto result =
            bench.compare("small commands to many hosts", calls, "calls",
                          {through_client(1), through_client(8), through_client(most), by_stub(8), by_stub(most)}, 5);
        for (const auto& [count, times] : used)
            bench.figure(std::to_string(count) + " clients: client CPU, microseconds a call", times.median() / calls * 1e6);
        bench.aim("calls a second, 64 clients to 8", result.rate_ratio("64 clients", "8 clients"), 1);
        bench.figure("calls a second, 64 bare stubs to 8", result.rate_ratio("64 bare stubs", "8 bare stubs"));
        bench.figure("calls a second, 64 clients to 64 bare stubs", result.rate_ratio("64 clients", "64 bare stubs"));
        bench.figure("calls a second, 8 clients to 1", result.rate_ratio("8 clients", "1 clients"));
        bench.aim_at_most("client CPU per call, 64 clients to 1", used[most].median() / used[1].median(), 1.2);
        return bench.finish();
    });
}
