#include "SocketCells.h"

#include "Camera/Camera.h"
#include "Camera/Random.h"
#include "FaultMatrixReader.h"
#include "Platform/Text.h"
#include "Support/WireMessages.h"

#include <cctype>
#include <ostream>

using namespace FaultMatrix;

namespace Integration {
namespace {

constexpr std::size_t garbageLength = 64;
constexpr char unknownModel[] = "XM99";

/// Of a sample picture: grey, as a PNG file, of a tenth of a second.
constexpr Simulator::Configuration sampleConfiguration{1, 3, Simulator::PictureFormat::png};

/// The simulator's meaningless bytes: drawn from its seed, but for the first.
TestSupport::Bytes garbageOf(const Simulator::CameraSettings& settings) {
    TestSupport::Bytes bytes(garbageLength);
    for (std::size_t index = 0; index < bytes.size(); ++index)
        bytes[index] = static_cast<std::uint8_t>(Simulator::randomBits(settings.seed, index));
    bytes.front() = 0xAA;
    return bytes;
}

ReplyReading replyReadingOf(const SocketCell& cell, const std::string& due, const std::string& before) {
    if (cell.kind != Kind::garbage)
        return FaultMatrix::replyReadingOf(cell.kind, due, before);
    const TestSupport::Bytes noise = garbageOf(settingsOf(cell));
    return receivedReply(std::string(noise.begin(), noise.end()), Ending::silence);
}

} // namespace

std::ostream& operator<<(std::ostream& stream, const SocketCell& cell) {
    return stream << cell.fault;
}

std::string nameOfCell(const testing::TestParamInfo<SocketCell>& info) {
    std::string name;
    for (const char c : std::string(info.param.fault))
        name += std::isalnum(static_cast<unsigned char>(c)) != 0 ? c : '_';
    return name + "_attempt_" + std::to_string(info.param.attempt);
}

Simulator::CameraSettings settingsOf(const SocketCell& cell) {
    Simulator::CameraSettings settings;
    settings.scene.kind = Simulator::SceneKind::noise;
    settings.size = cellPictureSize;
    if (isOfAPicture(cell.exchange))
        settings.hardware = unknownModel;
    if (cell.attempt > 1)
        settings.faults.push_back(Simulator::parseFault("configure:error=" + std::to_string(refusalCode) +
                                                        "*" + std::to_string(cell.attempt - 1)));
    settings.faults.push_back(Simulator::parseFault(cell.fault));
    return settings;
}

Struck struckBy(const SocketCell& cell, const Simulator::Configuration& configuration) {
    const Simulator::CameraSettings settings = settingsOf(cell);
    const Place place{cell.exchange, cell.attempt};
    const bool isPicture = cell.exchange == Exchange::get;
    if (cell.kind == Kind::garbage)
        return {place, received(garbageOf(settings), Ending::silence, isPicture).reading, isPicture};
    return FaultMatrix::struckBy(cell.kind, place, TestSupport::wireMessage({{0, {}}}),
                                 *Simulator::Camera(settings).pictureAnswer(configuration));
}

Identified goodCamera(const SocketCell& cell, const std::wstring& address) {
    const Simulator::CameraSettings settings = settingsOf(cell);
    return {address,
            {"[Version --HW " + settings.hardwareIdentifier() + " --SW 3.2.15 --API 1.4]",
             "[SerialNumber --Camera 1234]",
             "[--Settings --NetworkProtocol static --NetMask 255.255.255.0 --NetGateway 0.0.0.0]"},
            std::nullopt,
            std::nullopt,
            {cellPictureSize.width, cellPictureSize.height}};
}

Identified faultyCamera(const SocketCell& cell, const std::wstring& address) {
    Identified camera = goodCamera(cell, address);
    if (isText(cell.exchange)) {
        const std::size_t query = static_cast<std::size_t>(cell.exchange) - 1;
        camera.faulty = {query,
                         replyReadingOf(cell, camera.replies.at(query), camera.replies.at((query + 2) % 3))};
    } else if (isOfAPicture(cell.exchange)) {
        camera.struck = struckBy(cell, sampleConfiguration);
    }
    return camera;
}

void expectSame(const CameraInfo& info, const Identity& identity) {
    EXPECT_EQ(info.getFW(), Platform::wideFromUtf8("SW-" + identity.software + "_API-" + identity.api));
    EXPECT_EQ(info.getSerialNumber(), Platform::wideFromUtf8(identity.serial));
    EXPECT_EQ(info.getSubnetMask(), Platform::wideFromUtf8(identity.netMask));
    EXPECT_EQ(info.getDefaultGateway(), Platform::wideFromUtf8(identity.gateway));
    EXPECT_EQ(info.getResolutionX(), identity.size.first);
    EXPECT_EQ(info.getResolutionY(), identity.size.second);
}

std::vector<TestSupport::LogText> textsOf(const Lines& lines) {
    std::vector<TestSupport::LogText> texts;
    for (const Line& line : lines)
        texts.push_back({line.level, line.message});
    return texts;
}

} // namespace Integration
