#pragma once
// A whole run: rounds of plays on all cameras at once, searches beside them, the plug-in reloaded now and
// then.

#include "Plays.h"
#include "Verdict.h"

#include "ReferenceHost/PluginLibrary.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace Soak {

struct Options {
    std::string plugin;
    double minutes = 1;
    std::uint64_t seed = 1;
    bool ownNetworks = false; ///< see CameraNetworks
    bool judgeMemory = true;  ///< false where a sanitizer keeps what is freed
};

/// One thread, which has not started others before.
class Run {
public:
    explicit Run(const Options& options);

    /// Runs for its minutes, prints a line for each and the figures. True where nothing was found and what
    /// the process holds is flat.
    bool toItsEnd();

private:
    using Clock = std::chrono::steady_clock;

    const DeviceType& type() const { return *plugin_->getDeviceTypes().at(0); }
    bool hasTimeFor(std::chrono::seconds time) const;

    bool needsMoreRounds() const;

    void loadPlugin();
    void buildFirstDevices();
    void warmUp();
    void reloadPlugin();
    void playRound();
    void searchRound();
    void search(const std::vector<bool>& isFound, const std::vector<std::string>& faults);
    void oneRound();
    void takeStock();
    void printLine() const;
    void printFigures(const Drift& drift) const;
    bool judge() const;

    Options options_;
    Clock::time_point start_ = Clock::now();
    Clock::time_point end_;
    Tally tally_;
    Integration::CameraNetworks networks_;
    Random random_;
    std::optional<ReferenceHost::PluginLibrary> plugin_;
    std::deque<SoakedCamera> cameras_; ///< behind the plug-in, whose devices they hold
    std::vector<Holding> holdings_;
    int minutesPrinted_ = 0;
};

} // namespace Soak
