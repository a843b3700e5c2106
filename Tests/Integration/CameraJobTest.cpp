// What becomes of a camera's pictures on their way to their files.

#include "Console/CameraJob.h"
#include "Console/CommandFailure.h"
#include "Console/FetchGate.h"
#include "Console/ProgressBar.h"
#include "Console/ToolLog.h"
#include "ToolRun.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <new>
#include <string>
#include <utility>
#include <vector>

using namespace Console;
using Integration::SimulatedCamera;

namespace {

/// Keeps what it is given.
class KeepingSink : public CaptureSink {
public:
    void take(FinishedPicture finished) override {
        std::unique_lock lock(mutex);
        if (awaitsAnother)
            another.wait_for(lock, std::chrono::minutes(1), [this] { return asked > 1; });
        askedAtTheFirst = taken.empty() ? asked : askedAtTheFirst;
        if (std::exchange(refusesOne, false))
            throw std::bad_alloc();
        taken.push_back(std::move(finished.result));
    }
    void warn(const Diagnosis::Verdict& /*warning*/) override {}
    std::string unusedName(const std::string& name) override { return name; }

    /// Also once before the first picture.
    void claimDumps(const std::string& /*address*/) override {
        const std::lock_guard lock(mutex);
        ++asked;
        another.notify_all();
    }

    std::mutex mutex;
    std::condition_variable another;
    int asked = -1;          ///< how many pictures the camera has been asked for
    int askedAtTheFirst = 0; ///< before the first was handed over
    bool awaitsAnother = false;
    bool refusesOne = false;
    std::vector<CaptureResult> taken;
};

/// Three pictures of 0.1 s.
void takeThree(const SimulatedCamera& simulated, KeepingSink& sink) {
    CaptureOptions options;
    options.camera.pluginFile = KORVA_PLUGIN;
    options.camera.descriptionFile = simulated.description;
    options.output = simulated.pictures.file("{number}.png");
    options.count = 3;
    options.exposures = {1};
    ProgressBar bar(nullptr);
    ToolLog log({}, &bar);
    const CameraHost host(options.camera, log);
    FetchGate gate(1);
    const Diagnosis::Facts computer;
    const CaptureTarget target{
        .address = "", .room = "", .camera = [&] { return host.cameraOf(options.camera.descriptionFile); }};
    CameraJob(target, {options, log, bar, gate, sink, computer}).run();
}

} // namespace

TEST(CameraJob, MakesAFileOfAPictureBesideTheNext) {
    const SimulatedCamera simulated;
    KeepingSink sink;
    sink.awaitsAnother = true;
    takeThree(simulated, sink);
    EXPECT_GE(sink.askedAtTheFirst, 2) << "one after the other";
    EXPECT_EQ(sink.taken.size(), 3u);
}

TEST(CameraJob, TellsOfThePictureThatWasLostOnTheWayAndKeepsTheOthers) {
    const SimulatedCamera simulated({"--fault", "take:delay=1*2", "--fault", "take:error=5"});
    KeepingSink sink;
    sink.refusesOne = true;
    takeThree(simulated, sink);
    ASSERT_EQ(sink.taken.size(), 3u);
    EXPECT_EQ(sink.taken[0].error.value().code, "no-memory");
    EXPECT_EQ(sink.taken[0].file, "");
    EXPECT_FALSE(sink.taken[1].error);
    EXPECT_EQ(sink.taken[1].file, simulated.pictures.file("2.png"));
    EXPECT_EQ(sink.taken[2].error.value().code, "camera-error");
}
