// A whole capture from a camera that answers whatever the input says: raw bytes, or messages whose lengths
// and checksums are right, with any file as the picture. Nothing may be leaked and no image may be left
// behind; a device takes a sound camera's picture whatever came before.

#include "FuzzInput.h"
#include "FuzzLogging.h"
#include "FuzzMessages.h"
#include "FuzzedDevice.h"
#include "PngChunks.h"

#include "ImagingLibrary/Image.h"
#include "ImagingLibrary/ImagingFactory.h"
#include "ImagingLibrary/ImagingLibrary.h"
#include "ImagingLibrary/image_t.h"
#include "NativeCameraControl/ImagingInterface.h"
#include "NativeCameraKorva/KorvaHelper.h"
#include "ReferenceHost/HostControl.h"
#include "World/Calls.h"
#include "World/Clock.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <vector>

namespace {

using Fuzz::Answer;
using Fuzz::Bytes;
using Fuzz::require;
using Fuzz::View;

constexpr std::size_t byteLimit = std::size_t{1} << 16;
constexpr std::size_t requestsOfTwoAttempts = 6;
constexpr std::size_t mostArguments = 4;
constexpr std::size_t piece = 1000;

// Bits of the settings byte.
constexpr unsigned int forceMode1 = 1;
constexpr unsigned int png = 2;
constexpr unsigned int monochrome = 4;
constexpr unsigned int delayBeforeTake = 8;
constexpr unsigned int inPieces = 16;
constexpr unsigned int logged = 0xE0;      // all of them set
constexpr unsigned int deviceBits = 0xC0;  // a device's capture where they are
constexpr unsigned int withDevice = 0x40;  // this
constexpr unsigned int rightChunks = 0x80; // with png, the file's chunk checksums are made right where this

// Choices beyond the ones of answerTo().
constexpr std::uint8_t mendedMessage = 8;
constexpr std::uint8_t bytesThenClosed = 10;

constexpr std::uint8_t imageCode = 6;

/// What a sound camera answers to request number `index`, 0 to 5, of which every third fetches the picture.
Bytes soundAnswer(std::size_t index, View file) {
    return index % 3 == 2 ? Fuzz::messageOf({{imageCode, file}}) : World::done();
}

/// The answer to that request: the sound one, or what `choice` says.
Bytes answerTo(std::size_t index, std::uint8_t choice, View file) {
    Bytes image = Fuzz::messageOf({{imageCode, file}});
    switch (choice) {
    case 1:
        return index % 3 == 2 ? World::done() : image;
    case 2:
        return World::refusal(choice);
    case 3:
        return Fuzz::messageOf({{imageCode, file}, {imageCode, file}});
    case 4:
        return World::message({});
    case 5:
        image.resize(image.size() / 2);
        return image;
    case 6:
        ++image.back();
        return image;
    case 7:
        return {file.begin(), file.end()};
    default:
        return soundAnswer(index, file);
    }
}

/// True if the answer stands in the input: a message to be mended, or bytes, with the connection's end
/// behind them or not.
bool isInInput(std::uint8_t choice) {
    return choice >= mendedMessage && choice <= bytesThenClosed;
}

Bytes answerIn(Fuzz::Input& input, std::uint8_t choice) {
    if (choice == mendedMessage) {
        const std::uint8_t command = input.byte();
        return Fuzz::messageOf(Fuzz::argumentsFrom(input, input.byte() % (mostArguments + 1)), command);
    }
    const View raw = input.view(input.byte());
    return {raw.begin(), raw.end()};
}

Bytes fileFrom(View rest, unsigned int settings) {
    Bytes file(rest.begin(), rest.end());
    if ((settings & png) != 0) {
        Fuzz::shortenCutChunk(file);
        if ((settings & deviceBits) == rightChunks)
            Fuzz::writeRightChecksums(file);
    }
    return file;
}

/// What the camera sends to each request: the choices, then the answers that stand in the input, then the
/// picture file.
struct Conversation {
    std::array<Bytes, requestsOfTwoAttempts> wires;
    std::vector<Answer> answers;

    Conversation(Fuzz::Input& input, unsigned int settings) {
        std::array<std::uint8_t, requestsOfTwoAttempts> choices{};
        for (std::uint8_t& choice : choices)
            choice = input.byte();
        for (std::size_t i = 0; i < choices.size(); ++i)
            if (isInInput(choices[i]))
                wires[i] = answerIn(input, choices[i]);
        const Bytes file = fileFrom(input.rest(), settings);
        const std::size_t pieceBytes = (settings & inPieces) != 0 ? piece : byteLimit;
        for (std::size_t i = 0; i < choices.size(); ++i) {
            if (!isInInput(choices[i]))
                wires[i] = answerTo(i, choices[i], file);
            answers.push_back({wires[i], pieceBytes, false, choices[i] == bytesThenClosed});
        }
    }
};

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

/// An SGI file of the device's size with every sample at half light.
Bytes soundPicture() {
    Bytes file(512 + std::size_t{Fuzz::FuzzedDevice::width} * Fuzz::FuzzedDevice::height * 6, 0x1F);
    const Bytes header{1, 0xDA, 0, 2, 0, 3, 0, Fuzz::FuzzedDevice::width, 0, Fuzz::FuzzedDevice::height,
                       0, 3};
    std::copy(header.begin(), header.end(), file.begin());
    return file;
}

/// True if the device gave a picture.
bool capture(Fuzz::FuzzedDevice& device, const std::vector<Answer>& answers) {
    KorvaCamera& camera = device.answering(answers);
    auto& imaging =
        dynamic_cast<ImagingInterface&>(*camera.getInterface(ImagingInterface::interfaceTypeName));
    const auto* const pixels = static_cast<const unsigned char*>(imaging.getImage());
    constexpr std::size_t count = std::size_t{Fuzz::FuzzedDevice::width} * Fuzz::FuzzedDevice::height;
    if (pixels != nullptr)
        require(std::accumulate(pixels, pixels + count, std::size_t{0}) <= count * 255);
    require(device.reports() ==
            std::vector{pixels == nullptr ? NetworkHealth::captureFailed : NetworkHealth::pictureCaptured});
    require(!device.isConnected());
    return pixels != nullptr;
}

void captureWithDevice(const std::vector<Answer>& answers) {
    static auto& device = *new Fuzz::FuzzedDevice;
    static const Bytes file = soundPicture();
    static const std::array<Bytes, 3> sound{soundAnswer(0, file), soundAnswer(1, file), soundAnswer(2, file)};
    static_cast<void>(capture(device, answers));
    require(capture(device, {{sound[0]}, {sound[1]}, {sound[2]}}));
}

void captureWithoutDevice(const std::vector<Answer>& answers, unsigned int settings) try {
    Fuzz::SpanCommunicator camera;
    camera.startWithRequest(answers);
    inspect(Korva::capture(&camera, (settings & forceMode1) != 0, (settings & png) != 0,
                           (settings & monochrome) != 0, static_cast<int>(settings),
                           (settings & delayBeforeTake) != 0));
    require(!camera.isConnected());
} catch (const DeviceException&) {
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    image_t::setByteLimit(byteLimit);
    World::reset();
    World::Calls::current().failAlways("fopen", 0); // no run leaves a file behind

    Fuzz::Input input(data, size);
    const unsigned int settings = input.byte();
    Fuzz::setLogging((settings & logged) == logged);
    const Conversation conversation(input, settings);
    if ((settings & deviceBits) == withDevice)
        captureWithDevice(conversation.answers);
    else
        captureWithoutDevice(conversation.answers, settings);
    require(ReferenceHost::liveImageCount() == 0);
    return 0;
}
