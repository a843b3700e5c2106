// The message reader on any bytes: as they are, and as arguments of messages whose lengths and checksums are
// right, which must come back as they were sent.

#include "FuzzInput.h"

#include "NativeCameraKorva/KorvaBinaryCommunication.h"
#include "Support/ScriptedCommunicator.h"

#include <algorithm>
#include <vector>

namespace {

using namespace Korva::Binary;
using Fuzz::Bytes;
using Fuzz::require;

constexpr std::uint32_t imageByteLimit = 1u << 16;
constexpr std::uint8_t imageCode = static_cast<std::uint8_t>(ArgCode::GetImage);

Bytes valueOf(const FullArg& arg) {
    const std::uint32_t length = bigEndian32(arg.header.length);
    const bool isImage = arg.header.type == imageCode;
    require(isImage ? arg.data != nullptr && length <= imageByteLimit : length <= inlineValueBytes);
    const std::uint8_t* const bytes = isImage ? arg.data.get() : arg.value.data();
    return {bytes, bytes + length};
}

/// As many arguments as the bytes make, each with a value that the reader takes.
std::vector<Fuzz::WireArg> argumentsFrom(Fuzz::Input& input) {
    std::vector<Fuzz::WireArg> args;
    while (!input.isEmpty() && args.size() < maximumArgCount) {
        Fuzz::WireArg& arg = args.emplace_back();
        arg.type = input.byte();
        const std::size_t length = input.byte();
        arg.value = input.bytes(arg.type == imageCode ? length : length % (inlineValueBytes + 1));
    }
    return args;
}

void readAsTheyAre(const Bytes& wire, std::size_t pieceBytes) {
    TestSupport::ScriptedCommunicator communicator;
    communicator.deliverInPieces(wire, pieceBytes);
    Header header;
    std::vector<FullArg> args;
    const bool complete = parseIncomingMessage(&communicator, header, args);
    require(args.size() <= header.argCount && (!complete || args.size() == header.argCount));
    for (const FullArg& arg : args)
        valueOf(arg);
    validateCommandResponse(header, args, true);
}

void readAsArguments(const std::vector<Fuzz::WireArg>& sent, std::size_t pieceBytes) {
    TestSupport::ScriptedCommunicator communicator;
    const Bytes wire = TestSupport::wireMessage(sent);
    // Headers arrive whole, as a transport's short reads do; values and what is behind them in pieces.
    auto at = wire.begin();
    const auto deliver = [&](std::size_t count) {
        communicator.deliver(Bytes(at, at + static_cast<std::ptrdiff_t>(count)));
        at += static_cast<std::ptrdiff_t>(count);
    };
    deliver(headerBytes);
    for (const Fuzz::WireArg& arg : sent) {
        deliver(argHeaderBytes);
        for (std::size_t left = arg.value.size(); left != 0;) {
            const std::size_t piece = std::min(left, pieceBytes);
            deliver(piece);
            left -= piece;
        }
    }
    deliver(checksumBytes);
    Header header;
    std::vector<FullArg> args;
    require(parseIncomingMessage(&communicator, header, args) && args.size() == sent.size());
    require(std::equal(args.begin(), args.end(), sent.begin(), [](const FullArg& arg, const auto& original) {
        return arg.header.type == original.type && valueOf(arg) == original.value;
    }));
    require(communicator.isExhausted());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    setImageByteLimit(imageByteLimit);
    Fuzz::Input input(data, size);
    const unsigned int settings = input.byte();
    const bool mended = (settings & 1) != 0;
    Fuzz::setLogging((settings & 2) != 0);
    const std::size_t pieceBytes = std::size_t{input.byte()} + 1;
    if (mended)
        readAsArguments(argumentsFrom(input), pieceBytes);
    else
        readAsTheyAre(input.rest(), pieceBytes);
    return 0;
}
