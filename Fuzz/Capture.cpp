// A whole capture from a camera that answers whatever the input says: raw bytes, or messages whose lengths
// and checksums are right, with any file as the picture. Nothing may be leaked and no image may be left
// behind.

#include "FuzzInput.h"

#include "ImagingLibrary/Image.h"
#include "ImagingLibrary/ImagingFactory.h"
#include "ImagingLibrary/ImagingLibrary.h"
#include "ImagingLibrary/image_t.h"
#include "NativeCameraKorva/KorvaBinaryCommunication.h"
#include "NativeCameraKorva/KorvaHelper.h"
#include "ReferenceHost/HostControl.h"
#include "Support/ScriptedCommunicator.h"
#include "Support/ScriptedPlatform.h"

#include <numeric>

namespace {

using Fuzz::Bytes;
using Fuzz::require;
using TestSupport::wireMessage;

constexpr std::size_t byteLimit = std::size_t{1} << 20;
constexpr int requestsOfTwoAttempts = 6;

/// The answer to request number `index`, 0 to 5: the one that a sound camera gives, or what `choice` says.
Bytes answerTo(int index, std::uint8_t choice, const Bytes& file) {
    const Bytes image = wireMessage({{6, file}});
    const Bytes done = wireMessage({{0, {}}});
    switch (choice) {
    case 1:
        return index % 3 == 2 ? done : image;
    case 2:
        return wireMessage({{1, {0, 0, 0, choice}}});
    case 3:
        return wireMessage({{6, file}, {6, file}});
    case 4:
        return wireMessage({});
    case 5:
        return Bytes(image.begin(), image.begin() + static_cast<std::ptrdiff_t>(image.size() / 2));
    case 6: {
        Bytes wrongChecksum = image;
        ++wrongChecksum.back();
        return wrongChecksum;
    }
    case 7:
        return file;
    default:
        return index % 3 == 2 ? image : done;
    }
}

void inspect(Image* image) {
    if (image == nullptr)
        return;
    require(image->getBitsPerSample() == 8 && image->getSamplesPerPixel() == 1);
    const std::size_t pixels = std::size_t{image->getWidth()} * image->getHeight();
    require(pixels <= byteLimit);
    const auto* const grey = static_cast<const unsigned char*>(image->getRawImageData());
    // Reads every pixel, so that a sanitizer sees one that is not there.
    require(std::accumulate(grey, grey + pixels, std::size_t{0}) <= pixels * 255);
    ImagingFactory::getInstance()->releaseImage(image);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Korva::Binary::setImageByteLimit(static_cast<std::uint32_t>(byteLimit));
    image_t::setByteLimit(byteLimit);
    TestSupport::PlatformScript::current() = {};
    TestSupport::PlatformScript::current().openFails = true; // no run leaves a file behind

    Fuzz::Input input(data, size);
    const unsigned int settings = input.byte();
    Fuzz::setLogging((settings & 32) != 0);
    std::uint8_t choices[requestsOfTwoAttempts];
    for (std::uint8_t& choice : choices)
        choice = input.byte();
    const Bytes file = input.rest();

    TestSupport::ScriptedCommunicator camera;
    for (int index = 0; index < requestsOfTwoAttempts; ++index) {
        const std::size_t pieceBytes = (settings & 16) != 0 ? 1000 : byteLimit;
        camera.afterNextWrite().deliverInPieces(answerTo(index, choices[index], file), pieceBytes);
    }
    inspect(Korva::capture(&camera, (settings & 1) != 0, (settings & 2) != 0, (settings & 4) != 0,
                           static_cast<int>(settings), (settings & 8) != 0));
    require(ReferenceHost::liveImageCount() == 0);
    require(!camera.isConnected());
    return 0;
}
