#include "Camera/Camera.h"

#include "Camera/PngWriter.h"
#include "Camera/SgiWriter.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace Simulator {

namespace {

constexpr std::size_t keptAnswers = 4;
constexpr std::uint32_t longestSide = 65535;
constexpr std::uint64_t mostPixels = std::uint64_t{1} << 26;
constexpr std::uint64_t largestFile = std::uint64_t{1} << 30;

Bytes readFile(const std::string& path) {
    std::ifstream stream(path, std::ios::binary | std::ios::ate);
    const auto size = static_cast<std::int64_t>(stream.tellg());
    if (!stream || size < 0)
        throw std::runtime_error("Cannot read the scene " + path + ": " +
                                 std::generic_category().message(errno));
    if (static_cast<std::uint64_t>(size) > largestFile)
        throw std::runtime_error("The scene " + path + " is larger than 1 GiB");
    Bytes file(static_cast<std::size_t>(size));
    stream.seekg(0);
    if (!stream.read(reinterpret_cast<char*>(file.data()), static_cast<std::streamsize>(size)))
        throw std::runtime_error("Cannot read the scene " + path + ": it is not a readable file");
    return file;
}

void requireSize(PictureSize size) {
    const bool possible = size.width >= 1 && size.width <= longestSide && size.height >= 1 &&
                          size.height <= longestSide && std::uint64_t{size.width} * size.height <= mostPixels;
    if (!possible)
        throw std::invalid_argument("No camera takes pictures of " + std::to_string(size.width) + " x " +
                                    std::to_string(size.height) + " pixels");
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

SharedBytes wrap(const Bytes& file) {
    return std::make_shared<const Bytes>(encodeAnswer(ArgumentCode::GetImage, file));
}

} // namespace

Camera::Camera(CameraSettings settings) : m_settings(std::move(settings)) {
    requireSize(m_settings.pictureSize());
    requireShortTexts(m_settings);
    if (m_settings.scene.kind == SceneKind::File)
        m_fileAnswer = wrap(readFile(m_settings.scene.path));
}

SharedBytes Camera::pictureAnswer(const Configuration& configuration) {
    if (m_fileAnswer)
        return m_fileAnswer;
    const auto kept = std::ranges::find(m_kept, configuration, &KeptAnswer::configuration);
    if (kept != m_kept.end())
        return kept->answer;
    if (m_kept.size() == keptAnswers)
        m_kept.pop_front();
    m_kept.push_back({configuration, render(m_settings.scene.kind, configuration)});
    return m_kept.back().answer;
}

SharedBytes Camera::blackPictureAnswer(const Configuration& configuration) const {
    return render(SceneKind::Black, configuration);
}

SharedBytes Camera::render(SceneKind scene, const Configuration& configuration) const {
    const Picture picture = renderScene(scene, m_settings.pictureSize(), configuration.channels(),
                                        configuration.exposureUnits, m_settings.seed);
    return wrap(configuration.format == PictureFormat::Png ? writePng(picture) : writeSgi(picture));
}

std::optional<Fault> Camera::nextFault(Place place) {
    for (Fault& fault : m_settings.faults) {
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
