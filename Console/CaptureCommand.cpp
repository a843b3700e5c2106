#include "CaptureCommand.h"

#include "CameraSearch.h"
#include "CaptureReport.h"
#include "CaptureRun.h"
#include "CommandFailure.h"
#include "CommandRun.h"

#include "Platform/Terminal.h"

#include <exception>
#include <memory>
#include <string>

namespace Console {

namespace {

/// The failures of single cameras have been said as they came.
ExitStatus statusOf(const CaptureReport& report, std::size_t wanted) {
    if (report.pictures() == wanted)
        return report.lostDumps.empty() && !report.searchTrouble ? ExitStatus::done
                                                                 : ExitStatus::partlyFailed;
    return report.pictures() == 0 ? ExitStatus::failed : ExitStatus::partlyFailed;
}

/// Of several failures that there are some; of one, itself.
std::optional<Diagnosis::Verdict> errorOf(const CaptureReport& report, std::size_t wanted) {
    if (report.pictures() == wanted && report.lostDumps.empty())
        return report.searchTrouble;
    if (report.pictures() == wanted)
        return report.lostDumps.front();
    if (report.results.size() == 1 && report.results.front().error)
        return report.results.front().error;
    return Diagnosis::verdictOn({.what = report.pictures() == 0 ? Diagnosis::Obstacle::allPictures
                                                                : Diagnosis::Obstacle::somePictures,
                                 .reason = lastLine(report, wanted)});
}

/// Destroys a run, unless a thread that was left behind may use it: a worker all of it, a thread of a search
/// or of an identification what the run has set up for the plug-in.
struct EndOfRun {
    void operator()(CaptureRun* run) const {
        if (isThreadLeftBehind())
            run->leave();
        else
            delete run;
    }
};

/// Fills the report, also where it throws.
ExitStatus takeAll(const CaptureOptions& options, const CommonOptions& common, CaptureReport& report) {
    requireThatTheyGoTogether(options);
    const std::unique_ptr<CaptureRun, EndOfRun> run(new CaptureRun(options, common));
    try {
        run->takeAll();
    } catch (const std::exception&) {
        report = run->report();
        throw;
    }
    report = run->report();
    const std::size_t wanted = run->wantedPictures();
    report.error = errorOf(report, wanted);
    const bool isOne = wanted == static_cast<std::size_t>(options.picturesOfEach());
    if (!isOne && !options.json)
        say(lastLine(report, wanted));
    run->writeSheet();
    if (Platform::interrupted() && report.results.size() < wanted)
        throw interruption();
    return statusOf(report, wanted);
}

} // namespace

ExitStatus runCapture(const CaptureOptions& options, const CommonOptions& common) {
    return runCommand({}, [&] {
        CaptureReport report;
        try {
            applyAndRemark(common); // here, so that programs are told why it failed
            const ExitStatus status = takeAll(options, common, report);
            if (options.json)
                say(jsonReport(options, report));
            return status;
        } catch (const std::exception& error) {
            report.error = verdictFrom(error);
            if (options.json)
                say(jsonReport(options, report));
            throw;
        }
    });
}

} // namespace Console
