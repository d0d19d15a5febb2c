// A small command through the client, with the log on, beside the bare stub on the same binding.
#include "bench/harness.h"
#include "bench/invoker_client.h"
#include "bench/served_peer.h"
#include "logging/default_log.h"

int main(int argc, char** argv) {
    return bench::run(argc, argv, [&] {
        constexpr unsigned calls = 2000;
        logging::open_default_log();
        const bench::served_peers peers("invoker");
        const auto client = bench::make_client(peers.ports().front());

        bench::bench_t bench("call", argc, argv);
        const auto result = bench.compare("a small command", calls, "calls",
                                          {{"Call",
                                            [&] {
                                                for (unsigned i = 0; i < calls; ++i)
                                                    bench::call(*client);
                                            }},
                                           {"bare stub", [&] { bench::call_bare(*client, calls); }}},
                                          11);
        bench.aim("Call to bare stub", result.rate_ratio("Call", "bare stub"), 0.95);
        return bench.finish();
    });
}
