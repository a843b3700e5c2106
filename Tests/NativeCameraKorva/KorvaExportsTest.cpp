// What the built library shows to the programs that load it.

#include <array>
#include <cstdio>
#include <gmock/gmock.h>
#include <set>
#include <sstream>
#include <string>

namespace {

std::string outputOf(const std::string& command) {
    std::FILE* const pipe = popen(command.c_str(), "r");
    if (pipe == nullptr)
        return {};
    std::string output;
    std::array<char, 4096> buffer{};
    while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), pipe))
        output.append(buffer.data(), count);
    return pclose(pipe) == 0 ? output : std::string();
}

/// The demangled names of the symbols that the library defines for others.
std::set<std::string> exportedNames() {
    std::istringstream lines(outputOf("nm -D --defined-only -C '" KORVA_PLUGIN_FILE "'"));
    std::set<std::string> names;
    std::string address;
    std::string kind;
    std::string name;
    while (lines >> address >> kind && std::getline(lines >> std::ws, name))
        names.insert(name);
    return names;
}

const std::string text = "std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >";
const std::string argList = "std::vector<Korva::Binary::FullArg, std::allocator<Korva::Binary::FullArg> >&";

TEST(PluginLibrary, ExportsItsEntryPointsAndNothingElse) {
    const std::set<std::string> expected{
        "pnx_initialize_device_plugin",
        "pnx_uninitialize_device_plugin",
        "initializeKorvaCamera()",
        "getKorvaCameraType()",
        "Korva::Binary::calculateChkSum(unsigned char const*, unsigned long)",
        "Korva::Binary::getChkSum(Korva::Binary::Header*)",
        "Korva::Binary::createAndSendMessage(Korva::Binary::Command, " + argList + ", Communicator*)",
        "Korva::Binary::parseIncomingMessage(Communicator*, Korva::Binary::Header&, " + argList + ")",
        "Korva::Binary::validateCommandResponse(Korva::Binary::Header&, " + argList + ", bool)",
        "Korva::CommParser::CommParser()",
        "Korva::CommParser::CommParser(Korva::CommParser const&)",
        "Korva::CommParser::CommParser(Korva::CommParser&&)",
        "Korva::CommParser::operator=(Korva::CommParser const&)",
        "Korva::CommParser::operator=(Korva::CommParser&&)",
        "Korva::CommParser::~CommParser()",
        "Korva::CommParser::parse(char*)",
        "Korva::CommParser::isParsed()",
        "Korva::CommParser::getValue(" + text + " const&)",
        "Korva::determineCameraInfo(Communicator*, " + text + ")",
        "Korva::checkSoftwareVersion(" + text + ")",
        "Korva::capture(Communicator*, bool, bool, bool, int, bool)",
    };
    EXPECT_THAT(exportedNames(), ::testing::ContainerEq(expected));
}

} // namespace
