// The plug-in at work for minutes or hours, while its cameras and their network misbehave: rounds of plays on
// all cameras at once, searches beside them, the plug-in reloaded now and then.

#include "Plays.h"

#include "DeviceControl/DeviceType.h"
#include "ReferenceHost/PluginLibrary.h"
#include "Support/LogCapture.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

using namespace std::chrono_literals;
using namespace Soak;

namespace {

using Clock = std::chrono::steady_clock;

/// One known model with pictures of its full size, and small pictures of odd sizes.
constexpr std::optional<Simulator::PictureSize> sizes[] = {
    std::nullopt, Simulator::PictureSize{64, 48}, Simulator::PictureSize{173, 97},
    Simulator::PictureSize{320, 240}, Simulator::PictureSize{33, 21}};

constexpr auto roundTime = 500ms;
constexpr auto slowPlayTime = 30s;
constexpr int capturesBeforeASearch = 6; ///< which most likely use all of the few exposures
constexpr int mostCapturesBesideASearch = 200;
constexpr int fewCapturesBesideASearch = 5; ///< of a camera that refuses them, which takes no time
constexpr auto longestAnswerTime = 900ms;
constexpr std::size_t slowRoundOneIn = 40;
constexpr std::size_t searchRoundOneIn = 4;
constexpr std::size_t reloadOneIn = 6;

#ifdef KORVA_SANITIZED
constexpr bool sanitized = true; // it keeps what is freed
#else
constexpr bool sanitized = false;
#endif

bool isOf(const DeviceTemplate& found, const SoakedCamera& camera) {
    return infoOf(found).getIpAddress() == wide(camera.address());
}

/// What a search meets.
struct Expected {
    std::string fault;
    bool isFound;
    std::chrono::nanoseconds waited{};
};

/// One thread, which has not started others before.
class Run {
public:
    Run(const Options& options, std::string plugin)
        : plugin_(std::move(plugin)), networks_(std::size(sizes), options.ownNetworks),
          random_(options.seed) {
        log4cxx::Logger::getRootLogger()->setLevel(log4cxx::Level::getOff());
        for (const char* const what :
             {"answers too late for a search", "not judged, as the machine was busy"})
            tally_.count(what, 0);
        for (std::size_t index = 0; index < std::size(sizes); ++index)
            cameras_.emplace_back(index, networks_, tally_, random_.bits(), sizes[index]);
        load();
        for (SoakedCamera& camera : cameras_) {
            camera.serve();
            camera.buildFromConnection(true, "first build");
        }
    }

    bool toItsEnd(const Options& options) {
        // What is made at first use is there before the first look at what is held.
        reload();
        if (networks_.areOwn())
            searchRound();
        playRound(false);
        return playRounds(options, tally_, [this](std::chrono::duration<double> left) { oneRound(left); });
    }

private:
    void load() {
        library_.emplace(plugin_);
        library_->initialize();
        for (SoakedCamera& camera : cameras_)
            camera.use(*library_->getDeviceTypes().at(0));
        tally_.count("loads of the plug-in");
    }

    void reload() {
        for (SoakedCamera& camera : cameras_)
            camera.forgetDevice();
        library_.reset();
        load();
        for (SoakedCamera& camera : cameras_)
            camera.buildFromDescription();
    }

    /// Runs `work` for each camera on a thread of its own; what one throws is a finding.
    void onAll(const std::function<void(SoakedCamera& camera, std::size_t index)>& work) {
        std::vector<std::jthread> threads;
        for (std::size_t index = 0; index < cameras_.size(); ++index) {
            threads.emplace_back([&camera = cameras_[index], &work, index] {
                try {
                    work(camera, index);
                } catch (const std::exception& failure) {
                    camera.find(failure.what(), "an exception");
                }
            });
        }
    }

    void playRound(bool isSlow) {
        const auto until = Clock::now() + roundTime;
        const std::size_t slowCamera = isSlow ? random_.below(cameras_.size()) : cameras_.size();
        std::atomic<bool> waiting = isSlow;
        onAll([&](SoakedCamera& camera, std::size_t index) {
            if (index == slowCamera) {
                playSlowly(camera);
                waiting = false;
            }
            do
                playQuickly(camera);
            while (Clock::now() < until || waiting);
        });
    }

    void searchRound() {
        std::vector<Expected> all;
        for (SoakedCamera& camera : cameras_) {
            const std::string fault = searchFault(random_);
            all.push_back({fault, outcomeOf(Faults::Operation::discover, fault).isGood});
            camera.serve(fault);
            camera.useExposures(SoakedCamera::fewExposures);
        }
        onAll([](SoakedCamera& camera, std::size_t) {
            for (int left = capturesBeforeASearch; left > 0; --left)
                camera.capture(Expect::picture, "before a search");
        });
        if (random_.oneIn(3)) {
            const std::size_t away = random_.below(cameras_.size());
            cameras_[away].leave();
            all[away] = {"away", false};
        }
        std::atomic<bool> searching = true;
        {
            std::jthread beside([&] {
                onAll([&](SoakedCamera& camera, std::size_t index) {
                    const bool isThere = all[index].fault != "away";
                    int left = isThere ? mostCapturesBesideASearch : fewCapturesBesideASearch;
                    for (; left > 0 && searching; --left)
                        camera.capture(isThere ? Expect::picture : Expect::nothing, "beside a search");
                });
            });
            search(all);
            searching = false;
        }
        for (SoakedCamera& camera : cameras_) {
            camera.useExposures(SoakedCamera::allExposures);
            camera.demandPicture("after a search");
        }
    }

    void search(std::vector<Expected>& all) {
        for (std::size_t index = 0; index < cameras_.size(); ++index)
            all[index].waited = cameras_[index].waited();
        const auto asked = Clock::now();
        auto templates = Soak::search(*library_->getDeviceTypes().at(0));
        tally_.count("searches");
        std::ptrdiff_t known = 0;
        for (std::size_t index = 0; index < cameras_.size(); ++index) {
            SoakedCamera& camera = cameras_[index];
            const auto& [fault, isFound, waited] = all[index];
            const auto times = std::ranges::count_if(
                templates, [&camera](const auto& found) { return found && isOf(*found, camera); });
            const std::string what = "found " + std::to_string(times) + " times";
            const std::string circumstance = "a search, fault: " + fault;
            if (times == 0 && isFound && camera.answersLaterThan(asked + longestAnswerTime))
                tally_.count("answers too late for a search");
            else if (times == 0 && isFound)
                camera.miss(what, circumstance, waited);
            else if (times != (isFound ? 1 : 0))
                camera.find(what, circumstance);
            known += times;
        }
        tally_.count("cameras found by searches", static_cast<std::uint64_t>(known));
        if (known != std::ssize(templates))
            tally_.find("a search", "it found what is no camera");
        // Kept only now, as one may belong to a camera that is at work.
        for (auto& found : templates)
            for (SoakedCamera& camera : cameras_)
                if (found && isOf(*found, camera))
                    camera.keep(std::move(found));
    }

    void oneRound(std::chrono::duration<double> left) {
        const std::uint64_t before = tally_.counts()[checksumLines];
        const TestSupport::LogCapture log("Plenar.KorvaCamera.KorvaInternalsComm", log4cxx::Level::getWarn());
        if (random_.oneIn(reloadOneIn))
            reload();
        if (networks_.areOwn() && random_.oneIn(searchRoundOneIn))
            searchRound();
        else
            playRound(random_.oneIn(slowRoundOneIn) && left > slowPlayTime);
        const auto lines = std::ranges::count_if(log.lines(), [](const TestSupport::LogLine& line) {
            return line.level == "WARN" && line.message.starts_with(checksumMessage);
        });
        const auto expected = tally_.counts()[checksumLines] - before;
        if (static_cast<std::uint64_t>(lines) != expected)
            tally_.find("a round", std::to_string(lines) + " warnings of wrong checksums, not " +
                                       std::to_string(expected));
        for (SoakedCamera& camera : cameras_)
            camera.leave();
    }

    std::string plugin_;
    Tally tally_;
    Integration::CameraNetworks networks_;
    Random random_;
    std::optional<ReferenceHost::PluginLibrary> library_;
    std::deque<SoakedCamera> cameras_; ///< behind the plug-in, whose devices they hold
};

} // namespace

int main(int argc, char** argv) {
    const CommandLine::CommandLine line("Plays captures, faults, broken connections, searches and rebuilds.");
    Options options{.name = "soak", .judgeMemory = !sanitized};
    std::string plugin = KORVA_PLUGIN;
    line.options().add("--plugin", plugin, "another than the built one");
    return runProgram(line, options, argc, argv, [&] { return Run(options, plugin).toItsEnd(options); });
}
