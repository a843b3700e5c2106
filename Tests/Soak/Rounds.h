#pragma once
// What the soak and the attack share as programs: options, rounds until their time is over, figures and
// verdict.

#include "CommandLine/CommandLine.h"

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <map>
#include <mutex>
#include <string>

namespace Soak {

/// What a run has done, and what it has found. Any thread.
class Tally {
public:
    void count(const std::string& what, std::uint64_t times = 1) {
        const std::lock_guard lock(mutex_);
        counts_[what] += times;
    }
    /// Something that must not be; printed at once.
    void find(const std::string& where, const std::string& what) {
        count("findings");
        std::printf("FOUND: %s: %s\n", where.c_str(), what.c_str());
        std::fflush(stdout);
    }
    std::map<std::string, std::uint64_t> counts() const {
        const std::lock_guard lock(mutex_);
        return counts_;
    }

private:
    mutable std::mutex mutex_;
    std::map<std::string, std::uint64_t> counts_{{"findings", 0}};
};

struct Options {
    std::string name; ///< the figures'
    double minutes = 1;
    std::uint64_t seed = 1;
    bool judgeMemory = false;
    bool ownNetworks = false; ///< see CameraNetworks
};

/// Plays rounds, each told how much time is left, and looks at what the process holds after each.
/// Prints a line a minute, figures and a verdict. True where nothing was found and what the process holds is
/// flat.
bool playRounds(const Options& options, Tally& tally,
                const std::function<void(std::chrono::duration<double> left)>& round);

/// main(): reads `options`, beside those that `line` has, and runs in private networks where the system
/// allows that. Returns the exit status: 0 where `run` returns true, 1 where it does not, 2 for wrong usage.
int runProgram(const CommandLine::CommandLine& line, Options& options, int argc, char** argv,
               const std::function<bool()>& run);

} // namespace Soak
