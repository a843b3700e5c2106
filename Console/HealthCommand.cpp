#include "HealthCommand.h"

#include "CameraHost.h"
#include "CameraUse.h"
#include "CommandRun.h"
#include "FailureAdvice.h"
#include "ProgressBar.h"
#include "ToolLog.h"

#include "Platform/Kernel.h"
#include "Platform/StandardError.h"
#include "Platform/Terminal.h"
#include "Platform/Text.h"

namespace Console {

namespace {

constexpr DWORD pollMs = 50;
constexpr int pollsBetweenProbes = 20;

void waitForNextProbe() {
    for (int i = 0; i < pollsBetweenProbes && !Platform::interrupted(); ++i)
        Sleep(pollMs);
}

/// Probes one camera, again and again.
class Watch {
public:
    Watch(NativeCamera& camera, ToolLog& log, ProgressBar& bar, const TimeLimits& limits)
        : use_(camera, bar, limits), log_(log), place_(placeOf(camera)) {}

    /// Prints what is new. A probe that Ctrl-C ended says nothing.
    void probe() {
        const std::optional<NetworkHealth> reported = use_.probe();
        const std::vector<std::string> remarks = log_.takeRemarks();
        if (Platform::interrupted())
            return;
        reason_ = reported ? reasonOf(remarks) : "";
        const std::string line = healthLine(place_, reported, reason_);
        if (line != lastLine_)
            say(line);
        lastLine_ = line;
    }

    /// Throws CommandFailure if the last probe that was not interrupted had failed.
    void judge() const {
        if (!reason_.empty())
            throw CommandFailure("the camera at " + place_ + " does not answer; try: " + adviceFor(reason_));
    }

private:
    CameraUse use_;
    ToolLog& log_;
    std::string place_;
    std::string reason_; ///< empty while the camera answers
    std::string lastLine_;
};

} // namespace

void addHealthOptions(const CommandLine::Options& command, HealthOptions& options) {
    addAddressOrDescription(command, options.camera);
    command
        .addFlag("--watch", options.watch,
                 "Ask again each second until Ctrl-C, and print a line whenever something has changed")
        .placeholder(" ");
    addPluginOption(command, options.camera);
    command.footer(
        "ADDRESS identifies the camera first, which a camera that has failed may not answer; --from "
        "does without.\n\nExit status: 0 the camera answers (of --watch: at the end); 1 it does not, or "
        "the plug-in failed; 2 wrong usage.");
}

std::string healthLine(const std::string& place, const std::optional<NetworkHealth>& reported,
                       const std::string& reason) {
    if (!reported)
        return place + ": good, the camera answers";
    return place + ": " + std::to_string(reported->getCode()) + " " +
           Platform::utf8FromWide(reported->getText()) + ": " + reason;
}

ExitStatus runHealth(const HealthOptions& options, const CommonOptions& common) {
    return runCommand(common, OnInterrupt::end, [&] {
        ProgressBar bar(Platform::standardError());
        ToolLog log(common.log, &bar);
        const CameraHost host(options.camera, log);
        const CameraPointer camera = host.cameraNamedBy(options.camera);
        warn(log.takeRemarks());
        // The probes can be interrupted, unlike an identification.
        Platform::catchInterrupts();
        Watch watch(*camera, log, bar, options.camera.limits);
        watch.probe();
        while (options.watch && !Platform::interrupted()) {
            waitForNextProbe();
            if (!Platform::interrupted())
                watch.probe();
        }
        if (Platform::interrupted() && !options.watch)
            throw CommandFailure("interrupted");
        watch.judge();
    });
}

} // namespace Console
