// A whole identification over scripted connections. The input is the camera's three text replies, each ended
// by a record separator (0x1E) and none if it is empty, and then the file of its sample picture.

#include "FuzzInput.h"
#include "PngChunks.h"

#include "Communicator/DeviceException.h"
#include "ImagingLibrary/image_t.h"
#include "NativeCameraKorva/KorvaIdentification.h"
#include "ReferenceHost/HostControl.h"
#include "World/Answers.h"
#include "World/Calls.h"
#include "World/Network.h"

namespace {

using Fuzz::Bytes;
using Fuzz::require;

constexpr std::size_t byteLimit = std::size_t{1} << 16;
constexpr std::uint8_t recordSeparator = 0x1E;
constexpr int korvaCameraType = 6;

void checkDescription(const CameraInfo& info) {
    require(info.getCameraTypeEnum() == korvaCameraType);
    require(info.getIpAddress() == L"10.0.0.5" && info.getMacAddress().empty());
    require(info.getResolutionX() != 0 || info.getResolutionY() != 0);
    require(info.getModel().starts_with(L"Korva Meridian ") && info.getFW().starts_with(L"SW-"));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    image_t::setByteLimit(byteLimit);
    World::reset();
    auto& calls = World::Calls::current();
    calls.failAlways("fopen", 0); // no run leaves a file behind
    auto& network = World::Network::current();
    Fuzz::Input input(data, size);
    for (int query = 0; query < 3; ++query) {
        const Fuzz::View reply = input.viewUpTo(recordSeparator);
        network.at("10.0.0.5", 32768).answer(Bytes(reply.begin(), reply.end()));
    }
    const Fuzz::View rest = input.rest();
    Bytes file(rest.begin(), rest.end());
    Fuzz::shortenCutChunk(file);
    network.at("10.0.0.5", 32769).answer(World::done()).answer(World::done()).answer(World::image(file));
    try {
        checkDescription(Korva::determineCameraInfoByAddress("10.0.0.5", ""));
    } catch (const DeviceException& exception) {
        require(!exception.getMessage().empty());
    }
    require(network.openConnections().empty() && ReferenceHost::liveImageCount() == 0);
    require(calls.of("connect 10.0.0.5:32768").size() == 1);
    require(calls.of("close 10.0.0.5:32768").size() == 1);
    return 0;
}
