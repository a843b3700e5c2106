#include "Camera/Camera.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace Simulator {

namespace {

constexpr std::uint64_t largestFile = std::uint64_t{256} << 20;

/// Asked before it is opened: to open a FIFO is to wait for whoever writes into it.
void requireRegularFile(const std::string& path) {
    std::error_code failure;
    const std::filesystem::file_type type = std::filesystem::status(path, failure).type();
    if (type == std::filesystem::file_type::regular)
        return;
    const std::string reason = failure ? failure.message() : "it is no regular file";
    throw std::runtime_error("Cannot read the scene " + path + ": " + reason);
}

/// With room for the head of an answer in front.
Bytes readFile(const std::string& path) {
    requireRegularFile(path);
    std::ifstream stream(path, std::ios::binary | std::ios::ate);
    const auto size = static_cast<std::int64_t>(stream.tellg());
    if (!stream || size < 0)
        throw std::runtime_error("Cannot read the scene " + path + ": " +
                                 std::generic_category().message(errno));
    if (static_cast<std::uint64_t>(size) > largestFile)
        throw std::runtime_error("The scene " + path + " is larger than 256 MiB");
    Bytes framed(answerHeadBytes + static_cast<std::size_t>(size));
    stream.seekg(0);
    if (!stream.read(reinterpret_cast<char*>(framed.data() + answerHeadBytes),
                     static_cast<std::streamsize>(size)))
        throw std::runtime_error("Cannot read the scene " + path + ": it is not a readable file");
    return framed;
}

void requireShortTexts(const CameraSettings& settings) {
    const std::array texts = {
        settings.model,        settings.firmware,        settings.room,    settings.api,
        settings.serialNumber, settings.networkProtocol, settings.netMask, settings.gateway,
        settings.hardware,     settings.announcedAddress};
    for (const std::string& text : texts)
        if (text.size() > CameraSettings::longestText)
            throw std::invalid_argument("No text of a camera has more than " +
                                        std::to_string(CameraSettings::longestText) + " bytes, but \"" +
                                        text.substr(0, 20) + "...\" has " + std::to_string(text.size()));
}

SharedOrder wrap(Bytes framed) {
    PictureOrder picture;
    picture.answer = std::make_shared<const Bytes>(encodeImageAnswer(std::move(framed)));
    return std::make_shared<const PictureOrder>(std::move(picture));
}

} // namespace

Camera::Camera(CameraSettings settings)
    : settings_(std::move(settings)), darkroom_(settings_.pictureSize(), settings_.seed) {
    requirePictureSize(settings_.pictureSize());
    requireShortTexts(settings_);
    if (settings_.scene.kind == SceneKind::file)
        filePicture_ = wrap(readFile(settings_.scene.path));
}

SharedOrder Camera::orderPicture(const Configuration& configuration) {
    return filePicture_ ? filePicture_ : darkroom_.order(settings_.scene.kind, configuration);
}

SharedOrder Camera::orderBlackPicture(const Configuration& configuration) {
    return darkroom_.order(SceneKind::black, configuration);
}

SharedBytes Camera::pictureAnswer(const Configuration& configuration) {
    return darkroom_.finish(orderPicture(configuration));
}

SharedBytes Camera::blackPictureAnswer(const Configuration& configuration) {
    return darkroom_.finish(orderBlackPicture(configuration));
}

std::optional<Fault> Camera::nextFault(Place place) {
    for (Fault& fault : settings_.faults) {
        if (!fault.hits(place) || fault.times == 0U)
            continue;
        const Fault hit = fault;
        if (fault.times)
            --*fault.times;
        return hit;
    }
    return std::nullopt;
}

} // namespace Simulator
