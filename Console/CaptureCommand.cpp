#include "CaptureCommand.h"

#include "CameraHost.h"
#include "CameraUse.h"
#include "CaptureReport.h"
#include "CommandRun.h"
#include "ContactSheet.h"
#include "FailureAdvice.h"
#include "PictureFile.h"
#include "Printable.h"
#include "ProgressBar.h"
#include "ToolLog.h"

#include "Platform/StandardError.h"
#include "Platform/Terminal.h"
#include "Platform/Text.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <numeric>
#include <set>
#include <span>
#include <utility>

namespace Console {

namespace {

std::span<const unsigned char> pixelsOf(const image_t& picture) {
    return {picture.pixels.get(), static_cast<std::size_t>(picture.width) * picture.height};
}

double meanOf(std::span<const unsigned char> pixels) {
    return static_cast<double>(std::accumulate(pixels.begin(), pixels.end(), std::uint64_t{0})) /
           static_cast<double>(pixels.size());
}

std::string addressOf(const NativeCamera& camera) {
    return Platform::utf8FromWide(camera.getCameraInfo().getIpAddress());
}

/// Each failure on a line of its own.
std::string onLines(const std::vector<std::string>& failures) {
    std::string all;
    for (const std::string& failure : failures)
        all += (all.empty() ? "" : "\nkorva: ") + failure;
    return all;
}

/// One run of the command.
class CaptureRun {
public:
    CaptureRun(const CaptureOptions& options, const LogOptions& log, CaptureReport& report)
        : options_(options), report_(report), bar_(Platform::standardError()), log_(log, &bar_),
          host_(options.camera, log_) {}

    /// Adds to the report picture by picture. Throws CommandFailure, PictureFileError, and std::exception for
    /// what should not happen.
    void takeAll() {
        if (options_.camera.all && !options_.output.empty())
            makeFolder(options_.output);
        if (!options_.contactSheet.empty())
            checkWritable(options_.contactSheet);
        if (options_.camera.all)
            takeOfAllFound();
        else
            takeOfTheOneNamed();
        if (const GreySheet sheet = sheet_.layOut(); !sheet.pixels.empty() && !options_.contactSheet.empty())
            writeWholeFile(options_.contactSheet, encodeGreyPng(sheet.width, sheet.height, sheet.pixels));
    }

private:
    void takeOfTheOneNamed() {
        // Before the camera is asked anything, where the name is known.
        if (!options_.output.empty() || !options_.camera.address.empty())
            checkWritable(pictureFileName(options_, options_.camera.address, 1));
        const CameraPointer camera = host_.cameraNamedBy(options_.camera);
        takeOf(*camera);
    }

    void takeOfAllFound() {
        std::vector<CameraTemplatePointer> found;
        const std::string cut =
            host_.search([&found](CameraTemplatePointer camera) { found.push_back(std::move(camera)); });
        keepRemarks("");
        if (!cut.empty())
            report_.remarks.push_back(cut);
        if (found.empty())
            throw CommandFailure("no Korva camera found; try: korva capture ADDRESS");
        for (CameraTemplatePointer& entry : found) {
            takeOfFound(*entry);
            entry.reset();
            if (Platform::interrupted())
                return;
        }
    }

    /// Whatever goes wrong with it is its own failure: the next camera may do better.
    void takeOfFound(const NativeCameraTemplate& entry) {
        try {
            takeOf(*host_.cameraFrom(entry));
        } catch (const CommandFailure& failure) {
            report_.failures.emplace_back(failure.what());
        } catch (const Interrupted&) {
            throw;
        } catch (const std::exception& error) {
            const std::string address = Platform::utf8FromWide(entry.getCameraInfo().getIpAddress());
            report_.failures.push_back(printable(address + ": ") + reasonFrom(error));
        }
    }

    void takeOf(NativeCamera& camera) {
        CameraUse use(camera, bar_, options_.camera.limits);
        use.setExposure(options_.exposureUnits);
        const std::string address = addressOf(camera);
        for (int number = 1; number <= options_.count; ++number) {
            const std::string file = unusedName(pictureFileName(options_, address, number));
            checkWritable(file);
            report_.pictures.push_back(takeOne(use, camera, file));
            report_.pictures.back().address = address;
            keepRemarks(printable(address) + ": ");
            if (!options_.json)
                say(pictureLine(report_.pictures.back()));
        }
    }

    TakenPicture takeOne(CameraUse& use, const NativeCamera& camera, const std::string& file) {
        using Clock = std::chrono::steady_clock;
        const auto start = Clock::now();
        takeMemoryShortage(); // of what was before
        const std::optional<image_t> image = use.takePicture();
        bar_.erase();
        TakenPicture picture;
        picture.milliseconds = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
        const std::string place = placeOf(camera);
        if (Platform::interrupted())
            throw CommandFailure("interrupted while a picture was taken from " + place +
                                 "; nothing of it was kept");
        if (!image) {
            const bool noMemory = takeMemoryShortage();
            const std::string reason = (noMemory ? "not enough memory; " : "") + reasonOf(log_.takeRemarks());
            throw CommandFailure("no picture from " + place + ": " + reason + "; try: " + adviceFor(reason));
        }
        picture.file = file;
        picture.width = static_cast<std::uint32_t>(image->width);
        picture.height = image->height;
        picture.mean = meanOf(pixelsOf(*image));
        writeWholeFile(file, encodeGreyPng(picture.width, picture.height, pixelsOf(*image)));
        if (!options_.contactSheet.empty())
            sheet_.add(picture.width, picture.height, pixelsOf(*image), captionOf(camera, picture));
        return picture;
    }

    std::vector<std::string> captionOf(const NativeCamera& camera, const TakenPicture& picture) const {
        const int units = options_.exposureUnits;
        return {Platform::utf8FromWide(camera.getModel()) + "  " + addressOf(camera),
                std::to_string(picture.width) + " x " + std::to_string(picture.height) + "  " +
                    std::to_string(units / 10) + "." + std::to_string(units % 10) + " s  mean " +
                    std::to_string(std::lround(picture.mean))};
    }

    /// Two cameras may call themselves alike.
    std::string unusedName(const std::string& name) {
        const std::size_t stemEnd = std::min(name.rfind('.'), name.size());
        std::string unused = name;
        for (int copy = 2; !names_.insert(unused).second; ++copy)
            unused = name.substr(0, stemEnd) + "_" + std::to_string(copy) + name.substr(stemEnd);
        return unused;
    }

    void keepRemarks(const std::string& whose) {
        for (const std::string& remark : log_.takeRemarks())
            report_.remarks.push_back(whose + remark);
    }

    const CaptureOptions& options_;
    CaptureReport& report_;
    ProgressBar bar_;
    ToolLog log_;
    CameraHost host_;
    std::set<std::string> names_;
    ContactSheet sheet_;
};

} // namespace

ExitStatus runCapture(const CaptureOptions& options, const CommonOptions& common) {
    return runCommand(common, OnInterrupt::note, [&] {
        CaptureReport report;
        try {
            CaptureRun(options, common.log, report).takeAll();
        } catch (const CommandFailure& failure) {
            report.failures.emplace_back(failure.what());
        } catch (const std::exception& error) {
            report.failures.push_back(reasonFrom(error));
        }
        warn(report.remarks);
        if (options.json)
            say(jsonReport(options, report));
        if (!report.failures.empty())
            throw CommandFailure(onLines(report.failures));
    });
}

} // namespace Console
