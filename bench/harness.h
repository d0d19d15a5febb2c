#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <utility>
#include <vector>

// Compares ways to do the same work, in one process, round by round:
//
//   bench::bench_t bench("log", argc, argv);  // ./bench.sh log
//   const auto one = bench.compare("one thread", 200'000, "lines", {{"ours", write_ours}, {"bare", write_bare}});
//   bench.aim("ours to bare", one.rate_ratio("ours", "bare"), 0.6);
//   return bench.finish();  // the table stands on the screen and in build/bench/log.json
namespace bench {

// One way to do the work; `before` (not timed) clears up what the last round left.
struct contender_t {
    std::string name;
    std::function<void()> run;
    std::function<void()> before = [] {};
};

inline double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const std::size_t half = values.size() / 2;
    return values.size() % 2 ? values[half] : (values[half - 1] + values[half]) / 2;
}

// Seconds of every round, by contender.
class comparison_t {
public:
    struct row_t {
        std::string name;
        std::vector<double> seconds;
    };

    std::string title;
    std::string unit;
    double amount = 0;
    std::vector<row_t> rows;
    std::vector<double> again;  // the first contender once more in every round: what a ratio of 1 looks like here

    const row_t& row(const std::string& name) const {
        return *std::find_if(rows.begin(), rows.end(), [&](const row_t& row) { return row.name == name; });
    }

    // How many times the rate of `other` the rate of `name` is: the median of the rounds' ratios, because the machine's load
    // changes from round to round but hardly within one.
    double rate_ratio(const std::string& name, const std::string& other) const {
        return median_ratio(row(other).seconds, row(name).seconds);
    }
    double time_ratio(const std::string& name, const std::string& other) const {
        return median_ratio(row(name).seconds, row(other).seconds);
    }
    double noise() const { return median_ratio(again, rows.front().seconds); }

private:
    static double median_ratio(const std::vector<double>& left, const std::vector<double>& right) {
        std::vector<double> ratios;
        for (std::size_t i = 0; i < left.size(); ++i)
            ratios.push_back(left[i] / right[i]);
        return median(std::move(ratios));
    }
};

class bench_t {
public:
    // The first argument of the program names the file for the figures; without it they are only printed.
    bench_t(std::string name, int argc, char** argv) : name_(std::move(name)), file_(argc > 1 ? argv[1] : "") {}

    // Every round runs every contender once, forwards and backwards in turn; one round before the first is not counted.
    comparison_t compare(std::string title, double amount, std::string unit, const std::vector<contender_t>& contenders,
                         unsigned rounds = 7) {
        comparison_t result;
        result.title = std::move(title);
        result.unit = std::move(unit);
        result.amount = amount;
        for (const contender_t& contender : contenders)
            result.rows.push_back({contender.name, {}});
        for (unsigned round = 0; round <= rounds; ++round) {
            const std::size_t count = contenders.size() + 1;
            for (std::size_t step = 0; step < count; ++step) {
                const std::size_t index = round % 2 ? count - 1 - step : step;
                const double seconds = time(contenders[index % contenders.size()]);
                if (round > 0)
                    (index < contenders.size() ? result.rows[index].seconds : result.again).push_back(seconds);
            }
        }
        print(result);
        comparisons_.push_back(result);
        return result;
    }

    // A figure that is to be at least (or at most) so much. A figure that misses its aim is told, not hidden; it is no failure
    // of the program: machines differ.
    void aim(const std::string& what, double value, double least) { note_aim(what, value, least, true); }
    void aim_at_most(const std::string& what, double value, double most) { note_aim(what, value, most, false); }

    // A figure beside the times.
    void figure(const std::string& what, double value) {
        std::printf("  %-52s %10.3f\n", what.c_str(), value);
        figures_.push_back({what, value});
    }

    int finish() const {
        if (file_.empty())
            return 0;
        std::FILE* const file = std::fopen(file_.c_str(), "wb");
        if (!file) {
            std::fprintf(stderr, "cannot write %s\n", file_.c_str());
            return 1;
        }
        std::fprintf(file, "{\"name\": \"%s\",\n \"comparisons\": [", name_.c_str());
        const char* between = "";
        for (const comparison_t& comparison : comparisons_) {
            std::fprintf(file,
                         "%s\n  {\"title\": \"%s\", \"amount\": %.17g, \"unit\": \"%s\", \"self_ratio\": %.4f, \"rows\": [",
                         between, comparison.title.c_str(), comparison.amount, comparison.unit.c_str(), comparison.noise());
            between = "";
            for (const auto& row : comparison.rows) {
                std::fprintf(file, "%s\n    {\"name\": \"%s\", \"median_s\": %.6f, \"seconds\": [", between, row.name.c_str(),
                             median(row.seconds));
                for (std::size_t i = 0; i < row.seconds.size(); ++i)
                    std::fprintf(file, "%s%.6f", i ? ", " : "", row.seconds[i]);
                std::fprintf(file, "]}");
                between = ",";
            }
            std::fprintf(file, "]}");
            between = ",";
        }
        std::fprintf(file, "],\n \"figures\": {");
        between = "";
        for (const auto& [what, value] : figures_) {
            std::fprintf(file, "%s\n  \"%s\": %.6f", between, what.c_str(), value);
            between = ",";
        }
        std::fprintf(file, "}}\n");
        return std::fclose(file) == 0 ? 0 : 1;
    }

private:
    static double time(const contender_t& contender) {
        contender.before();
        const auto start = std::chrono::steady_clock::now();
        contender.run();
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }

    static void print(const comparison_t& result) {
        const std::string& first = result.rows.front().name;
        std::printf("\n%s (%.0f %s, %zu rounds)\n", result.title.c_str(), result.amount, result.unit.c_str(),
                    result.rows.front().seconds.size());
        std::printf("  %-24s %12s %12s %12s %14s %10s\n", "", "median s", "fastest s", "slowest s",
                    (result.unit + "/s").c_str(), "to first");
        for (const auto& row : result.rows) {
            const auto [fastest, slowest] = std::minmax_element(row.seconds.begin(), row.seconds.end());
            const double middle = median(row.seconds);
            std::printf("  %-24s %12.4f %12.4f %12.4f %14.0f %10.3f\n", row.name.c_str(), middle, *fastest, *slowest,
                        result.amount / middle, result.rate_ratio(row.name, first));
        }
        std::printf("  %-24s %12.4f %*s %10.3f  (noise: the first to itself)\n", (first + " again").c_str(),
                    median(result.again), 40, "", 1 / result.noise());
        std::fflush(stdout);
    }

    void note_aim(const std::string& what, double value, double bound, bool least) {
        const bool met = least ? value >= bound : value <= bound;
        std::printf("  %-52s %10.3f  aim: at %s %.2f, %s\n", what.c_str(), value, least ? "least" : "most", bound,
                    met ? "met" : "MISSED");
        figures_.push_back({what, value});
        figures_.push_back({what + (least ? ": at least" : ": at most"), bound});
    }

    std::string name_;
    std::string file_;
    std::vector<comparison_t> comparisons_;
    std::vector<std::pair<std::string, double>> figures_;
};

}  // namespace bench
