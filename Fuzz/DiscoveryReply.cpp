// The parser of text replies on any bytes, alone and behind an earlier text, and what reads its values.

#include "NativeCameraKorva/KorvaCommParser.h"
#include "NativeCameraKorva/KorvaConstants.h"
#include "NativeCameraKorva/KorvaHelper.h"
#include "NativeCameraKorva/KorvaIdentification.h"
#include "Platform/Text.h"
#include "Support/ScriptedNetwork.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <utility>

namespace {

void require(bool condition) {
    if (!condition)
        std::abort();
}

void use(const std::string& value, const std::string& text) {
    require(value.size() <= text.size());
    static_cast<void>(Platform::wideFromUtf8(value));
    static_cast<void>(Korva::checkSoftwareVersion(value));
    static_cast<void>(Korva::getKorvaMacAddress(value));
    for (const std::string& known : Korva::knownHardwareIds)
        static_cast<void>(Korva::endsWith(value, known));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    TestSupport::NetworkScript::current() = {};
    std::string text(data, data + size);
    std::string before = "[Korva --Room Lab --IP 10.0.0.5]";

    Korva::CommParser parser;
    parser.parse(text.data());
    require(parser.isParsed());
    for (const char* key : {"--Room", "--IP", "--HW", "--SW", "--API", "--Camera", "--NetMask", "--", ""})
        use(parser.getValue(key), text);

    Korva::CommParser second;
    second.parse(before.data());
    second.parse(text.data());
    require(second.getValue("--Room") == "Lab" && second.getValue("--IP") == "10.0.0.5");
    use(second.getValue("--HW"), text);

    const Korva::CommParser copy(second);
    Korva::CommParser moved(std::move(second));
    moved = copy;
    require(moved.getValue("--Room") == "Lab");
    return 0;
}
