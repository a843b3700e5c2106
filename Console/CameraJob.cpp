#include "CameraJob.h"

#include "AutoExposure.h"
#include "CameraUse.h"
#include "CommandFailure.h"
#include "CommandRun.h"
#include "DescribedCamera.h"
#include "FetchGate.h"
#include "PictureFile.h"
#include "Printable.h"
#include "ProgressBar.h"
#include "SearchFacts.h"
#include "ToolLog.h"

#include "Communicator/EthernetCommunicator.h"
#include "Diagnosis/PictureRules.h"
#include "Diagnosis/Print.h"
#include "Diagnosis/Rules.h"
#include "Look/NetworkLook.h"
#include "Platform/Terminal.h"
#include "Platform/Text.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <span>
#include <utility>

namespace Console {

namespace {

using Platform::utf8FromWide;
using Clock = std::chrono::steady_clock;

std::span<const unsigned char> pixelsOf(const image_t& picture) {
    return {picture.pixels.get(), static_cast<std::size_t>(picture.width) * picture.height};
}

/// The plug-in keeps a picture of another size than the camera's: what it has of it is sheared.
bool isOfAnotherSize(const Diagnosis::Attempt& attempt) {
    return std::any_of(attempt.lines.begin(), attempt.lines.end(), [](const Diagnosis::LogLine& line) {
        return line.message.starts_with("Korva picture has the size ");
    });
}

PictureTexts textsOf(const CaptureResult& result) {
    return {{"Camera", printable(result.model)},
            {"Serial Number", printable(result.serialNumber)},
            {"Address", printable(result.address)},
            {"Exposure", Diagnosis::secondsText(result.exposureUnits) + " s"},
            {"Creation Time", timeText(result.takenAt)},
            {"Software", std::string("korva ") + KORVA_VERSION}};
}

/// Whether something took the connection, or was asked over the one there was.
bool wasConnected(const Diagnosis::Attempt& attempt) {
    return std::none_of(attempt.lines.begin(), attempt.lines.end(), [](const Diagnosis::LogLine& line) {
        return line.message.find(": connect failed: ") != std::string::npos;
    });
}

std::string connectedAddressOf(const NativeCamera& camera) {
    const auto* const connection = dynamic_cast<EthernetCommunicator*>(camera.getCommunicator());
    return connection == nullptr ? "" : utf8FromWide(connection->getAddress());
}

} // namespace

void CameraJob::run() {
    try {
        takeAll();
        awaitFinishing();
    } catch (const std::exception& error) {
        if (finishing_.valid())
            finishing_.wait(); // what is done comes first
        if (Platform::interrupted())
            return;
        fail(error);
        awaitFinishing();
    }
}

void CameraJob::takeAll() {
    const CaptureOptions& options = with_.options;
    with_.log.takeLines(); // of what this thread's number stood for before
    camera_ = target_.camera();
    info_ = camera_->getCameraInfo();
    hasAnswered_ = with_.options.camera.descriptionFile.empty();
    learnRoom();
    with_.sink.claimDumps(blank().address); // of a picture that told its size
    judgeIdentity();
    ipv4_ = Diagnosis::addressBehind(blank().address); // while there is a name service
    CameraUse use(*camera_, with_.bar, options.camera.limits, &with_.gate);
    for (int turn = 0; turn < options.count; ++turn) {
        const auto begin = Clock::now();
        if (options.isAutoExposure && turn == 0)
            takeWithTheBest(use);
        else if (options.isAutoExposure)
            takeWith(use, camera_->getExposureTime() / CameraUse::exposureTimePerUnit);
        else if (!takeBracket(use))
            return;
        if (turn + 1 < options.count)
            waitUntil(begin + options.interval);
    }
}

/// A camera whose answers are not as they should be may give pictures nevertheless.
void CameraJob::judgeIdentity() {
    if (target_.isJudged)
        return;
    const auto verdict = Diagnosis::verdictOn(facts(), Diagnosis::Facts());
    if (verdict && verdict->severity == Diagnosis::Severity::failure)
        with_.sink.warn(*verdict);
}

/// Where the files' names say it. What answers behind another port tells no rooms.
void CameraJob::learnRoom() {
    const bool isWanted = isNamedByRoom(with_.options.output) && room_.empty() && !target_.isFound;
    if (isWanted && isAtPortOfPictures(*camera_))
        room_ = Diagnosis::askForRoom(connectedAddressOf(*camera_));
    throwIfInterrupted();
}

/// A picture with each exposure, which may fail by what another does not, unless nobody is there. False if
/// one has failed, which has been handed over.
bool CameraJob::takeBracket(CameraUse& use) {
    bool isWhole = true;
    for (const int exposureUnits : with_.options.exposures) {
        try {
            takeWith(use, exposureUnits);
        } catch (const std::exception& error) {
            if (with_.options.exposures.size() == 1 || !wasReached_ || Platform::interrupted())
                throw;
            fail(error);
            ++number_;
            isWhole = false;
        }
    }
    return isWhole;
}

void CameraJob::takeWith(CameraUse& use, int exposureUnits) {
    const std::string file = checkedNameOf(exposureUnits);
    finish(takeOne(use, exposureUnits), file);
}

void CameraJob::takeWithTheBest(CameraUse& use) {
    const bool isNamedBefore = !isNamedByExposure(with_.options.output);
    std::string file = isNamedBefore ? checkedNameOf(with_.options.exposures.front()) : std::string();
    Taken best = takeBest(use);
    use.setExposure(best.result.exposureUnits);
    if (!isNamedBefore)
        file = checkedNameOf(best.result.exposureUnits);
    finish(std::move(best), file);
}

/// Throws CommandFailure if none of its exposures gives a picture.
CameraJob::Taken CameraJob::takeBest(CameraUse& use) {
    AutoExposure search(with_.options.exposures.front());
    std::optional<Taken> best;
    while (search.next()) {
        try {
            Taken taken = takeOne(use, *search.next());
            if (search.take(*taken.result.picture))
                best = std::move(taken);
        } catch (const CommandFailure& failure) {
            if (failure.verdict().code != "all-black")
                throw;
            search.takeBlack();
            if (!best && !search.next())
                throw;
        }
    }
    best->result.triedExposures = search.tried();
    return std::move(*best);
}

CameraJob::Taken CameraJob::takeOne(CameraUse& use, int exposureUnits) {
    exposureUnits_ = exposureUnits;
    milliseconds_ = 0;
    use.setExposure(exposureUnits);
    with_.log.takeLines();
    takeMemoryShortage(); // of what was before
    Diagnosis::Attempt attempt;
    attempt.what = Diagnosis::Attempt::What::picture;
    attempt.exposure = std::chrono::milliseconds(100) * exposureUnits;
    Taken taken{{}, blank()};
    taken.result.takenAt = std::chrono::system_clock::now();
    const auto begin = Clock::now();
    std::optional<image_t> image;
    try {
        image = use.takePicture();
    } catch (const std::exception& error) {
        attempt.reason = reasonFrom(error);
    }
    const auto took = Clock::now() - begin;
    with_.bar.erase();
    with_.sink.claimDumps(taken.result.address);
    throwIfInterrupted();
    milliseconds_ = std::chrono::duration<double, std::milli>(took).count();
    taken.result.milliseconds = milliseconds_;
    attempt.took = std::chrono::duration_cast<std::chrono::milliseconds>(took);
    attempt.lines = with_.log.takeLines();
    attempt.succeeded = image.has_value() && !isOfAnotherSize(attempt);
    if (use.reported())
        attempt.healthCode = use.reported()->getCode();
    if (!image && takeMemoryShortage())
        attempt.reason = Diagnosis::notEnoughMemory;
    judge(attempt);
    taken.image = std::move(*image);
    taken.result.picture = Diagnosis::measured(static_cast<std::uint32_t>(taken.image.width),
                                               taken.image.height, pixelsOf(taken.image));
    taken.result.verdict = Diagnosis::verdictOn(*taken.result.picture, exposureUnits);
    return taken;
}

/// Throws CommandFailure for an attempt that failed.
void CameraJob::judge(const Diagnosis::Attempt& attempt) {
    Diagnosis::Camera camera = facts();
    wasReached_ = attempt.succeeded || wasConnected(attempt);
    hasAnswered_ = hasAnswered_ || wasReached_;
    if (!hasAnswered_)
        camera.identity.reset();
    camera.attempts.push_back(attempt);
    const std::optional<Diagnosis::Verdict> verdict = Diagnosis::verdictOn(attempt, camera);
    if (!attempt.succeeded)
        throw CommandFailure(orOfTheWay(*verdict, camera, with_.computer, isAtPortOfPictures(*camera_)));
    if (verdict)
        with_.sink.warn(*verdict);
}

/// What is known of the camera.
Diagnosis::Camera CameraJob::facts() const {
    Diagnosis::Camera camera;
    const CaptureResult known = blank();
    camera.address = known.address;
    camera.ipv4 = ipv4_;
    camera.room = known.room;
    camera.identity = identityOf(info_);
    return camera;
}

CaptureResult CameraJob::blank() const {
    CaptureResult result;
    result.address = utf8FromWide(info_.getIpAddress());
    if (result.address.empty())
        result.address = target_.address;
    if (result.address.empty() && camera_ != nullptr) // a description need not say it twice
        result.address = connectedAddressOf(*camera_);
    result.room = room_;
    result.model = utf8FromWide(info_.getModel());
    result.serialNumber = utf8FromWide(info_.getSerialNumber());
    result.exposureUnits = exposureUnits_ != 0 ? exposureUnits_ : with_.options.exposures.front();
    return result;
}

std::string CameraJob::nameOf(int exposureUnits) const {
    if (with_.options.isToStandardOutput())
        return CaptureOptions::standardOutput;
    const CaptureResult known = blank();
    return pictureFileName(with_.options,
                           {known.address, known.room, known.serialNumber,
                            timeInNames(std::chrono::system_clock::now()), exposureUnits, number_});
}

/// A name of a picture's own, where it can be written. What fails there is that picture's.
std::string CameraJob::checkedNameOf(int exposureUnits) {
    exposureUnits_ = exposureUnits;
    milliseconds_ = 0;
    std::string file = with_.sink.unusedName(nameOf(exposureUnits));
    checkFile(file);
    return file;
}

/// Before the camera is asked for the picture.
void CameraJob::checkFile(const std::string& file) const {
    if (with_.options.isToStandardOutput())
        return;
    if (isPattern(with_.options.output))
        makeFolderOf(file);
    checkWritable(file, with_.options.keepsFiles ? OlderFile::keep : OlderFile::replace);
}

void CameraJob::finish(Taken taken, const std::string& file) {
    if (finishing_.valid())
        finishing_.wait(); // the one before comes first
    ++number_;
    taken.result.file = file;
    const auto work = [&sink = with_.sink, taken = std::make_shared<const Taken>(std::move(taken))] {
        handOver(*taken, sink);
    };
    // Where there can be no more threads, on this one. Not moved: a thread that does not start would lose it.
    auto before = std::exchange(finishing_, std::async(std::launch::async | std::launch::deferred, work));
    if (before.valid())
        before.get(); // now that this one is on its way
}

/// As a file, or as a failure of its own.
void CameraJob::handOver(const Taken& taken, CaptureSink& sink) {
    const auto width = static_cast<std::uint32_t>(taken.image.width);
    const auto pixels = pixelsOf(taken.image);
    try {
        sink.take({taken.result, encodeGreyPng(width, taken.image.height, pixels, textsOf(taken.result)),
                   boxFiltered(width, taken.image.height, pixels, ContactSheet::mostThumbnailWidth,
                               ContactSheet::mostThumbnailHeight)});
    } catch (const std::exception& error) {
        FinishedPicture none;
        none.result = taken.result;
        none.result.file.clear();
        none.result.error = verdictFrom(error);
        sink.take(std::move(none));
    }
}

void CameraJob::awaitFinishing() {
    if (finishing_.valid())
        finishing_.get();
}

void CameraJob::fail(const std::exception& error) {
    if (finishing_.valid())
        finishing_.wait(); // what is done comes first
    FinishedPicture none;
    none.result = blank();
    none.result.milliseconds = milliseconds_;
    none.result.error = verdictFrom(error);
    if (none.result.address.empty()) // of a description whose camera was not to be used
        none.result.address = none.result.error->address;
    with_.sink.take(std::move(none));
}

} // namespace Console
