#include "Rounds.h"

#include "Support/NetworkNamespace.h"
#include "Verdict.h"

#include <clocale>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <vector>

namespace Soak {

namespace {

using Seconds = std::chrono::duration<double>;

constexpr int longestOverrun = 4; ///< times the length asked for, where the machine is busy
constexpr std::size_t expectedHoldings = 100'000;

void printMinutes(Seconds passed, const Tally& tally) {
    std::printf("%6.1f min", passed.count() / 60);
    for (const auto& [what, count] : tally.counts())
        std::printf(", %llu %s", static_cast<unsigned long long>(count), what.c_str());
    std::puts("");
    std::fflush(stdout);
}

void judge(const Options& options, Tally& tally, const std::vector<Holding>& holdings) {
    const char* const name = options.name.c_str();
    std::printf("figure: %s: length: %g minutes, seed %llu\n", name, options.minutes,
                static_cast<unsigned long long>(options.seed));
    try {
        for (const auto& [text, isFlat] : driftsOf(holdings, options.judgeMemory)) {
            std::printf("figure: %s: %s\n", name, text.c_str());
            if (!isFlat)
                tally.find("not flat", text);
        }
    } catch (const std::invalid_argument& failure) {
        tally.find("the run", failure.what());
    }
    for (const auto& [what, count] : tally.counts())
        std::printf("figure: %s: %s: %llu\n", name, what.c_str(), static_cast<unsigned long long>(count));
}

} // namespace

bool playRounds(const Options& options, Tally& tally, const std::function<void(Seconds left)>& round) {
    const auto start = std::chrono::steady_clock::now();
    const auto passed = [start] { return Seconds(std::chrono::steady_clock::now() - start); };
    const Seconds length(options.minutes * 60);
    std::vector<Holding> holdings;
    holdings.reserve(expectedHoldings);
    int minutesPrinted = 0;
    while (passed() < length || (holdings.size() < fewestHoldings && passed() < longestOverrun * length)) {
        round(length - passed());
        holdings.push_back(Holding::now());
        if (passed() >= std::chrono::minutes(minutesPrinted + 1)) {
            ++minutesPrinted;
            printMinutes(passed(), tally);
        }
    }
    judge(options, tally, holdings);
    const bool passes = tally.counts().at("findings") == 0;
    std::printf("verdict: %s\n", passes ? "passed" : "FAILED");
    return passes;
}

int runProgram(const CommandLine::CommandLine& line, Options& options, int argc, char** argv,
               const std::function<bool()>& run) {
    line.options()
        .add("--minutes", options.minutes, "how long, 1 unless given; 0.5 will do")
        .range(0.001, 1e6);
    line.options().addUse<std::uint64_t>(
        "--seed", [&options](const std::uint64_t& seed) { options.seed = seed; },
        "what happens is drawn from it, 1 unless given");
    line.options().footer("Exit status: 0 nothing found, 1 something, 2 wrong usage.");
    const std::vector<char*> arguments(argv, argv + argc);
    if (const auto reply = line.read(argc, argv)) {
        std::printf("%s%s\n", reply->help.c_str(), reply->complaint.c_str());
        return reply->complaint.empty() ? 0 : 2;
    }
    options.ownNetworks = TestSupport::hasPrivateNetworks();
    if (!options.ownNetworks && TestSupport::privateNetworksAllowed())
        return TestSupport::runAgainWithPrivateNetworks(arguments);
    std::setlocale(LC_ALL, "C.UTF-8");
    Holding::prepare();
    std::printf("seed %llu, %g minutes, cameras on %s\n", static_cast<unsigned long long>(options.seed),
                options.minutes,
                options.ownNetworks ? "networks of their own"
                                    : "loopback: no networks may be made here, so no searches");
    try {
        return run() ? 0 : 1;
    } catch (const std::exception& failure) {
        std::printf("FOUND: the run broke off: %s\nverdict: FAILED\n", failure.what());
        return 1;
    }
}

} // namespace Soak
