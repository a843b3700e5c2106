#pragma once
// One run of `korva capture`: its cameras on threads of their own, its files and words on the caller's.

#include "CameraHost.h"
#include "CameraJob.h"
#include "CaptureOptions.h"
#include "CaptureReport.h"
#include "CaptureTargets.h"
#include "CommonOptions.h"
#include "FetchGate.h"
#include "FileNames.h"
#include "ProgressBar.h"
#include "SheetFile.h"
#include "ToolLog.h"

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace Console {

class CaptureRun : private CaptureSink {
public:
    /// Loads the plug-in; throws CommandFailure. `options` outlive it.
    CaptureRun(const CaptureOptions& options, const CommonOptions& common);
    CaptureRun(const CaptureRun&) = delete;
    CaptureRun& operator=(const CaptureRun&) = delete;

    /// Has its threads end with the pictures they are at, and waits for that. It must not be destroyed where
    /// a thread of the tool was left behind: see leave().
    ~CaptureRun() override;

    /// Takes all pictures, writes their files and says each as it comes; adds to the report. After Ctrl-C it
    /// returns within half a second and leaves a thread behind that has not come to its end by then. Throws
    /// CommandFailure, PictureFileError, and std::exception for what should not happen.
    void takeAll();

    /// The contact sheet, where one was asked for and there is something to show. Throws CommandFailure.
    void writeSheet();

    /// How many were asked for.
    std::size_t wantedPictures() const { return wanted_; }

    /// What there is up to now, and no whole.
    CaptureReport report();

    /// Instead of the destructor, where threads that were left behind may use it: brings to an end what the
    /// destructor would, and begins nothing more.
    void leave() noexcept;

private:
    void take(FinishedPicture finished) override;
    void warn(const Diagnosis::Verdict& verdict) override;
    std::string unusedName(const std::string& name) override;
    void claimDumps(const std::string& address) override;

    void prepareDumps(const CommonOptions& common);
    void checkFiles() const;
    void noteLongExposures();
    void warnOfTwins();
    void startThreads();
    void work();
    void workThrough();
    void noteFailure();
    const CaptureTarget* nextTarget();
    static std::string placeOf(const CaptureTarget& target);
    bool claim(const std::string& place);
    void dealWithAll();
    bool dealWithNext();
    void record(FinishedPicture finished);
    void write(FinishedPicture& finished) const;
    void sayResult(const CaptureResult& result);
    void endThreads();
    void leaveThreads();

    const CaptureOptions& options_;
    ProgressBar bar_;
    ToolLog log_;
    CameraHost host_;
    FetchGate gate_{FetchGate::placesOfThisComputer()};
    CaptureTargets targets_;
    Diagnosis::Facts computer_; ///< a look at it before the first picture
    std::size_t wanted_ = 0;
    std::vector<CaptureResult> results_;
    SheetFile sheet_;
    std::vector<std::thread> threads_;

    std::mutex mutex_; ///< guards what follows
    std::condition_variable news_;
    std::deque<FinishedPicture> finished_;
    std::deque<const CaptureTarget*> waiting_;
    std::set<std::string> addressesAtWork_;
    std::size_t threadsAtWork_ = 0;
    std::vector<std::string> warnings_;
    std::vector<Diagnosis::Verdict> lostDumps_;
    std::exception_ptr failure_; ///< of a thread, in what no camera is to blame for
    bool isStopped_ = false;     ///< no thread waits or begins any more
    UnusedNames names_;
};

} // namespace Console
