// The message reader on any bytes: as they are, and as arguments of messages whose lengths and checksums are
// right, which must come back as they were sent.

#include "FuzzInput.h"
#include "FuzzLogging.h"
#include "FuzzMessages.h"
#include "SpanCommunicator.h"

#include "NativeCameraKorva/KorvaBinaryCommunication.h"
#include "NativeCameraKorva/KorvaMessageReader.h"

#include <algorithm>
#include <vector>

namespace {

using namespace Korva::Binary;
using Fuzz::ArgView;
using Fuzz::require;
using Fuzz::View;

constexpr std::uint32_t imageByteLimit = 1u << 16;

View valueOf(const FullArg& arg) {
    const std::uint32_t length = bigEndian32(arg.header.length);
    const bool isImage = arg.header.type == static_cast<std::uint8_t>(ArgCode::GetImage);
    require(isImage ? arg.data != nullptr && length <= imageByteLimit : length <= inlineValueBytes);
    return {isImage ? arg.data.get() : arg.value.data(), length};
}

void readAsTheyAre(View wire, std::size_t pieceBytes) {
    Fuzz::SpanCommunicator communicator({wire, pieceBytes});
    Header header;
    std::vector<FullArg> args;
    const bool complete = readMessage(communicator, header, args, imageByteLimit);
    require(args.size() <= header.argCount && (!complete || args.size() == header.argCount));
    std::size_t valueBytes = 0;
    for (const FullArg& arg : args)
        valueBytes += valueOf(arg).size();
    require(valueBytes <= wire.size());
    validateCommandResponse(header, args, true);
}

bool isSame(const FullArg& arg, const ArgView& sent) {
    const View value = valueOf(arg);
    return arg.header.type == sent.code &&
           std::equal(value.begin(), value.end(), sent.value.begin(), sent.value.end());
}

void readAsArguments(const std::vector<ArgView>& sent, std::size_t pieceBytes) {
    const Fuzz::Bytes wire = Fuzz::messageOf(sent);
    // Headers arrive whole, as a transport's short reads do; values in pieces.
    Fuzz::SpanCommunicator communicator({wire, pieceBytes, true});
    Header header;
    std::vector<FullArg> args;
    const auto refused = std::find_if_not(sent.begin(), sent.end(), Fuzz::isReadable);
    const bool complete = readMessage(communicator, header, args, imageByteLimit);
    require(complete == (refused == sent.end()));
    require(std::equal(args.begin(), args.end(), sent.begin(), refused, isSame));
    require(!complete || communicator.isExhausted());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Fuzz::Input input(data, size);
    Fuzz::setLogging(false); // slow; ConnectionProbe has the reader's lines built
    const bool mended = (input.byte() & 1) != 0;
    const std::size_t pieceBytes = std::size_t{input.byte()} + 1;
    if (mended)
        readAsArguments(Fuzz::argumentsFrom(input, maximumArgCount), pieceBytes);
    else
        readAsTheyAre(input.rest(), pieceBytes);
    return 0;
}
