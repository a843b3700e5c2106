// A whole identification over a scripted transport. The input is the camera's three text replies, each ended
// by a record separator (0x1E) and none if it is empty, and then the file of its sample picture.

#include "PngChunks.h"

#include "Communicator/DeviceException.h"
#include "ImagingLibrary/image_t.h"
#include "NativeCameraKorva/KorvaIdentification.h"
#include "Support/ScriptedHost.h"
#include "Support/ScriptedTransport.h"
#include "Support/WireMessages.h"
#include "World/Clock.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace {

using TestSupport::Bytes;
using TestSupport::ScriptedCommunicator;

constexpr std::size_t byteLimit = std::size_t{1} << 16;
constexpr std::uint8_t recordSeparator = 0x1E;
constexpr int korvaCameraType = 6;
constexpr std::uint8_t doneCode = 0;
constexpr std::uint8_t imageCode = 6;

void require(bool condition) {
    if (!condition)
        std::abort();
}

/// Takes the bytes up to the next separator from the front of `rest`.
Bytes nextRecord(Bytes& rest) {
    const auto end = std::find(rest.begin(), rest.end(), recordSeparator);
    Bytes record(rest.begin(), end);
    rest.erase(rest.begin(), end == rest.end() ? end : end + 1);
    return record;
}

void answer(ScriptedCommunicator& camera, const Bytes& reply) {
    camera.afterNextWrite();
    if (!reply.empty())
        camera.deliver(reply);
}

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
    TestSupport::ScriptedHost host;
    TestSupport::ScriptedTransport transport;
    Bytes rest(data, data + size);
    for (int query = 0; query < 3; ++query)
        answer(transport.atPort(32768), nextRecord(rest));
    Fuzz::shortenCutChunk(rest);
    ScriptedCommunicator& binary = transport.atPort(32769);
    answer(binary, TestSupport::wireMessage({{doneCode, {}}}));
    answer(binary, TestSupport::wireMessage({{doneCode, {}}}));
    answer(binary, TestSupport::wireMessage({{imageCode, rest}}));
    try {
        checkDescription(Korva::determineCameraInfoByAddress("10.0.0.5", ""));
    } catch (const DeviceException& exception) {
        require(!exception.getMessage().empty());
    }
    require(transport.alive() == 0 && host.imaging.alive.empty());
    require(transport.calls("connect 10.0.0.5:32768").size() == 1);
    require(transport.calls("disconnect 10.0.0.5:32768").size() == 1);
    return 0;
}
