#pragma once
// A camera device over a scripted transport, and what the transport answers.

#include "ImagingLibrary/image_t.h"
#include "NativeCameraKorva/KorvaCamera.h"
#include "Support/ScriptedCommunicator.h"
#include "Support/WireMessages.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace DeviceFixture {

using TestSupport::Bytes;
using TestSupport::ScriptedCommunicator;

inline CameraInfo describedAs(int width, int height) {
    CameraInfo info;
    info.setCameraTypeEnum(6);
    info.setModel(L"Korva Meridian M61");
    info.setIpAddress(L"10.0.0.5");
    info.setSerialNumber(L"4711");
    info.setResolutionX(width);
    info.setResolutionY(height);
    return info;
}

/// The grey value of pixel `index`, rows from the top, of greyFile()'s picture.
inline std::uint8_t greyOf(unsigned int index, unsigned int seed = 0) {
    return static_cast<std::uint8_t>((index + seed) % 200 + 1);
}

/// An SGI file of three channels of 16 bits, all the same, whose pixels come out as greyOf() says.
inline Bytes greyFile(unsigned int width, unsigned int height, unsigned int seed = 0) {
    constexpr unsigned int headerBytes = 512;
    constexpr unsigned int samplesPerGreyStep = 64;
    Bytes file{0x01, 0xDA, 0, 2, 0, 3};
    for (const unsigned int field : {width, height, 3u}) {
        file.push_back(static_cast<std::uint8_t>(field >> 8));
        file.push_back(static_cast<std::uint8_t>(field));
    }
    file.resize(headerBytes);
    for (int channel = 0; channel < 3; ++channel) {
        for (unsigned int fromBottom = 0; fromBottom < height; ++fromBottom) {
            for (unsigned int x = 0; x < width; ++x) {
                const unsigned int index = (height - 1 - fromBottom) * width + x;
                const unsigned int sample = greyOf(index, seed) * samplesPerGreyStep;
                file.push_back(static_cast<std::uint8_t>(sample >> 8));
                file.push_back(static_cast<std::uint8_t>(sample));
            }
        }
    }
    return file;
}

/// The grey pixels of that file's picture, the first `count`.
inline Bytes greyPixels(unsigned int count, unsigned int seed = 0) {
    Bytes pixels;
    for (unsigned int index = 0; index < count; ++index)
        pixels.push_back(greyOf(index, seed));
    return pixels;
}

inline Bytes doneMessage() {
    return TestSupport::wireMessage({{0, {}}});
}

/// The three answers of a capture, each to the next request.
inline void answerCapture(ScriptedCommunicator& camera, const Bytes& file) {
    camera.afterNextWrite().deliver(doneMessage());
    camera.afterNextWrite().deliver(doneMessage());
    camera.afterNextWrite().deliver(TestSupport::wireMessage({{6, file}}));
}

/// What the camera reported, in order.
using Codes = std::vector<int>;

inline NetworkHealthCallback into(Codes& codes) {
    return [&codes](NetworkHealth health) { codes.push_back(health.getCode()); };
}

/// A device and the transport that belongs to it.
struct HeldCamera {
    explicit HeldCamera(int width = 4, int height = 3)
        : transport(new ScriptedCommunicator),
          device(std::make_unique<KorvaCamera>(transport, describedAs(width, height))) {}

    ScriptedCommunicator* transport;
    std::unique_ptr<KorvaCamera> device;
};

inline Bytes pixelsOf(const image_t& image) {
    if (image.pixels == nullptr)
        return {};
    const std::size_t count = image_t::byteCount(image.format, image.width, image.height);
    return Bytes(image.pixels.get(), image.pixels.get() + count);
}

} // namespace DeviceFixture
