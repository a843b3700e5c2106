// Runs the rows in 21 interleaved rounds (or as many as --benchmark_repetitions says) and prints each stage's
// median beside the median of what it is measured against. With --check the exit status is 1 if a ratio is
// more than 15 % over its bound; a noisy machine needs that slack. Google Benchmark's own options work too.

#include "Platform/Memory.h"
#include "Rows.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr double slack = 1.15;

/// Keeps the time of every round, by benchmark.
class Rounds : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context&) override { return true; }

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs)
            if (run.run_type == Run::RT_Iteration && !run.error_occurred)
                milliseconds_[run.run_name.function_name].push_back(run.GetAdjustedRealTime());
    }

    std::optional<double> median(const std::string& name) const {
        const auto found = milliseconds_.find(name);
        if (found == milliseconds_.end())
            return std::nullopt;
        std::vector<double> times = found->second;
        const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
        std::nth_element(times.begin(), middle, times.end());
        return *middle;
    }

private:
    std::map<std::string, std::vector<double>> milliseconds_;
};

struct Outcome {
    int measured = 0;
    int overBound = 0;
};

Outcome print(const Rounds& rounds) {
    Outcome outcome;
    std::printf("| %-42s | %10s | %-42s | %10s | %6s | %7s |\n", "stage", "median ms", "beside it",
                "median ms", "ratio", "at most");
    std::printf("|%s|%s|%s|%s|%s|%s|\n", std::string(44, '-').c_str(), std::string(12, '-').c_str(),
                std::string(44, '-').c_str(), std::string(12, '-').c_str(), std::string(8, '-').c_str(),
                std::string(9, '-').c_str());
    for (const Benchmarks::Row& row : Benchmarks::rows()) {
        const auto stage = rounds.median(row.stageBenchmark());
        const auto beside = rounds.median(row.besideBenchmark());
        if (!stage || !beside)
            continue;
        const double ratio = *stage / *beside;
        const double judgedBy = row.atMost() * slack;
        const bool isOver = ratio > judgedBy;
        std::printf("| %-42s | %10.3f | %-42s | %10.3f | %6.3f | %7.5g |%s\n", row.name().c_str(), *stage,
                    row.besideName().c_str(), *beside, ratio, judgedBy, isOver ? " OVER" : "");
        ++outcome.measured;
        outcome.overBound += isOver ? 1 : 0;
    }
    return outcome;
}

/// The same once more for programs that collect figures.
void printFigures(const Rounds& rounds) {
    for (const Benchmarks::Row& row : Benchmarks::rows()) {
        const auto stage = rounds.median(row.stageBenchmark());
        const auto beside = rounds.median(row.besideBenchmark());
        if (stage && beside)
            std::printf("figure: %s: ratio %.3f to %s, at most %.5g (%.2f and 15 %% for a busy machine)\n",
                        row.name().c_str(), *stage / *beside, row.besideName().c_str(), row.atMost() * slack,
                        row.atMost());
    }
}

} // namespace

int main(int argc, char** argv) {
    Platform::keepFreedMemory(std::size_t{128} << 20); // as a host does that takes many pictures
    bool check = false;
    // What stands first can be overruled by what the user gives.
    std::string repetitions = "--benchmark_repetitions=21";
    std::string interleaving = "--benchmark_enable_random_interleaving=true";
    std::vector<char*> arguments{argv[0], repetitions.data(), interleaving.data()};
    for (int i = 1; i < argc; ++i) {
        if (std::string_view(argv[i]) == "--check")
            check = true;
        else
            arguments.push_back(argv[i]);
    }
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data()))
        return 2;

    Rounds rounds;
    benchmark::RunSpecifiedBenchmarks(&rounds);
    const Outcome outcome = print(rounds);
    printFigures(rounds);
    benchmark::Shutdown();
    if (outcome.measured == 0) {
        std::fputs("No row was measured.\n", stderr);
        return 2;
    }
    return check && outcome.overBound > 0 ? 1 : 0;
}
