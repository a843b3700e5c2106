// Cameras that shout: what they send in discovery is shown as what it is, and nothing else comes of it.

#include "LabRun.h"

#include "TemporaryFolder.h"
#include "TerminalText.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <sstream>

using Integration::TemporaryFolder;
using Integration::whatSteersATerminal;
using LabTests::LabResult;
using LabTests::runScript;
using LabTests::TemporaryFile;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

constexpr const char* forged = "ERROR Plenar.KorvaCamera.KorvaCapture - forged";

// The first is no camera's reply and reaches the log as it came. The second announces an address of its own
// within its room. The third is a camera that can be used.
constexpr const char* cameras = R"json({"cameras": [
    {"address": "10.77.1.11", "faults": ["discovery:other-marker"], "room":
     "\u001b[2J\u001b]0;t\u0007\u009b\nERROR Plenar.KorvaCamera.KorvaCapture - forged\r\u2028\u202e\u200b\u0000z"},
    {"address": "10.77.1.12", "room": "Lab --IP ../../\u001b[31m\u202e\"'\\`$(id)"},
    {"address": "10.77.1.13", "room": "\u001b[2J\u202e\u200b\u0085", "hardware": "\u001b[2J\u202e\u200b-M61",
     "serial": "../../\u0007\"\\"}
]
})json";

LabResult inTheirMidst(const std::string& script, const std::string& configuration = cameras) {
    const TemporaryFile config(configuration);
    std::string set;
    for (const char* number : {"1", "2", "3"})
        set += std::string("1 ! korva simulate --config ") + config.path() + " --camera " + number + "\n";
    const TemporaryFile file(set);
    return runScript({"--set", file.path()}, script);
}

void expectHarmless(const std::string& text) {
    EXPECT_EQ(whatSteersATerminal(text), "") << text;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        EXPECT_FALSE(line.starts_with(forged)) << text;
}

} // namespace

TEST(LabHostileText, CannotSteerTheTerminalOrForgeALine) {
    const LabResult words = inTheirMidst("korva discover --log trace");
    EXPECT_EQ(words.status, 0);
    expectHarmless(words.output);
    expectHarmless(words.errors);
    EXPECT_THAT(words.output, testing::EndsWith("\n1 camera found.\n"));
    EXPECT_THAT(words.errors, HasSubstr("wasn't parsed as a Korva response: "));
    EXPECT_THAT(words.errors, HasSubstr(std::string("\\x0a") + forged));
    EXPECT_THAT(words.errors, HasSubstr("../../\\x1b[31m\\xe2\\x80\\xae"));
}

TEST(LabHostileText, IsOneLineOfJson) {
    const LabResult result = inTheirMidst("korva discover --json");
    EXPECT_EQ(result.status, 0);
    expectHarmless(result.output);
    expectHarmless(result.errors);
    EXPECT_EQ(std::count(result.output.begin(), result.output.end(), '\n'), 1) << result.output;
    const auto json = nlohmann::json::parse(result.output);
    ASSERT_EQ(json["cameras"].size(), 1u);
    EXPECT_EQ(json["cameras"][0]["serialNumber"], "../../\a\"\\");
}

TEST(LabHostileText, NamesNoFile) {
    const TemporaryFolder folder;
    const LabResult result = inTheirMidst("cd " + folder.path().string() +
                                          "; korva capture --all --json --log trace"
                                          " --diagnostics dumps --output all; ls -A . all >&2");
    expectHarmless(result.output);
    expectHarmless(result.errors);
    EXPECT_EQ(nlohmann::json::parse(result.output)["files"].size(), 1u);
    EXPECT_THAT(folder.names(), ElementsAre("all", "dumps"));
    EXPECT_THAT(result.errors, testing::EndsWith(".:\nall\ndumps\n\nall:\nkorva-10.77.1.13.png\n"));
}

TEST(LabHostileText, OfAnyLengthLeavesEveryCameraItsPicture) {
    const TemporaryFolder folder;
    // An address written as a number with so many zeros that no file could be named after all of it.
    const std::string room = "a --IP " + std::string(220, '0') + "1223200413";
    const LabResult result =
        inTheirMidst("cd " + folder.path().string() + "; korva capture --all",
                     R"({"cameras": [{"address": "10.77.1.11", "room": ")" + room +
                         R"("}, {"address": "10.77.1.12"}, {"address": "10.77.1.13"}]})");
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_THAT(folder.names(), ElementsAre("korva-" + std::string(64, '0') + ".png", "korva-10.77.1.12.png",
                                            "korva-10.77.1.13.png"));
}
