#include "NativeCameraKorva/KorvaHelper.h"

#include "Communicator/Connector.h"
#include "ImagingLibrary/image_t.h"
#include "NativeCameraKorva/CaptureStopwatch.h"
#include "NativeCameraKorva/KorvaBinaryCommunication.h"
#include "NativeCameraKorva/KorvaImageDump.h"
#include "NativeCameraKorva/KorvaLog.h"
#include "NativeCameraKorva/KorvaMemoryStream.h"
#include "NativeCameraKorva/KorvaOwnedImage.h"
#include "NativeCameraKorva/KorvaPictureFormat.h"
#include "NativeCameraKorva/KorvaSampleKernels.h"
#include "Platform/Kernel.h"

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <iomanip>
#include <istream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Korva {
namespace {

using Binary::ArgCode;
using Binary::FullArg;

const log4cxx::LoggerPtr logger = log4cxx::Logger::getLogger("Plenar.KorvaCamera.KorvaCapture");

constexpr int maximumAttempts = 2;
constexpr double blackPictureRatio = 0.99999;
constexpr DWORD delayBeforeTakeMs = 10000;
constexpr unsigned int bitsPerGreySample = 8;
constexpr int noImageFlags = 0;

constexpr unsigned int depthBits = 16;
constexpr unsigned int shiftBits = 4;

/// What one call of capture asks for; the same for both attempts.
struct Request {
    Communicator& communicator;
    std::uint16_t exposure; ///< units of 100 ms
    std::uint8_t mode;
    const PictureFormat& format;
    bool delayBeforeTake;
    unsigned int samplesPerPixel; ///< 1 or 3
};

/// One request and its answer: what the log calls them, and what answer is wanted.
struct Exchange {
    const char* readFailure; ///< the error line where no answer can be read
    const char* timing;      ///< the beginning of the debug line that tells how long it took
    bool expectImage;
};

constexpr Exchange configuration{"parseIncomingMessage failed for image configuration",
                                 "Time to send / receive response on config message ", false};
constexpr Exchange takeImage{"parseIncomingMessage failed for take image request",
                             "Time for Korva to take and process picture ", false};
constexpr Exchange getImage{"parseIncomingMessage failed for GetImage", "Time to read image from Korva ",
                            true};

FullArg makeArg(ArgCode code, std::initializer_list<std::uint8_t> value) {
    FullArg arg;
    arg.header.type = static_cast<std::uint8_t>(code);
    arg.header.length = Binary::bigEndian32(static_cast<std::uint32_t>(value.size()));
    std::copy(value.begin(), value.end(), arg.value.begin());
    return arg;
}

std::uint8_t captureMode(bool forceMode1, bool monochrome) {
    if (forceMode1)
        return 1;
    return monochrome ? 3 : 2;
}

std::vector<FullArg> configurationArgs(const Request& request) {
    const auto highByte = static_cast<std::uint8_t>(request.exposure >> 8);
    const auto lowByte = static_cast<std::uint8_t>(request.exposure & 0xFF);
    std::vector<FullArg> args;
    args.push_back(makeArg(ArgCode::Exposure, {highByte, lowByte}));
    args.push_back(makeArg(ArgCode::Mode, {request.mode}));
    args.push_back(makeArg(ArgCode::Format, {request.format.code}));
    args.push_back(makeArg(ArgCode::Depth, {depthBits}));
    args.push_back(makeArg(ArgCode::Shift, {shiftBits}));
    return args;
}

std::vector<FullArg> plainArgs(ArgCode code) {
    std::vector<FullArg> args;
    args.push_back(makeArg(code, {}));
    return args;
}

void logTiming(const char* what, const CaptureStopwatch& watch) {
    KORVA_LOG(logger, Debug, "KorvaHelper", what << watch.elapsedMs() << "ms");
}

/// Sends `args` and replaces them by the answer's. False, logged, if the answer cannot be read or is not
/// the wanted one.
bool perform(const Exchange& exchange, const Request& request, std::vector<FullArg>& args,
             CaptureStopwatch& watch) {
    watch.start();
    // A request that was not sent shows as an answer that does not come.
    static_cast<void>(Binary::createAndSendMessage(Binary::Command::Camera, args, &request.communicator));
    args.clear();
    Binary::Header header;
    if (!Binary::parseIncomingMessage(&request.communicator, header, args)) {
        KORVA_LOG(logger, Error, "KorvaHelper", exchange.readFailure);
        return false;
    }
    watch.stop();
    logTiming(exchange.timing, watch);
    return Binary::validateCommandResponse(header, args, exchange.expectImage);
}

bool configure(const Request& request, CaptureStopwatch& watch) {
    // The exposure is deliberately logged byte-swapped, and the stream stays hexadecimal for the depth too.
    KORVA_LOG(logger, Debug, "KorvaHelper",
              "Before taking picture.. setting exposure = "
                  << std::hex << std::setw(2) << Binary::bigEndian16(request.exposure)
                  << " mode = " << static_cast<unsigned int>(request.mode)
                  << " format = " << static_cast<unsigned int>(request.format.code)
                  << " depth = " << depthBits << " shift = " << shiftBits);
    std::vector<FullArg> args = configurationArgs(request);
    return perform(configuration, request, args, watch);
}

bool take(const Request& request, CaptureStopwatch& watch) {
    if (request.delayBeforeTake) {
        // Deliberately here, before the take request, whatever the text says.
        KORVA_LOG(logger, Info, "KorvaHelper", "Inserting 10s of delay in between Take and Get");
        Sleep(delayBeforeTakeMs);
    }
    KORVA_LOG(logger, Debug, "KorvaHelper", "Now sending TakeImage request");
    std::vector<FullArg> args = plainArgs(ArgCode::TakeImage);
    return perform(takeImage, request, args, watch);
}

/// The image argument that the camera answers with.
std::optional<FullArg> fetch(const Request& request, CaptureStopwatch& watch) {
    KORVA_LOG(logger, Debug, "KorvaHelper", "Now sending GetImage request");
    std::vector<FullArg> args = plainArgs(ArgCode::GetImage);
    if (!perform(getImage, request, args, watch))
        return std::nullopt;
    return std::move(args.front());
}

/// The samples are reduced on the way, where they are as a camera sends them.
ReducedPicture decode(const FullArg& file, const Request& request, CaptureStopwatch& watch) {
    watch.start();
    mybuf bytes(file.data.get(), Binary::bigEndian32(file.header.length));
    std::istream stream(&bytes);
    ReducedPicture decoded = request.format.decode(stream, request.samplesPerPixel);
    KORVA_LOG(logger, Info, "KorvaHelper",
              "Pulled Korva image with resolution: " << decoded.picture.width << " "
                                                     << decoded.picture.height);
    watch.stop();
    logTiming("Conversion to raw image: ", watch);
    return decoded;
}

std::size_t pixelCount(const image_t& picture) {
    return static_cast<std::size_t>(picture.width) * picture.height;
}

/// Of a picture that has pixels, and so a format that has channels.
std::string describeSamples(std::uint32_t format) {
    const std::uint32_t channels = image_t::channels(format);
    const std::uint32_t bits = image_t::bytesPerPixel(format) / channels * 8;
    return std::to_string(channels) + " of " + std::to_string(bits) + " bits";
}

/// True if the buffer begins with the pixels' samples, 16 bits each. An empty picture has none to hold.
bool holdsSamples(const image_t& picture, unsigned int samplesPerPixel) {
    const bool has16Bits = (picture.format & ~image_t::layoutMask) == image_t::depth16;
    if (pixelCount(picture) == 0 || (has16Bits && image_t::channels(picture.format) >= samplesPerPixel))
        return true;
    KORVA_LOG(logger, Error, "KorvaHelper",
              "Korva image does not hold the expected samples: got "
                  << describeSamples(picture.format) << ", expected " << samplesPerPixel << " of "
                  << depthBits << " bits per pixel");
    return false;
}

/// True if more of the pixels are black than a picture may have. An empty picture is not black.
bool isAllBlack(std::size_t black, std::size_t pixels) {
    if (pixels == 0)
        return false;
    return static_cast<double>(black) / static_cast<double>(pixels) > blackPictureRatio;
}

/// Reduces the samples in place, unless they were on the way. False, logged, if the picture does not hold the
/// samples or is all black.
bool reduce(const ReducedPicture& decoded, unsigned int samplesPerPixel, CaptureStopwatch& watch) {
    const image_t& picture = decoded.picture;
    if (!decoded.blackPixels && !holdsSamples(picture, samplesPerPixel))
        return false;
    watch.start();
    const std::size_t pixels = pixelCount(picture);
    const std::size_t black = decoded.blackPixels
                                  ? *decoded.blackPixels
                                  : reduceSamples(picture.pixels.get(), pixels, samplesPerPixel);
    watch.stop();
    logTiming("bit reduction: ", watch);
    if (isAllBlack(black, pixels)) {
        KORVA_LOG(logger, Error, "KorvaHelper", "All black image from Korva detected");
        return false;
    }
    return true;
}

/// One attempt at a picture of 8-bit samples.
std::optional<image_t> attempt(const Request& request, CaptureStopwatch& watch) {
    if (!configure(request, watch) || !take(request, watch))
        return std::nullopt;
    std::optional<FullArg> file = fetch(request, watch);
    if (!file)
        return std::nullopt;
    if (logger->isTraceEnabled())
        dumpImage(request.format, *file);
    ReducedPicture decoded = decode(*file, request, watch);
    if (!reduce(decoded, request.samplesPerPixel, watch))
        return std::nullopt;
    return std::move(decoded.picture);
}

Image* convert(const image_t& picture, unsigned int samplesPerPixel, CaptureStopwatch& watch) {
    watch.start();
    ImagingLibrary& imaging = *ImagingFactory::getInstance();
    OwnedImage created(imaging.createImage(static_cast<unsigned int>(picture.width), picture.height,
                                           bitsPerGreySample, samplesPerPixel, picture.pixels.get(),
                                           noImageFlags));
    OwnedImage grey(imaging.convertToGreyscale(created.get()));
    // A one-sample image is its own grey image, so it is deliberately not released beside it.
    if (samplesPerPixel == 1)
        static_cast<void>(created.release());
    watch.stop();
    logTiming("color to greyscale: ", watch);
    // By hand, so that a failure reaches the caller.
    if (created != nullptr)
        imaging.releaseImage(created.release());
    return grey.release();
}

} // namespace

Image* capture(Communicator* communicator, bool forceMode1, bool png, bool monochrome, int exposure,
               bool delayBeforeTake) {
    if (communicator == nullptr) {
        KORVA_LOG(logger, Error, "KorvaHelper", "No communicator to capture with");
        return nullptr;
    }
    const Connector connection(*communicator);
    const Request request{*communicator,
                          static_cast<std::uint16_t>(exposure & 0xFFFF),
                          captureMode(forceMode1, monochrome),
                          pictureFormat(png),
                          delayBeforeTake,
                          monochrome ? 1u : 3u};
    CaptureStopwatch watch;
    for (int i = 0; i < maximumAttempts; ++i) {
        if (i == 1)
            KORVA_LOG(logger, Info, "KorvaHelper", "First image grab attempt failed, re-trying image grab");
        if (const std::optional<image_t> picture = attempt(request, watch))
            return convert(*picture, request.samplesPerPixel, watch);
    }
    return nullptr;
}

} // namespace Korva
