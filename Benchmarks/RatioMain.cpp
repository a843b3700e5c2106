// Runs the rows in 21 interleaved rounds (or as many as --benchmark_repetitions says), times each stage
// beside what it is measured against and prints both: the least, the median, and by how much half of the
// rounds differ. A ratio of medians that the noise leaves open is measured again, with more rounds. With
// --check the exit status is 1 if a ratio is over its bound. --given-back: the process gives freed memory
// back as the C library does by itself, and only the rows that have a bound for that are run. Google
// Benchmark's own options work too.

#include "Platform/Memory.h"
#include "Rows.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <initializer_list>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace {

using Benchmarks::Row;

// A ratio is known where its standard error is below this share of it, or too far from its bound to matter.
constexpr double knownWell = 0.02;
constexpr int mostMeasurements = 5;

/// What the rounds of one benchmark took, in milliseconds.
class Times {
public:
    void add(double milliseconds) {
        times_.insert(std::upper_bound(times_.begin(), times_.end(), milliseconds), milliseconds);
    }
    bool empty() const { return times_.empty(); }
    double least() const { return times_.front(); }
    double median() const { return at(0.5); }
    /// Between the quartiles, as a share of the median.
    double spread() const { return (at(0.75) - at(0.25)) / median(); }
    /// The standard error of the median as a share of it, as of normally distributed times: 1.253 of that of
    /// the mean, and the quartiles are 1.349 standard deviations apart.
    double error() const { return 1.253 / 1.349 * spread() / std::sqrt(static_cast<double>(times_.size())); }

private:
    double at(double share) const {
        return times_[static_cast<std::size_t>(share * static_cast<double>(times_.size() - 1) + 0.5)];
    }

    std::vector<double> times_; // in order
};

/// Keeps the time of every round, by benchmark.
class Rounds : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context&) override { return true; }

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs)
            if (run.run_type == Run::RT_Iteration && !run.error_occurred)
                times_[run.run_name.function_name].add(run.GetAdjustedRealTime());
    }

    const Times& of(const std::string& name) { return times_[name]; }

private:
    std::map<std::string, Times> times_;
};

/// A row, once both of its benchmarks were measured.
struct Measured {
    const Row& row;
    const Times& stage;
    const Times& beside;
    double atMost;

    double ratio() const { return stage.median() / beside.median(); }
    double error() const { return std::hypot(stage.error(), beside.error()); }
    bool isOver() const { return ratio() > atMost; }
    /// True if the noise could have moved the ratio over its bound or under it.
    bool isOpen() const { return error() > knownWell && std::abs(ratio() / atMost - 1) < 3 * error(); }
};

std::vector<Measured> measuredRows(Rounds& rounds, bool isGivenBack) {
    std::vector<Measured> measured;
    for (const Row& row : Benchmarks::rows()) {
        const auto atMost = isGivenBack ? row.atMostGivenBack() : row.atMost();
        const Times& stage = rounds.of(row.stageBenchmark());
        const Times& beside = rounds.of(row.besideBenchmark());
        if (atMost && !stage.empty() && !beside.empty())
            measured.push_back({row, stage, beside, *atMost});
    }
    return measured;
}

/// What chooses the benchmarks of these rows.
std::string choiceOf(const std::vector<std::string>& names) {
    std::string choice;
    for (const std::string& name : names)
        choice += (choice.empty() ? "^(" : "|") + name;
    return choice.empty() ? choice : choice + ")/";
}

/// What is asked for, and what the noise leaves open of it several times.
void measure(Rounds& rounds, bool isGivenBack) {
    std::vector<std::string> names;
    for (const Row& row : Benchmarks::rows())
        if (isGivenBack && row.atMostGivenBack())
            names.push_back(row.name());
    std::string choice = isGivenBack ? choiceOf(names) : benchmark::GetBenchmarkFilter();
    for (int i = 0; i < mostMeasurements; ++i) {
        benchmark::RunSpecifiedBenchmarks(&rounds, choice);
        names.clear();
        for (const Measured& each : measuredRows(rounds, isGivenBack))
            if (each.isOpen())
                names.push_back(each.row.name());
        if (names.empty())
            return;
        choice = choiceOf(names);
    }
}

void printRule(std::initializer_list<std::size_t> widths) {
    for (const std::size_t width : widths)
        std::printf("|%s", std::string(width + 2, '-').c_str());
    std::printf("|\n");
}

void print(const std::vector<Measured>& rows) {
    std::printf("| %-42s | %8s | %8s | %6s | %-44s | %8s | %8s | %6s | %6s | %7s |\n", "stage", "least ms",
                "median", "spread", "beside it", "least ms", "median", "spread", "ratio", "at most");
    printRule({42, 8, 8, 6, 44, 8, 8, 6, 6, 7});
    for (const Measured& each : rows)
        std::printf(
            "| %-42s | %8.3f | %8.3f | %4.0f %% | %-44s | %8.3f | %8.3f | %4.0f %% | %6.3f | %7.5g |%s\n",
            each.row.name().c_str(), each.stage.least(), each.stage.median(), 100 * each.stage.spread(),
            each.row.besideName().c_str(), each.beside.least(), each.beside.median(),
            100 * each.beside.spread(), each.ratio(), each.atMost, each.isOver() ? " OVER" : "");
}

/// The same once more for programs that collect figures.
void printFigures(const std::vector<Measured>& rows, bool isGivenBack) {
    for (const Measured& each : rows)
        std::printf("figure: %s%s: ratio %.3f to %s, at most %.5g\n", each.row.name().c_str(),
                    isGivenBack ? ", freed memory given back" : "", each.ratio(),
                    each.row.besideName().c_str(), each.atMost);
}

} // namespace

int main(int argc, char** argv) {
    bool check = false;
    bool isGivenBack = false;
    // What stands first can be overruled by what the user gives.
    std::string repetitions = "--benchmark_repetitions=21";
    std::string interleaving = "--benchmark_enable_random_interleaving=true";
    std::vector<char*> arguments{argv[0], repetitions.data(), interleaving.data()};
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (argument == "--check")
            check = true;
        else if (argument == "--given-back")
            isGivenBack = true;
        else
            arguments.push_back(argv[i]);
    }
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data()))
        return 2;
    if (!isGivenBack)
        Platform::keepFreedMemory(std::size_t{128} << 20); // as a host does that takes many pictures

    Rounds rounds;
    measure(rounds, isGivenBack);
    const std::vector<Measured> rows = measuredRows(rounds, isGivenBack);
    print(rows);
    printFigures(rows, isGivenBack);
    benchmark::Shutdown();
    if (rows.empty()) {
        std::fputs("No row was measured.\n", stderr);
        return 2;
    }
    return check && std::any_of(rows.begin(), rows.end(), [](const Measured& each) { return each.isOver(); });
}
