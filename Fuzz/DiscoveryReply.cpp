// The parser of text replies on any bytes, alone, behind an earlier text, and beside the tool's own reading.

#include "FuzzInput.h"

#include "Look/CameraTexts.h"
#include "NativeCameraKorva/KorvaCommParser.h"

#include <array>
#include <string>
#include <utility>

namespace {

using Fuzz::require;
using Korva::CommParser;

const std::string roomKey = "--Room";
const std::string ipKey = "--IP";
const std::array<std::string, 6> keys{roomKey, ipKey, "--HW", "--Camera", "--", ""};

/// The entries of a second text stand behind those of the first, and go along with a copy.
void appendToAnother(std::string& text) {
    std::string before = "[Korva --Room Lab --IP 10.0.0.5]";
    CommParser second;
    second.parse(before.data());
    second.parse(text.data());
    require(second.getValue(roomKey) == "Lab" && second.getValue(ipKey) == "10.0.0.5");
    const CommParser copy(second);
    CommParser moved(std::move(second));
    moved = copy;
    require(moved.getValue(roomKey) == "Lab");
}

/// The tool's own look takes for a reply what the plug-in does, and reads the same in it; but a room without
/// a name is none to it, where the plug-in takes the next key for one.
void requireSameReading(const std::string& text, CommParser& parser) {
    const std::string room = parser.getValue(roomKey);
    const std::string ip = parser.getValue(ipKey);
    const bool isReply = text.find("[Korva") < text.find('\0') && !room.empty() && !ip.empty();
    const auto reply = Diagnosis::readDiscoveryReply(text);
    require(reply.has_value() == isReply);
    require(!reply || (reply->room == (room.starts_with("--") ? "" : room) && reply->address == ip));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string text(data, data + size);
    CommParser parser;
    parser.parse(text.data());
    require(parser.isParsed());
    for (const std::string& key : keys)
        require(parser.getValue(key).size() <= size);
    requireSameReading(text, parser);
    // Texts of some lengths only, as it costs more than the rest.
    if (size % 16 == 0)
        appendToAnother(text);
    return 0;
}
