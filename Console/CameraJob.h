#pragma once
// What `korva capture` does with one camera.

#include "CameraHost.h"
#include "CaptureOptions.h"
#include "CaptureReport.h"
#include "ContactSheet.h"
#include "FileNames.h"

#include "Diagnosis/Facts.h"
#include "ImagingLibrary/image_t.h"

#include <functional>
#include <future>
#include <memory>
#include <string>
#include <vector>

namespace Console {

class CameraUse;
class FetchGate;
class ProgressBar;
class ToolLog;

/// A camera to take pictures of.
struct CaptureTarget {
    std::string address;                   ///< any text; empty if it is not known yet
    std::string room;                      ///< any text; empty if it is not known
    std::function<CameraPointer()> camera; ///< never null: throws CommandFailure with the reason
    bool isJudged = true; ///< what is odd about who it says it is has been said, or it says nothing
    bool isFound = false; ///< by a search, which has told the room if that can be trusted
};

/// A picture that is ready for its file, or why there is none.
struct FinishedPicture {
    CaptureResult result;
    std::vector<unsigned char> png;
    GreySheet small; ///< for the contact sheet
};

/// Where a job's results go, and what all jobs share. Each may be called by any thread.
class CaptureSink {
public:
    virtual ~CaptureSink() = default;

    /// May wait until those before have been dealt with.
    virtual void take(FinishedPicture finished) = 0;

    /// Tells the user.
    virtual void warn(const Diagnosis::Verdict& verdict) = 0;

    /// The file's name, given away once.
    virtual std::string unusedName(const std::string& name) = 0;

    /// What the calling thread has had the plug-in dump is of that camera.
    virtual void claimDumps(const std::string& address) = 0;
};

/// One camera's pictures, on one thread. What they need until they can be written goes on on another, beside
/// the next picture.
class CameraJob {
public:
    struct Surroundings {
        const CaptureOptions& options;
        ToolLog& log;
        ProgressBar& bar;
        FetchGate& gate;
        CaptureSink& sink;
        const Diagnosis::Facts& computer; ///< a look at it from before
    };

    /// All outlive it.
    CameraJob(const CaptureTarget& target, const Surroundings& with)
        : target_(target), with_(with), room_(target.room) {}

    /// Takes the pictures and hands them over, up to the first failure, which it hands over too; a bracket's
    /// other exposures are tried nevertheless, if the camera can be reached. Ctrl-C ends it without a word.
    /// Throws what kept it from handing one over.
    void run();

private:
    struct Taken {
        image_t image;
        CaptureResult result;
    };

    void takeAll();
    void judgeIdentity();
    void learnRoom();
    bool takeBracket(CameraUse& use);
    void takeWith(CameraUse& use, int exposureUnits);
    void takeWithTheBest(CameraUse& use);
    Taken takeBest(CameraUse& use);
    Taken takeOne(CameraUse& use, int exposureUnits);
    void judge(const Diagnosis::Attempt& attempt);
    std::string nameOf(int exposureUnits) const;
    std::string checkedNameOf(int exposureUnits);
    void checkFile(const std::string& file) const;
    void finish(Taken taken, const std::string& file);
    static void handOver(const Taken& taken, CaptureSink& sink);
    void awaitFinishing();
    void fail(const std::exception& error);
    CaptureResult blank() const;
    Diagnosis::Camera facts() const;

    const CaptureTarget& target_;
    const Surroundings with_;
    CameraPointer camera_;
    CameraInfo info_;
    std::string ipv4_;         ///< of its address, which may be a name; empty if that is not known
    std::string room_;         ///< any text; empty if it is not known
    bool hasAnswered_ = false; ///< in this run, by itself: a description answers for none
    bool wasReached_ = true;   ///< when it was asked last, if it was
    int number_ = 1;           ///< of the next picture
    int exposureUnits_ = 0;    ///< of the last one; 0 before the first
    double milliseconds_ = 0;  ///< that the last one took, or its failure; 0 before it was asked for
    std::future<void> finishing_;
};

} // namespace Console
