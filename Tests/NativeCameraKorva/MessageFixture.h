#pragma once
// A message off a communicator that the test plays.

#include "NativeCameraKorva/KorvaBinaryCommunication.h"
#include "NativeCameraKorva/KorvaMessageReader.h"

#include "PluginLog.h"
#include "Support/ScriptedCommunicator.h"

#include <cctype>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace MessageTests {

using namespace Korva::Binary;
using namespace PluginLogs;
using TestSupport::Bytes;
using TestSupport::ScriptedCommunicator;

inline constexpr char loggerName[] = "Plenar.KorvaCamera.KorvaInternalsComm";

inline constexpr std::uint8_t doneCode = 0;
inline constexpr std::uint8_t errorCode = 1;
inline constexpr std::uint8_t imageCode = 6;

/// Bytes written out by hand: two hexadecimal digits a byte; blanks between bytes mean nothing.
inline Bytes operator""_hex(const char* text, std::size_t length) {
    std::string digits;
    for (std::size_t i = 0; i < length; ++i)
        if (std::isspace(static_cast<unsigned char>(text[i])) == 0)
            digits += text[i];
    Bytes bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2)
        bytes.push_back(static_cast<std::uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
    return bytes;
}

struct Exchange : ::testing::Test {
    ScriptedCommunicator communicator;
    PluginLog log{loggerName, "KorvaBinaryCommunication"};
    Header header;
    std::vector<FullArg> args;

    bool parse() { return parseIncomingMessage(&communicator, header, args); }
};

} // namespace MessageTests
