#include "NativeCameraKorva/KorvaIdentification.h"

#include "Communicator/TolvaneException.h"
#include "NativeCameraKorva/KorvaConstants.h"
#include "NativeCameraKorva/KorvaHelper.h"
#include "NativeCameraKorva/KorvaLog.h"
#include "NativeCameraKorva/KorvaOwnedImage.h"
#include "Platform/Text.h"

namespace Korva {
namespace {

const log4cxx::LoggerPtr logger = log4cxx::Logger::getLogger("Plenar.KorvaCamera.KorvaCapture");

constexpr int maximumGrabs = 2;
constexpr int grabExposure = 1; // units of 100 ms

OwnedImage grabSample(Communicator* communicator) {
    OwnedImage image;
    for (int grab = 0; grab < maximumGrabs && image == nullptr; ++grab)
        image.reset(capture(communicator, false, true, true, grabExposure, false));
    return image;
}

Point<int, 2> resolutionOfSample(Communicator* communicator) {
    OwnedImage image = grabSample(communicator);
    if (image == nullptr)
        return unknownResolution;
    const unsigned int width = image->getWidth();
    const unsigned int height = image->getHeight();
    KORVA_LOG(logger, Info, "KorvaHelper",
              "Sample image has resolution: " << width << "x" << height << ". Setting camera info.");
    // By hand, so that a failure reaches the caller.
    ImagingFactory::getInstance()->releaseImage(image.release());
    return Point<int, 2>(width, height);
}

} // namespace

bool endsWithOrIsOneShorter(std::string_view text, std::string_view suffix) {
    return text.rfind(suffix) == text.size() - suffix.size();
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface takes a copy of the text
Point<int, 2> getKorvaResolution(std::string hardwareId, Communicator* imageCommunicator) {
    for (const std::string& known : knownHardwareIds) {
        if (!endsWithOrIsOneShorter(hardwareId, known))
            continue;
        const Point<int, 2> resolution = resolutions.at(known);
        KORVA_LOG(logger, Info, "KorvaHelper",
                  "Recognize HWID " << known << ". Has resolution (" << resolution.x() << ","
                                    << resolution.y() << ")");
        return resolution;
    }
    KORVA_LOG(logger, Info, "KorvaHelper", "HWid lookup failed, don't recognize " << hardwareId);
    KORVA_LOG(logger, Info, "KorvaHelper", "Determine resolution from image grab");
    try {
        return resolutionOfSample(imageCommunicator);
    } catch (const TolvaneExceptionBase& exception) {
        KORVA_LOG(logger, Error, "KorvaHelper",
                  "Communicator error trying to get sample image: "
                      << Platform::utf8FromWide(exception.getMessage()));
    } catch (...) {
        KORVA_LOG(logger, Error, "KorvaHelper", "Unknown error during initial sample image capture");
    }
    return unknownResolution;
}

} // namespace Korva
