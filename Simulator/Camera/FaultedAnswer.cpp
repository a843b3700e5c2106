#include "Camera/FaultedAnswer.h"

#include "Camera/Delivery.h"
#include "Camera/PngWriter.h"
#include "Camera/Random.h"
#include "Camera/SgiWriter.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace Simulator {

namespace {

constexpr std::uint8_t wrongCommand = 2;
constexpr std::uint8_t unknownCode = 99;
constexpr std::size_t longValueBytes = 8;
constexpr std::size_t mostArguments = 255;
constexpr std::uint32_t hugeImageBytes = 0x7FFFFFFF;
constexpr std::size_t garbagePictureBytes = 4096;
constexpr std::size_t valueOffset = headerBytes + argumentHeaderBytes;
constexpr std::size_t lengthOffset = 1;
constexpr std::size_t argumentLengthOffset = headerBytes + 1;
// Added to the bytes before the value, which a reader counts first, this is 2^32, that is nothing.
constexpr auto wrappingLength = static_cast<std::uint32_t>(0U - valueOffset);

Argument onlyArgument(ByteView answer) {
    return {answer[headerBytes], answer.subspan(valueOffset, answer.size() - valueOffset - checksumBytes)};
}

Bytes withNumber(ByteView answer, std::size_t offset, std::uint32_t number) {
    Bytes changed(answer.begin(), answer.end());
    Bytes digits;
    append32(digits, number);
    std::ranges::copy(digits, changed.begin() + static_cast<std::ptrdiff_t>(offset));
    seal(changed);
    return changed;
}

Bytes withWrongChecksum(ByteView answer) {
    Bytes changed(answer.begin(), answer.end());
    ++changed.back();
    return changed;
}

/// The due argument and as many `Done` behind it as make `count`.
Bytes withArguments(ByteView answer, std::size_t count) {
    std::vector<Argument> all(count, argument(ArgumentCode::done));
    all.front() = onlyArgument(answer);
    return encodeMessage(cameraCommand, all);
}

Bytes hugeImage() {
    Bytes beginning{cameraCommand};
    append32(beginning, std::numeric_limits<std::uint32_t>::max());
    beginning.push_back(1);
    beginning.push_back(static_cast<std::uint8_t>(ArgumentCode::getImage));
    append32(beginning, hugeImageBytes);
    return beginning;
}

Bytes withOtherCommand(ByteView answer) {
    const Argument only = onlyArgument(answer);
    return encodeMessage(wrongCommand, {&only, 1});
}

Bytes withUnknownCode() {
    const Argument only{unknownCode, {}};
    return encodeMessage(cameraCommand, {&only, 1});
}

Bytes wrongResponse(ByteView answer) {
    const bool pictureDue = answer[headerBytes] == static_cast<std::uint8_t>(ArgumentCode::getImage);
    return encodeAnswer(pictureDue ? ArgumentCode::done : ArgumentCode::getImage);
}

Bytes garbagePicture(std::uint64_t seed) {
    Bytes garbage(garbagePictureBytes);
    for (std::size_t index = 0; index < garbage.size(); ++index)
        garbage[index] = static_cast<std::uint8_t>(randomBits(seed, index));
    garbage.front() = 0xAA; // neither format begins so, whatever the seed
    return encodeAnswer(ArgumentCode::getImage, garbage);
}

Bytes emptyPicture(const Configuration& configuration) {
    const bool png = configuration.format == PictureFormat::png;
    const Bytes file = png ? writeEmptyPng() : writeSgi({{0, 0}, configuration.channels(), {}});
    return encodeAnswer(ArgumentCode::getImage, file);
}

std::vector<Action> send(Bytes message) {
    return {sendWhole(std::make_shared<const Bytes>(std::move(message)))};
}

} // namespace

std::vector<Action> faultedAnswer(const Fault& fault, const SharedBytes& answer, Camera& camera,
                                  const Configuration& configuration) {
    const auto length = static_cast<std::uint32_t>(answer->size());
    switch (fault.kind) {
    case FaultKind::checksum:
        return send(withWrongChecksum(*answer));
    case FaultKind::error:
        return send(encodeErrorAnswer(fault.number.value_or(0)));
    case FaultKind::wrongResponse:
        return send(wrongResponse(*answer));
    case FaultKind::noArgument:
        return send(encodeMessage(cameraCommand, {}));
    case FaultKind::twoArguments:
        return send(withArguments(*answer, 2));
    case FaultKind::manyArguments:
        return send(withArguments(*answer, mostArguments));
    case FaultKind::hugeImage:
        return send(hugeImage());
    case FaultKind::wrongCommand:
        return send(withOtherCommand(*answer));
    case FaultKind::unknownCode:
        return send(withUnknownCode());
    case FaultKind::lengthLarge:
        return send(withNumber(*answer, lengthOffset, length * 2));
    case FaultKind::lengthSmall:
        return send(withNumber(*answer, lengthOffset, length / 2));
    case FaultKind::lengthWrap:
        return send(withNumber(*answer, argumentLengthOffset, wrappingLength));
    case FaultKind::longValue:
        return send(encodeAnswer(ArgumentCode::done, Bytes(longValueBytes)));
    case FaultKind::garbagePicture:
        return send(garbagePicture(camera.settings().seed));
    case FaultKind::emptyPicture:
        return send(emptyPicture(configuration));
    case FaultKind::blackPicture:
        return {sendWhole(camera.blackPictureAnswer(configuration))};
    default:
        return faultedDelivery(fault, answer, camera.settings().seed).value_or(std::vector<Action>());
    }
}

} // namespace Simulator
