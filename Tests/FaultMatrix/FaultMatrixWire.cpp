#include "FaultMatrixWire.h"

#include "Support/Beginning.h"
#include "Support/WireMessages.h"

#include <algorithm>
#include <optional>
#include <random>
#include <stdexcept>

using namespace std::chrono_literals;

namespace FaultMatrix {
namespace {

using TestSupport::beginningOf;
using TestSupport::WireArg;
using TestSupport::wireMessage;
using What = Arrival::What;

constexpr std::size_t headerBytes = 6;
constexpr std::size_t valueOffset = 11;
constexpr std::size_t checksumBytes = 2;
constexpr std::uint8_t codeDone = 0;
constexpr std::uint8_t codeImage = 6;
constexpr unsigned int seed = 20;
constexpr std::size_t endlessBlock = 1024;
constexpr std::size_t datagramsOfAFlood = 1000;

Arrival arrival(Bytes bytes, std::chrono::milliseconds after = 0ms) {
    return {What::bytes, std::move(bytes), after};
}

Arrival endless(std::uint8_t byte) {
    return {What::endless, Bytes(endlessBlock, byte), 0ms};
}

Bytes bytesOf(const std::string& text) {
    return Bytes(text.begin(), text.end());
}

/// Pieces of up to a ninth of the bytes, pauses of less than `longestPause`.
Arrivals inRandomPieces(const Bytes& bytes, std::chrono::milliseconds longestPause) {
    std::mt19937 random(seed);
    Arrivals pieces;
    for (std::size_t at = 0; at < bytes.size();) {
        const std::size_t count = std::min(1 + random() % (1 + bytes.size() / 9), bytes.size() - at);
        const auto pause = std::chrono::milliseconds(random() % static_cast<unsigned>(longestPause.count()));
        const auto* const piece = bytes.data() + at;
        pieces.push_back(arrival(Bytes(piece, piece + count), pause));
        at += count;
    }
    return pieces;
}

Arrivals byteByByte(const Bytes& bytes) {
    Arrivals pieces;
    for (const std::uint8_t byte : bytes)
        pieces.push_back(arrival({byte}, 5ms));
    return pieces;
}

WireArg onlyArg(const Bytes& message) {
    return {message[headerBytes], Bytes(message.begin() + valueOffset, message.end() - checksumBytes)};
}

Bytes withDones(const Bytes& message, std::size_t count) {
    std::vector<WireArg> args(count + 1, WireArg{codeDone, {}});
    args.front() = onlyArg(message);
    return wireMessage(args);
}

/// The message with another number at `offset`, and the checksum that goes with it.
Bytes withNumber(const Bytes& message, std::size_t offset, std::uint32_t number) {
    Bytes digits;
    TestSupport::appendBig32(digits, number);
    Bytes changed = beginningOf(message, message.size() - checksumBytes);
    std::copy(digits.begin(), digits.end(), changed.begin() + static_cast<std::ptrdiff_t>(offset));
    return TestSupport::withChecksum(std::move(changed));
}

Bytes imageOfTwoGibibytes() {
    Bytes beginning{1, 0xFF, 0xFF, 0xFF, 0xFF, 1, codeImage};
    TestSupport::appendBig32(beginning, 0x7FFFFFFF);
    return beginning;
}

/// Faults of the connection, the same in every language; none where the kind is of the bytes.
std::optional<Arrivals> faultyDelivery(Kind kind, const Bytes& due, const Bytes& before) {
    switch (kind) {
    case Kind::closedAtOnce:
        return Arrivals{{What::closed, {}, 0ms}};
    case Kind::silent:
        return Arrivals{};
    case Kind::reset:
        return Arrivals{{What::reset, {}, 0ms}};
    case Kind::delayedPastTheTimeout:
        return Arrivals{arrival(due, lateness)};
    case Kind::drippedByteByByte:
        return byteByByte(due);
    case Kind::garbage:
        return whole(garbage());
    case Kind::answerOfTheMessageBefore:
        return whole(before);
    case Kind::answerTwice:
        return Arrivals{arrival(due), arrival(due)};
    case Kind::endlessData:
        return Arrivals{endless(endlessByte)};
    default:
        return std::nullopt;
    }
}

Bytes faultyBytes(Kind kind, const Bytes& due) {
    const auto length = static_cast<std::uint32_t>(due.size());
    switch (kind) {
    case Kind::wrongChecksum: {
        Bytes changed = due;
        ++changed.back();
        return changed;
    }
    case Kind::lengthTooSmall:
        return withNumber(due, 1, length / 2);
    case Kind::lengthTooLarge:
        return withNumber(due, 1, length * 2);
    case Kind::lengthWrapping:
        return withNumber(due, headerBytes + 1, 0xFFFFFFFF - valueOffset + 1);
    case Kind::imageBeyondTheLimit:
        return imageOfTwoGibibytes();
    case Kind::valueTooLong:
        return wireMessage({{codeDone, Bytes(8)}});
    case Kind::noArgument:
        return wireMessage({});
    case Kind::twoArguments:
        return withDones(due, 1);
    case Kind::arguments255:
        return withDones(due, 254);
    case Kind::wrongCommand:
        return wireMessage({onlyArg(due)}, 2);
    case Kind::wrongCode:
        return wireMessage({{'c', {}}});
    case Kind::wrongAnswer:
        return wireMessage({{due[headerBytes] == codeImage ? codeDone : codeImage, {}}});
    case Kind::errorWithACode:
        return wireMessage({{1, {0, 0, 0, errorCode}}});
    default:
        throw std::logic_error("a fault that sends no message");
    }
}

} // namespace

Arrivals whole(Bytes bytes) {
    return {arrival(std::move(bytes))};
}

std::string beginningBeforeClosing(const std::string& reply) {
    return reply.substr(0, reply.size() / 2);
}

std::string beginningBeforeSilence(const std::string& reply) {
    return reply.substr(0, reply.size() * 3 / 4);
}

const Bytes& garbage() {
    static const Bytes bytes = [] {
        Bytes made{0xDE, 0xAD, 0xBE, 0xEF, 0x10, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66};
        std::mt19937 random(seed);
        while (made.size() < garbageBytes)
            made.push_back(static_cast<std::uint8_t>(random() | 0x80));
        return made;
    }();
    return bytes;
}

Arrivals faultyMessage(Kind kind, const Bytes& due, const Bytes& before) {
    if (const auto delivery = faultyDelivery(kind, due, before))
        return *delivery;
    switch (kind) {
    case Kind::truncatedThenClosed:
        return {arrival(beginningOf(due, cutBeforeClosing)), {What::closed, {}, 0ms}};
    case Kind::truncatedThenSilent:
        return whole(beginningOf(due, cutBeforeSilence));
    case Kind::drippedInRandomPieces:
        return inRandomPieces(due, 40ms);
    case Kind::endlessDataBehindTheAnswer:
        return {arrival(due), endless(trailingByte)};
    default:
        return whole(faultyBytes(kind, due));
    }
}

Arrivals faultyReply(Kind kind, const std::string& due, const std::string& before) {
    if (const auto delivery = faultyDelivery(kind, bytesOf(due), bytesOf(before)))
        return *delivery;
    switch (kind) {
    case Kind::truncatedThenClosed:
        return {arrival(bytesOf(beginningBeforeClosing(due))), {What::closed, {}, 0ms}};
    case Kind::truncatedThenSilent:
        return whole(bytesOf(beginningBeforeSilence(due)));
    case Kind::drippedInRandomPieces: // a longer pause ends a reply
        return inRandomPieces(bytesOf(due), 20ms);
    case Kind::wrongCode:
        return whole(bytesOf("[Unknown]"));
    case Kind::endlessDataBehindTheAnswer:
        return {arrival(bytesOf(due)), endless(endlessByte)};
    default:
        throw std::logic_error("a fault that no reply can have");
    }
}

std::vector<std::string> faultyDatagrams(Kind kind, const std::string& due) {
    const std::string noise(garbage().begin(), garbage().end());
    std::vector<std::string> datagrams;
    switch (kind) {
    case Kind::silent:
    case Kind::delayedPastTheTimeout:
        return {};
    case Kind::truncatedThenSilent:
        return {beginningBeforeSilence(due)};
    case Kind::drippedByteByByte:
    case Kind::drippedInRandomPieces: {
        const Bytes bytes = bytesOf(due);
        const bool single = kind == Kind::drippedByteByByte;
        for (const Arrival& piece : single ? byteByByte(bytes) : inRandomPieces(bytes, 20ms))
            datagrams.emplace_back(piece.bytes.begin(), piece.bytes.end());
        return datagrams;
    }
    case Kind::wrongCode:
        return {"[korva" + due.substr(6)};
    case Kind::garbage:
        return {noise};
    case Kind::answerTwice:
        return {due, due};
    case Kind::endlessData:
    case Kind::endlessDataBehindTheAnswer:
        datagrams.assign(datagramsOfAFlood, noise);
        if (kind == Kind::endlessDataBehindTheAnswer)
            datagrams.front() = due;
        return datagrams;
    default:
        throw std::logic_error("a fault that no datagram can have");
    }
}

} // namespace FaultMatrix
