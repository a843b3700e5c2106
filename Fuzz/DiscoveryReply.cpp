// The parser of text replies on any bytes, alone and behind an earlier text.

#include "FuzzInput.h"

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

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string text(data, data + size);
    CommParser parser;
    parser.parse(text.data());
    require(parser.isParsed());
    for (const std::string& key : keys)
        require(parser.getValue(key).size() <= size);
    // Texts of some lengths only, as it costs more than the rest.
    if (size % 16 == 0)
        appendToAnother(text);
    return 0;
}
