#pragma once
// A message off a communicator that the test plays.

#include "NativeCameraKorva/KorvaBinaryCommunication.h"
#include "NativeCameraKorva/KorvaMessageReader.h"

#include "Hex.h"
#include "PluginLog.h"
#include "Support/ScriptedCommunicator.h"

#include <cstdint>
#include <vector>

namespace MessageTests {

using namespace HexBytes;
using namespace Korva::Binary;
using namespace PluginLogs;
using TestSupport::Bytes;
using TestSupport::ScriptedCommunicator;

inline constexpr char loggerName[] = "Plenar.KorvaCamera.KorvaInternalsComm";

inline constexpr std::uint8_t doneCode = 0;
inline constexpr std::uint8_t errorCode = 1;
inline constexpr std::uint8_t imageCode = 6;

struct Exchange : ::testing::Test {
    ScriptedCommunicator communicator;
    PluginLog log{loggerName, "KorvaBinaryCommunication"};
    Header header;
    std::vector<FullArg> args;

    bool parse() { return parseIncomingMessage(&communicator, header, args); }
    bool parseWithin(std::uint32_t imageByteLimit) {
        return readMessage(communicator, header, args, imageByteLimit);
    }
};

} // namespace MessageTests
