#include "Run.h"

#include "DeviceControl/BroadcastWorkerObserver.h"
#include "DeviceControl/DeviceFramework1Locator.h"
#include "DeviceControl/DeviceType.h"
#include "NativeCameraControl/NativeCameraTemplate.h"
#include "Support/LogCapture.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <stdexcept>
#include <thread>

using namespace std::chrono_literals;

namespace Soak {

namespace {

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
constexpr int longestOverrun = 4; ///< times the length asked for, where the machine is busy
constexpr std::size_t slowRoundOneIn = 40;
constexpr std::size_t searchRoundOneIn = 4;
constexpr std::size_t reloadOneIn = 6;
constexpr std::size_t expectedHoldings = 100'000;
constexpr double bytesPerMiB = 1 << 20;
constexpr double bytesPerKiB = 1 << 10;

/// Runs `work` for each camera on a thread of its own; what one throws is a finding.
template <typename Work>
void onAll(std::deque<SoakedCamera>& cameras, const Work& work) {
    std::vector<std::jthread> threads;
    for (std::size_t index = 0; index < cameras.size(); ++index) {
        threads.emplace_back([&camera = cameras[index], &work, index] {
            try {
                work(camera, index);
            } catch (const std::exception& failure) {
                camera.find(failure.what(), "an exception");
            }
        });
    }
}

struct Finder : BroadcastWorkerObserver {
    void deviceFound(DeviceTemplate* found, int) override { templates.emplace_back(found); }
    std::vector<std::unique_ptr<DeviceTemplate>> templates;
};

std::string addressOf(const DeviceTemplate& found) {
    const std::wstring address =
        dynamic_cast<const NativeCameraTemplate&>(found).getCameraInfo().getIpAddress();
    return {address.begin(), address.end()};
}

std::string linesOf(const TestSupport::LogCapture& log) {
    std::string lines;
    for (const auto& [level, message] : log.texts())
        lines.append("\n    ").append(level).append(" ").append(message);
    return lines;
}

/// Counts the warnings of wrong checksums while it lives.
class ChecksumLines {
public:
    std::uint64_t count() const {
        return static_cast<std::uint64_t>(std::ranges::count_if(log_.lines(), [](const auto& line) {
            return line.level == "WARN" && line.message.starts_with("Korva Response failed chksum");
        }));
    }

private:
    TestSupport::LogCapture log_{"Plenar.KorvaCamera.KorvaInternalsComm", log4cxx::Level::getWarn()};
};

} // namespace

Run::Run(const Options& options)
    : options_(options), end_(start_ + std::chrono::duration_cast<Clock::duration>(options.minutes * 60.0s)),
      networks_(std::size(sizes), options.ownNetworks), random_(options.seed) {
    log4cxx::Logger::getRootLogger()->setLevel(log4cxx::Level::getOff());
    holdings_.reserve(expectedHoldings);
    for (std::size_t index = 0; index < std::size(sizes); ++index)
        cameras_.emplace_back(index, networks_, tally_, random_.bits(), sizes[index]);
    loadPlugin();
    buildFirstDevices();
}

bool Run::hasTimeFor(std::chrono::seconds time) const {
    return Clock::now() + time < end_;
}

bool Run::needsMoreRounds() const {
    return holdings_.size() < Drift::fewestHoldings &&
           Clock::now() < start_ + longestOverrun * (end_ - start_);
}

void Run::loadPlugin() {
    plugin_.emplace(options_.plugin);
    plugin_->initialize();
    ++tally_.loads;
}

void Run::buildFirstDevices() {
    for (SoakedCamera& camera : cameras_) {
        camera.serve();
        camera.buildFromConnection(type(), true, "first build");
    }
}

/// One of each kind of round: what is made at first use is there before the first look at what is held.
void Run::warmUp() {
    reloadPlugin();
    if (networks_.areOwn())
        searchRound();
    playRound();
}

void Run::reloadPlugin() {
    for (SoakedCamera& camera : cameras_)
        camera.forgetDevice();
    plugin_.reset();
    loadPlugin();
    for (SoakedCamera& camera : cameras_)
        camera.buildFromDescription(type());
}

void Run::playRound() {
    const auto until = Clock::now() + roundTime;
    const bool slow = random_.oneIn(slowRoundOneIn) && hasTimeFor(slowPlayTime);
    const std::size_t slowCamera = slow ? random_.below(cameras_.size()) : cameras_.size();
    std::atomic<bool> waiting = slow;
    onAll(cameras_, [&](SoakedCamera& camera, std::size_t index) {
        const Stage stage{camera, index, networks_, type(), tally_};
        if (index == slowCamera) {
            playSlowly(stage);
            waiting = false;
        }
        do
            playQuickly(stage);
        while (Clock::now() < until || waiting);
    });
}

void Run::searchRound() {
    std::vector<bool> isFound;
    std::vector<std::string> faults;
    for (SoakedCamera& camera : cameras_) {
        const std::string fault = random_.oneIn(3) ? "" : random_.of(searchFaults);
        faults.emplace_back(fault);
        isFound.push_back(outcomeOf(Faults::Operation::discover, fault).isGood);
        camera.serve(fault);
        camera.useExposures(SoakedCamera::fewExposures);
    }
    onAll(cameras_, [](SoakedCamera& camera, std::size_t) {
        for (int left = capturesBeforeASearch; left > 0; --left)
            camera.capture(Expect::picture, "before a search");
    });
    const bool oneIsAway = random_.oneIn(3);
    if (oneIsAway) {
        const std::size_t away = random_.below(cameras_.size());
        cameras_[away].leave();
        isFound[away] = false;
        faults[away] = "away";
    }
    std::atomic<bool> searching = true;
    {
        std::jthread host([&] {
            onAll(cameras_, [&](SoakedCamera& camera, std::size_t index) {
                const bool isThere = faults[index] != "away";
                int left = isThere ? mostCapturesBesideASearch : fewCapturesBesideASearch;
                for (; left > 0 && searching; --left)
                    camera.capture(isThere ? Expect::picture : Expect::nothing, "beside a search");
            });
        });
        search(isFound, faults);
        searching = false;
    }
    for (SoakedCamera& camera : cameras_) {
        camera.useExposures(SoakedCamera::allExposures);
        demandPicture(camera, "after a search");
    }
}

void Run::search(const std::vector<bool>& isFound, const std::vector<std::string>& faults) {
    Finder finder;
    const TestSupport::LogCapture log("Plenar.KorvaCamera.KorvaCameraLocator", log4cxx::Level::getInfo());
    std::vector<ProcessorWait> waits;
    for (const SoakedCamera& camera : cameras_)
        waits.push_back(camera.startWait());
    const auto asked = Clock::now();
    type().getLocator().broadcastObserverSearch(&finder, 0);
    ++tally_.searches;
    std::ptrdiff_t known = 0;
    for (std::size_t index = 0; index < cameras_.size(); ++index) {
        SoakedCamera& camera = cameras_[index];
        const auto times = std::ranges::count_if(finder.templates, [&](const auto& found) {
            return found && addressOf(*found) == camera.address();
        });
        const std::string what = "found " + std::to_string(times) + " times; the log:" + linesOf(log);
        const std::string circumstance = "a search, fault: " + faults[index];
        if (times == 0 && isFound[index] && camera.answersLaterThan(asked + longestAnswerTime))
            ++tally_.lateAnswers;
        else if (times == 0 && isFound[index])
            camera.miss(what, circumstance, waits[index]);
        else if (times != (isFound[index] ? 1 : 0))
            camera.find(what, circumstance);
        known += times;
    }
    tally_.camerasFound += static_cast<std::uint64_t>(known);
    if (known != std::ssize(finder.templates))
        tally_.find("a search that found what is no camera:" + linesOf(log));
    // Kept only now, as one may belong to a camera that is at work.
    for (auto& found : finder.templates)
        for (SoakedCamera& camera : cameras_)
            if (found && addressOf(*found) == camera.address())
                camera.keep(std::move(found));
}

void Run::oneRound() {
    const std::uint64_t before = tally_.checksumLines;
    const ChecksumLines lines;
    if (random_.oneIn(reloadOneIn))
        reloadPlugin();
    if (networks_.areOwn() && random_.oneIn(searchRoundOneIn))
        searchRound();
    else
        playRound();
    if (lines.count() != tally_.checksumLines - before)
        tally_.find("a round: " + std::to_string(lines.count()) + " warnings of wrong checksums, not " +
                    std::to_string(tally_.checksumLines - before));
}

void Run::takeStock() {
    for (SoakedCamera& camera : cameras_)
        camera.leave();
    holdings_.push_back(Holding::now());
}

void Run::printLine() const {
    const Holding& now = holdings_.back();
    const std::chrono::duration<double> passed = Clock::now() - start_;
    std::printf("%6.1f min: ", passed.count() / 60);
    for (const auto& [name, count] : tally_.counts())
        std::printf("%llu %s, ", static_cast<unsigned long long>(count), name);
    std::printf("%.1f MiB resident, %.3f MiB heap in use, %d descriptors, %d threads\n",
                static_cast<double>(now.residentBytes) / bytesPerMiB,
                static_cast<double>(now.heapBytes) / bytesPerMiB, static_cast<int>(now.descriptors),
                static_cast<int>(now.threads));
    std::fflush(stdout);
}

bool Run::judge() const {
    std::vector<std::string> found;
    try {
        const Drift drift(holdings_);
        found = notFlat(drift, options_.judgeMemory);
        printFigures(drift);
    } catch (const std::invalid_argument& failure) {
        found.emplace_back(failure.what());
    }
    if (!options_.judgeMemory)
        std::puts("memory is not judged: a sanitizer keeps what is freed");
    for (const std::string& what : found)
        std::printf("NOT FLAT: %s\n", what.c_str());
    const bool passed = found.empty() && tally_.findings == 0;
    std::printf("verdict: %s\n", passed ? "passed" : "FAILED");
    return passed;
}

void Run::printFigures(const Drift& drift) const {
    std::printf("figure: soak: length: %g minutes, seed %llu\n", options_.minutes,
                static_cast<unsigned long long>(options_.seed));
    for (const auto& [name, count] : tally_.counts())
        std::printf("figure: soak: %s: %llu\n", name, static_cast<unsigned long long>(count));
    const auto print = [&drift](const char* name, const char* unit, auto Holding::*what, double part) {
        std::printf("figure: soak: %s, first third to last: %.10g to %.10g %s\n", name,
                    static_cast<double>(drift.first.*what) / part,
                    static_cast<double>(drift.last.*what) / part, unit);
    };
    print("heap in use", "KiB", &Holding::heapBytes, bytesPerKiB);
    print("resident", "KiB", &Holding::residentBytes, bytesPerKiB);
    print("descriptors", "open", &Holding::descriptors, 1);
    print("threads", "alive", &Holding::threads, 1);
}

bool Run::toItsEnd() {
    std::printf("seed %llu, %g minutes, %zu cameras%s\n", static_cast<unsigned long long>(options_.seed),
                options_.minutes, cameras_.size(),
                options_.ownNetworks ? " on networks of their own"
                                     : " on loopback: no networks may be made here, so no searches");
    warmUp();
    while (Clock::now() < end_ || needsMoreRounds()) {
        oneRound();
        takeStock();
        const bool minuteIsOver = Clock::now() - start_ >= std::chrono::minutes(minutesPrinted_ + 1);
        if (minuteIsOver)
            ++minutesPrinted_;
        if (minuteIsOver)
            printLine();
    }
    if (minutesPrinted_ == 0)
        printLine();
    return judge();
}

} // namespace Soak
