#include "Rows.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <utility>

namespace Benchmarks {

namespace {

constexpr int runsOfARound = 5;

std::vector<Row>& table() {
    static std::vector<Row> all;
    return all;
}

void enter(const std::string& name, MakeWork makeWork) {
    const auto timeRuns = [makeWork = std::move(makeWork)](benchmark::State& state) {
        const Work work = makeWork();
        for (auto iteration : state) {
            static_cast<void>(iteration);
            if (work.prepare)
                work.prepare();
            const auto start = std::chrono::steady_clock::now();
            work.run();
            state.SetIterationTime(
                std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        }
    };
    benchmark::RegisterBenchmark(name.c_str(), timeRuns)
        ->UseManualTime()
        ->Iterations(runsOfARound)
        ->Unit(benchmark::kMillisecond);
}

} // namespace

Row::Row(std::string name, double atMost, std::string besideName, MakeWork stage, MakeWork beside,
         std::optional<double> atMostGivenBack)
    : name_(std::move(name)), besideName_(std::move(besideName)), atMost_(atMost),
      atMostGivenBack_(atMostGivenBack) {
    enter(stageBenchmark(), std::move(stage));
    enter(besideBenchmark(), std::move(beside));
    table().push_back(*this);
}

const std::vector<Row>& rows() {
    return table();
}

} // namespace Benchmarks
