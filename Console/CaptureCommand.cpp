#include "CaptureCommand.h"

#include "CaptureReport.h"
#include "FailureAdvice.h"
#include "PictureFile.h"
#include "Printable.h"
#include "ProgressBar.h"
#include "ToolLog.h"

#include "Communicator/DeviceException.h"
#include "Communicator/PosixEthernetCommunicator.h"
#include "ImagingLibrary/Image.h"
#include "ImagingLibrary/ImagingFactory.h"
#include "ImagingLibrary/ImagingLibrary.h"
#include "NativeCameraKorva/KorvaHelper.h"
#include "Platform/Terminal.h"
#include "Platform/Text.h"

#include <chrono>
#include <cstdio>
#include <memory>
#include <numeric>
#include <span>
#include <stdexcept>
#include <utility>

namespace Console {

namespace {

/// The run ends; the message is the line for standard error, printable.
class CaptureFailure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Ctrl-C was noticed while a read went on; leaves the plug-in's capture the way a transport's failure does.
class Interrupted : public std::runtime_error {
public:
    Interrupted() : std::runtime_error("interrupted") {}
};

struct ReleaseImage {
    void operator()(Image* image) const { ImagingFactory::getInstance()->releaseImage(image); }
};
using ImagePointer = std::unique_ptr<Image, ReleaseImage>;

std::string joined(const std::vector<std::string>& texts) {
    std::string all;
    for (const std::string& text : texts)
        all += (all.empty() ? "" : "; ") + text;
    return all;
}

/// One run of the command.
class CaptureRun {
public:
    CaptureRun(const CaptureOptions& options, const LogOptions& log)
        : options_(options), bar_(stderr), log_(log, &bar_),
          camera_(Platform::wideFromUtf8(options.address), options.port, -1) {
        camera_.setProgressObserver([this](std::size_t received, std::size_t expected) {
            bar_.observe(received, expected);
            if (Platform::interrupted())
                throw Interrupted();
        });
    }

    /// Adds to `report` picture by picture. Throws CaptureFailure, PictureFileError, and std::exception for
    /// what should not happen.
    void takeAll(CaptureReport& report) {
        checkWritable(pictureFileName(options_, 1));
        for (int number = 1; number <= options_.count; ++number) {
            report.pictures.push_back(takeOne(pictureFileName(options_, number)));
            const std::vector<std::string> remarks = log_.takeRemarks();
            report.remarks.insert(report.remarks.end(), remarks.begin(), remarks.end());
            if (!options_.json)
                std::printf("%s\n", pictureLine(report.pictures.back()).c_str());
            std::fflush(stdout);
        }
    }

private:
    TakenPicture takeOne(const std::string& file) {
        using Clock = std::chrono::steady_clock;
        const auto start = Clock::now();
        const ImagePointer image = fetch();
        TakenPicture picture;
        picture.milliseconds = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
        picture.file = file;
        picture.width = image->getWidth();
        picture.height = image->getHeight();

        const std::span pixels(static_cast<const unsigned char*>(image->getRawImageData()),
                               std::size_t{picture.width} * picture.height);
        picture.mean = static_cast<double>(std::accumulate(pixels.begin(), pixels.end(), std::uint64_t{0})) /
                       static_cast<double>(pixels.size());
        writeWholeFile(file, encodeGreyPng(picture.width, picture.height, pixels));
        return picture;
    }

    /// A grey picture of at least one pixel.
    ImagePointer fetch() {
        ImagePointer image;
        try {
            image.reset(Korva::capture(&camera_, false, false, false, options_.exposureUnits, false));
        } catch (const Interrupted&) {
            bar_.erase();
        } catch (const DeviceException& error) {
            bar_.erase();
            fail("no picture: ", printable(error.what())); // which names the camera
        }
        bar_.erase();
        if (Platform::interrupted())
            throw CaptureFailure("interrupted while a picture was taken from " + where() +
                                 "; nothing of it was kept");
        if (image == nullptr)
            fail(noPictureFromHere(), joined(log_.takeRemarks()));
        if (image->getWidth() == 0 || image->getHeight() == 0)
            fail(noPictureFromHere(), "the camera's answer holds no readable picture file");
        return image;
    }

    [[noreturn]] static void fail(const std::string& what, const std::string& reason) {
        const std::string known = reason.empty() ? "the plug-in gave no reason" : reason;
        throw CaptureFailure(what + known + "; try: " + adviceFor(known));
    }

    std::string noPictureFromHere() const { return "no picture from " + where() + ": "; }

    std::string where() const { return printable(options_.address) + ":" + std::to_string(options_.port); }

    const CaptureOptions& options_;
    ProgressBar bar_;
    ToolLog log_;
    PosixEthernetCommunicator camera_;
};

/// Whatever was printed has really gone out: a full disk behind a redirection shows up here.
bool standardOutputHolds() {
    return std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
}

} // namespace

ExitStatus runCapture(const CaptureOptions& options, const CommonOptions& common) {
    Platform::catchInterrupts();
    CaptureReport report;
    try {
        applyToHost(common);
        CaptureRun(options, common.log).takeAll(report);
    } catch (const CaptureFailure& failure) {
        report.failure = failure.what();
    } catch (const std::exception& error) {
        report.failure = printable(error.what());
    }

    for (const std::string& remark : report.remarks)
        std::fprintf(stderr, "korva: warning from %s: %s\n", printable(options.address).c_str(),
                     remark.c_str());
    if (options.json)
        std::printf("%s\n", jsonReport(options, report).c_str());
    if (!report.failure.empty())
        std::fprintf(stderr, "korva: %s\n", report.failure.c_str());
    else if (!standardOutputHolds())
        std::fprintf(stderr, "korva: standard output could not be written\n");
    else
        return ExitStatus::done;
    return ExitStatus::failed;
}

} // namespace Console
