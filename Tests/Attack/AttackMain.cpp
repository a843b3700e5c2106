// Cameras that lie, on real sockets, to host threads that load, use and unload the plug-in.

#include "Attacker.h"

#include "ImagingLibrary/image_t.h"
#include "Platform/DynamicLibrary.h"
#include "ReferenceHost/HostControl.h"
#include "ReferenceHost/PluginLibrary.h"
#include "Support/LogCapture.h"

#include <deque>
#include <exception>
#include <thread>
#include <vector>

using namespace Attack;

namespace {

constexpr std::size_t cameras = 4;
constexpr int operationsOfARound = 24;
constexpr int searchesOfARound = 3;
constexpr std::uint64_t searchRoundOneIn = 3;
constexpr auto captureSymbol = "_ZN5Korva7captureEP12Communicatorbbbib";

class Run {
public:
    Run(const Soak::Options& options, std::uint64_t round)
        : seed_(options.seed), round_(round), networks_(cameras, options.ownNetworks) {
        image_t::setByteLimit(mostPictureBytes);
        for (std::size_t index = 0; index < cameras; ++index)
            attackers_.emplace_back(networks_, index, tally_);
    }

    bool lasts(const Soak::Options& options) {
        return Soak::playRounds(options, tally_, [this](auto) { oneRound(); });
    }

private:
    std::string name() const { return "seed " + std::to_string(seed_) + ", round " + std::to_string(round_); }
    bool isHeard() const { return round_ % 2 == 0; }

    void oneRound() {
        tally_.count("rounds, each with its loads and unloads");
        actAtOnce();
        for (const Attacker& attacker : attackers_)
            attacker.awaitEnds();
        if (ReferenceHost::liveImageCount() != 0)
            tally_.find(name(), "images that nobody released");
        ++round_;
    }

    /// Every second round has no log, whose lock would bring the threads into an order.
    void actAtOnce() {
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
            ReferenceHost::PluginLibrary library(KORVA_PLUGIN);
            library.initialize();
            Platform::DynamicLibrary symbols;
            symbols.load(KORVA_PLUGIN);
            const auto capture = reinterpret_cast<decltype(Plugin::capture)>(symbols.find(captureSymbol));
            (this->*work)(thread, {*library.getDeviceTypes().at(0), capture, isHeard()}, random);
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
        const std::vector<Attacker*> sought{&attackers_[0], &attackers_[2]};
        for (Attacker* const attacker : sought)
            attacker->begin(plugin, random, name() + ", found camera");
        for (int turn = 0; turn < searchesOfARound; ++turn) {
            for (Attacker* const attacker : sought)
                attacker->awaitSearch();
            // On a busy machine a camera may answer too late.
            if (!areFound(plugin, sought) && !areFound(plugin, sought))
                tally_.find(name(), "a camera that two searches did not find");
        }
        for (Attacker* const attacker : sought)
            attacker->end();
    }

    bool areFound(const Plugin& plugin, const std::vector<Attacker*>& sought) {
        const auto templates = Soak::search(plugin.type);
        tally_.count("searches");
        bool areAllThere = true;
        std::vector<std::pair<Attacker*, const DeviceTemplate*>> found;
        for (Attacker* const attacker : sought) {
            const auto before = found.size();
            for (const auto& each : templates)
                if (attacker->isOf(*each))
                    found.emplace_back(attacker, each.get());
            const Faults::Outcome expected = attacker->foundBySearch();
            areAllThere = areAllThere && (found.size() > before || !expected.isSure || !expected.isGood);
            if (found.size() > before + 1)
                tally_.find(name(), "a camera found twice");
        }
        if (found.size() != templates.size())
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
    Soak::Tally tally_;
    std::deque<Attacker> attackers_;
};

} // namespace

int main(int argc, char** argv) {
    const CommandLine::CommandLine line("Attacks the plug-in.");
    Soak::Options options{.name = "attack, " KORVA_BUILT_WITH};
    std::size_t round = 0;
    line.options().add("--round", round, "which is the first, 0 unless given");
    return Soak::runProgram(line, options, argc, argv, [&] { return Run(options, round).lasts(options); });
}
