// Cameras that lie, on real sockets, to host threads that load, use and unload the plug-in. See usage.

#include "Attacker.h"

#include "DeviceControl/BroadcastWorkerObserver.h"
#include "DeviceControl/DeviceFramework1Locator.h"
#include "ImagingLibrary/image_t.h"
#include "Platform/DynamicLibrary.h"
#include "ReferenceHost/HostControl.h"
#include "ReferenceHost/PluginLibrary.h"
#include "Support/LogCapture.h"
#include "Support/NetworkNamespace.h"
#include "Verdict.h"

#include <chrono>
#include <clocale>
#include <cstdlib>
#include <deque>
#include <exception>
#include <thread>

using namespace Attack;

namespace {

constexpr const char* usage =
    "usage: Attack [--minutes N] [--seed S] [--round R]\n"
    "Attacks the plug-in for N minutes (1 unless given) with what is drawn from seed S (1 unless given), "
    "from "
    "round\n"
    "R on (0 unless given). Exit status: 0 nothing found, 1 something, 2 wrong usage.\n";

constexpr std::size_t cameras = 4;
constexpr int operationsOfARound = 24;
constexpr int searchesOfARound = 3;
constexpr std::uint64_t searchRoundOneIn = 3;
constexpr auto captureSymbol = "_ZN5Korva7captureEP12Communicatorbbbib";

/// The plug-in, which each host thread loads for itself.
class Loaded {
public:
    explicit Loaded(bool isHeard) : isHeard_(isHeard) {
        library_.initialize();
        symbols_.load(KORVA_PLUGIN);
    }
    Plugin plugin() const {
        return {*library_.getDeviceTypes().at(0),
                reinterpret_cast<decltype(Plugin::capture)>(symbols_.find(captureSymbol)), isHeard_};
    }

private:
    bool isHeard_;
    ReferenceHost::PluginLibrary library_{KORVA_PLUGIN};
    Platform::DynamicLibrary symbols_;
};

struct Finder : BroadcastWorkerObserver {
    void deviceFound(DeviceTemplate* found, int) override { templates.emplace_back(found); }
    std::vector<std::unique_ptr<DeviceTemplate>> templates;
};

class Run {
public:
    Run(std::uint64_t seed, std::uint64_t round, bool ownNetworks)
        : seed_(seed), round_(round), networks_(cameras, ownNetworks) {
        image_t::setByteLimit(mostPictureBytes);
        for (std::size_t index = 0; index < cameras; ++index)
            attackers_.emplace_back(networks_, index, tally_);
    }

    bool lasts(std::chrono::duration<double> time) {
        const auto end = std::chrono::steady_clock::now() + time;
        for (; std::chrono::steady_clock::now() < end || holdings_.size() < Soak::Drift::fewestHoldings;
             ++round_) {
            oneRound();
            for (const Attacker& attacker : attackers_)
                attacker.awaitEnds();
            holdings_.push_back(Soak::Holding::now());
            if (ReferenceHost::liveImageCount() != 0)
                tally_.find(name(), "images that nobody released");
        }
        for (const std::string& flaw : Soak::notFlat(Soak::Drift(holdings_), false))
            tally_.find(name(), "not flat: " + flaw);
        tally_.counts["findings"] += 0;
        tally_.counts["rounds, each with its loads and unloads"] = holdings_.size();
        for (const auto& [what, count] : tally_.counts)
            std::printf("figure: attack, %s: %s: %llu\n", KORVA_BUILT_WITH, what.c_str(),
                        static_cast<unsigned long long>(count));
        return tally_.counts["findings"] == 0;
    }

private:
    std::string name() const { return "seed " + std::to_string(seed_) + ", round " + std::to_string(round_); }
    bool isHeard() const { return round_ % 2 == 0; }

    /// Every second round has no log, whose lock would bring the threads into an order.
    void oneRound() {
        std::optional<TestSupport::LogCapture> log;
        log4cxx::Logger::getRootLogger()->setLevel(log4cxx::Level::getOff());
        if (isHeard()) {
            log.emplace("Plenar", log4cxx::Level::getDebug());
            log->onLine([](const TestSupport::LogLine& line) {
                linesHeard += line.level == "WARN" || line.level == "ERROR" ? 1 : 0;
            });
        }
        const bool searches = networks_.areOwn() && round_ % searchRoundOneIn == 0;
        std::vector<std::jthread> threads;
        for (std::size_t index = searches ? 1 : 0; index < cameras; index += searches ? 2 : 1)
            threads.emplace_back([this, index] { host(index, &Run::attack); });
        if (searches)
            threads.emplace_back([this] { host(0, &Run::search); });
    }

    /// A host's thread, from loading to unloading.
    void host(std::size_t thread, void (Run::*work)(std::size_t, const Plugin&, Random&)) {
        try {
            Random random(seed_ * 1'000'003 + round_ * 101 + thread);
            const Loaded loaded(isHeard());
            (this->*work)(thread, loaded.plugin(), random);
        } catch (const std::exception& failure) {
            tally_.find(name(), failure.what());
        }
    }

    void attack(std::size_t index, const Plugin& plugin, Random& random) {
        attackers_[index].begin(plugin, random, name() + ", camera " + std::to_string(index));
        attackers_[index].work(operationsOfARound);
        attackers_[index].end();
    }

    /// The even cameras are searched for, beside the work on the odd ones.
    void search(std::size_t, const Plugin& plugin, Random& random) {
        for (std::size_t index = 0; index < cameras; index += 2)
            attackers_[index].begin(plugin, random, name() + ", found camera " + std::to_string(index));
        for (int turn = 0; turn < searchesOfARound; ++turn) {
            for (std::size_t index = 0; index < cameras; index += 2)
                attackers_[index].awaitSearch();
            // On a busy machine a camera may answer too late.
            if (!areFound(plugin) && !areFound(plugin))
                tally_.find(name(), "a camera that two searches did not find");
        }
        for (std::size_t index = 0; index < cameras; index += 2)
            attackers_[index].end();
    }

    bool areFound(const Plugin& plugin) {
        Finder finder;
        plugin.type.getLocator().broadcastObserverSearch(&finder, 0);
        tally_.count("searches");
        bool areAllThere = true;
        std::vector<std::pair<Attacker*, const DeviceTemplate*>> found;
        for (std::size_t index = 0; index < cameras; index += 2) {
            const auto before = found.size();
            for (const auto& each : finder.templates)
                if (attackers_[index].isOf(*each))
                    found.emplace_back(&attackers_[index], each.get());
            const Faults::Outcome expected = attackers_[index].foundBySearch();
            areAllThere = areAllThere && (found.size() > before || !expected.isSure || !expected.isGood);
            if (found.size() > before + 1)
                tally_.find(name(), "a camera found twice");
        }
        if (found.size() != finder.templates.size())
            tally_.find(name(), "a camera that nobody has");
        // Another search would find other cameras.
        for (const auto& [attacker, each] : areAllThere ? found : decltype(found)()) {
            tally_.count("cameras found");
            attacker->useTemplate(*each);
        }
        return areAllThere;
    }

    std::uint64_t seed_;
    std::uint64_t round_;
    Integration::CameraNetworks networks_;
    Tally tally_;
    std::deque<Attacker> attackers_;
    std::vector<Soak::Holding> holdings_;
};

} // namespace

int main(int argc, char** argv) {
    const std::vector<char*> arguments(argv, argv + argc);
    std::map<std::string, double> options{{"--minutes", 1}, {"--seed", 1}, {"--round", 0}};
    bool isRight = argc % 2 == 1;
    for (std::size_t at = 1; at + 1 < arguments.size(); at += 2) {
        isRight = isRight && options.contains(arguments[at]);
        options[arguments[at]] = std::atof(arguments[at + 1]);
    }
    if (!isRight) {
        std::fputs(usage, stderr);
        return 2;
    }
    const bool ownNetworks = TestSupport::hasPrivateNetworks();
    if (!ownNetworks && TestSupport::privateNetworksAllowed())
        return TestSupport::runAgainWithPrivateNetworks(arguments);
    std::setlocale(LC_ALL, "C.UTF-8");
    const auto number = [&options](const char* option) {
        return static_cast<std::uint64_t>(options[option]);
    };
    const std::chrono::duration<double> time(options["--minutes"] * 60);
    std::printf("seed %.0f, %g minutes%s\n", options["--seed"], options["--minutes"],
                ownNetworks ? "" : ", on loopback, so without searches");
    try {
        return Run(number("--seed"), number("--round"), ownNetworks).lasts(time) ? 0 : 1;
    } catch (const std::exception& failure) {
        std::printf("FOUND: the attack broke off: %s\n", failure.what());
        return 1;
    }
}
