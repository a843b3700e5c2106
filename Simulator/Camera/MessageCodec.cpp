#include "Camera/MessageCodec.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <stdexcept>

namespace Simulator {

Argument argument(ArgumentCode code, ByteView value) {
    return {static_cast<std::uint8_t>(code), value};
}

std::uint16_t checksumOf(ByteView bytes) {
    return static_cast<std::uint16_t>(std::accumulate(bytes.begin(), bytes.end(), std::uint32_t{0}));
}

void seal(Bytes& message) {
    const std::size_t summed = message.size() - checksumBytes;
    const std::uint16_t sum = checksumOf(ByteView(message).first(summed));
    message[summed] = static_cast<std::uint8_t>(sum >> 8);
    message[summed + 1] = static_cast<std::uint8_t>(sum);
}

namespace {

void requireWritable(std::size_t length, std::size_t arguments) {
    if (length > std::numeric_limits<std::uint32_t>::max() || arguments > 255)
        throw std::length_error("A message of " + std::to_string(length) + " bytes and " +
                                std::to_string(arguments) + " arguments cannot be written");
}

} // namespace

Bytes encodeMessage(std::uint8_t command, std::span<const Argument> arguments) {
    std::size_t length = smallestMessageBytes;
    for (const Argument& each : arguments)
        length += argumentHeaderBytes + each.value.size();
    requireWritable(length, arguments.size());

    Bytes message;
    message.reserve(length);
    message.push_back(command);
    append32(message, static_cast<std::uint32_t>(length));
    message.push_back(static_cast<std::uint8_t>(arguments.size()));
    for (const Argument& each : arguments) {
        message.push_back(each.code);
        append32(message, static_cast<std::uint32_t>(each.value.size()));
        message.insert(message.end(), each.value.begin(), each.value.end());
    }
    append16(message, checksumOf(message));
    return message;
}

Bytes encodeAnswer(ArgumentCode code, ByteView value) {
    const Argument only = argument(code, value);
    return encodeMessage(cameraCommand, {&only, 1});
}

Bytes encodeImageAnswer(Bytes framed) {
    const std::size_t fileBytes = framed.size() - answerHeadBytes;
    const std::size_t length = framed.size() + checksumBytes;
    requireWritable(length, 1);
    Bytes head{cameraCommand};
    append32(head, static_cast<std::uint32_t>(length));
    head.push_back(1);
    head.push_back(static_cast<std::uint8_t>(ArgumentCode::getImage));
    append32(head, static_cast<std::uint32_t>(fileBytes));
    std::ranges::copy(head, framed.begin());
    framed.resize(length);
    seal(framed);
    return framed;
}

Bytes encodeErrorAnswer(std::uint32_t code) {
    Bytes value;
    append32(value, code);
    return encodeAnswer(ArgumentCode::error, value);
}

std::optional<std::size_t> announcedRequestLength(ByteView input) {
    if (input.size() < headerBytes)
        return std::nullopt;
    const std::size_t length = read32(input, 1);
    return length < smallestMessageBytes || length > largestRequestBytes ? 0 : length;
}

std::variant<Message, ErrorCode> decodeRequest(ByteView request) {
    const std::size_t end = request.size() - checksumBytes;
    if (checksumOf(request.first(end)) != read16(request, end))
        return ErrorCode::badChecksum;

    Message message;
    message.command = request[0];
    std::size_t at = headerBytes;
    for (unsigned left = request[5]; left > 0; --left) {
        if (end - at < argumentHeaderBytes)
            return ErrorCode::badLength;
        const std::size_t length = read32(request, at + 1);
        at += argumentHeaderBytes;
        if (end - at < length)
            return ErrorCode::badLength;
        message.arguments.push_back({request[at - argumentHeaderBytes], request.subspan(at, length)});
        at += length;
    }
    if (at != end)
        return ErrorCode::badLength;
    return message;
}

} // namespace Simulator
