// 1, 8 and 64 clients in as many threads, each with an endpoint of its own in one of four processes: calls a second in all,
// and the client's processor time for each call.
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
            hosts.push_back(std::make_unique<bench::served_peers>(bench::served_peers::what::invoker, most / processes));
        std::vector<std::shared_ptr<win::rpc::CRpcClientBase>> clients;
        for (unsigned i = 0; i < most; ++i)
            clients.push_back(bench::make_client(hosts[i % processes]->ports()[i / processes]));

        bench::bench_t bench("hosts", argc, argv);
        std::vector<bench::contender_t> contenders;
        std::vector<double> used[3];
        const unsigned counts[] = {1, 8, most};
        for (std::size_t i = 0; i < std::size(counts); ++i) {
            const auto run = [&, count = counts[i], &used = used[i]] {
                const double before = bench::processor_seconds();
                std::vector<std::jthread> threads;
                for (unsigned client = 0; client < count; ++client)
                    threads.emplace_back([&, client] {
                        for (unsigned call = 0; call < calls / count; ++call)
                            bench::call(*clients[client]);
                    });
                threads.clear();
                used.push_back((bench::processor_seconds() - before) / calls);
            };
            contenders.push_back({std::to_string(counts[i]) + " clients", run});
        }
        const auto result = bench.compare("small commands to many hosts", calls, "calls", contenders);
        for (std::size_t i = 0; i < std::size(counts); ++i)
            bench.figure(contenders[i].name + ": client CPU, microseconds a call", bench::median(used[i]) * 1e6);
        bench.aim("calls a second, 64 clients to 8", result.rate_ratio("64 clients", "8 clients"), 1);
        bench.figure("calls a second, 8 clients to 1", result.rate_ratio("8 clients", "1 clients"));
        bench.aim_at_most("client CPU per call, 64 clients to 1", bench::median(used[2]) / bench::median(used[0]), 1.2);
        return bench.finish();
    });
}
