// The reparse points of a played volume are updated: 1,000,000 index entries, one in a hundred a junction and the others
// deduplicated files; how the time grows with the entries, and how much memory the entries take.
#include <windows.h>

#include <cstdlib>

#include "bench/harness.h"
#include "tests/process_state.h"
#include "tests/vdisk/model_volume.h"
#include "vdisk/reparse_updater.h"

using namespace impl::vdmount;

namespace {

constexpr std::size_t few = 100'000;
constexpr std::size_t many = 1'000'000;
constexpr std::size_t entries_per_junction = 100;

// Updates a volume that is in no memory: every point is the same junction.
void update(std::size_t entries) {
    model_volume_t model;
    model_volume_t::point_t junction{.tag = tag_mount_point, .data = set_request(mount_point_layout, L"\\??\\C:\\Data")};
    std::size_t set = 0;
    model.index_size = [&] { return entries; };
    model.tag_of = [](std::size_t i) { return i % entries_per_junction == 0 ? tag_mount_point : tag_deduplication; };
    model.point_at = [&](std::size_t) -> model_volume_t::point_t& {
        set += !junction.set.empty();
        junction.set.clear();
        return junction;
    };
    const auto functions = model.functions();
    const device_map_t devices = {{L"\\??\\c:", L"\\??\\E:\\Mnt\\C"}};
    update_volume(volume_context_t(model.path, true, functions), devices, static_cast<std::uint32_t>(entries));
    set += !junction.set.empty();
    const std::size_t junctions = (entries + entries_per_junction - 1) / entries_per_junction;
    if (set != junctions) {
        std::fprintf(stderr, "%zu points were set instead of %zu\n", set, junctions);
        std::exit(1);
    }
}

double peak_memory() { return static_cast<double>(process_state::memory().PeakWorkingSetSize); }

}  // namespace

int main(int argc, char** argv) {
    bench::bench_t bench("reparse", argc, argv);

    // Before anything else has raised the peak.
    update(1024);
    const double before = peak_memory();
    update(many);
    bench.aim_at_most("peak growth, bytes an entry", (peak_memory() - before) / many, 40);

    // As many entries either way, so that the machine's load weighs on both alike.
    const auto ten_volumes = [] {
        for (std::size_t done = 0; done < many; done += few)
            update(few);
    };
    const auto result = bench.compare("update, one entry in a hundred a junction", many, "entries",
                                      {{"10 times 100,000", ten_volumes}, {"1,000,000 at once", [] { update(many); }}}, 11);
    bench.aim_at_most("time of 1,000,000 to 100,000 entries",
                      result.time_ratio("1,000,000 at once", "10 times 100,000") * many / few, 11);
    return bench.finish();
}
