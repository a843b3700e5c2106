// Cameras that shout: what they send in discovery is shown as what it is, and nothing else comes of it.

#include "LabRun.h"

#include <nlohmann/json.hpp>

#include <fstream>

using namespace LabTests;
using testing::ElementsAre;
using testing::EndsWith;

namespace {

constexpr const char* forged = "ERROR Plenar.KorvaCamera.KorvaCapture - forged";

// The first is no camera's reply and reaches the log as it came. The second announces an address of its own
// within its room. The third is a camera that can be used.
constexpr const char* hostileCameras = R"json({"cameras": [
    {"address": "10.77.1.11", "faults": ["discovery:other-marker"], "room":
     "\u001b[2J\u001b]0;t\u0007\u009b\nERROR Plenar.KorvaCamera.KorvaCapture - forged\r\u2028\u202e\u200b\u0000z"},
    {"address": "10.77.1.12", "room": "Lab --IP ../../\u001b[31m\u202e\"'\\`$(id)"},
    {"address": "10.77.1.13", "room": "\u001b[2J\u202e\u200b\u0085", "hardware": "\u001b[2J\u202e\u200b-M61",
     "serial": "../../\u0007\"\\"}
]
})json";

class LabHostileText : public testing::Test {
protected:
    /// What a script in `folder` says, which ends so.
    ProcessResult amongThem(const std::string& script, const std::string& configuration = hostileCameras,
                            int status = 0) const {
        const TemporaryFolder itsFolder;
        std::ofstream(itsFolder.file("cameras.json")) << configuration;
        std::string set;
        for (const char* number : {"1", "2", "3"})
            set += "1 ! korva simulate --config " + itsFolder.file("cameras.json") + " --camera " + number +
                   "\n";
        ProcessResult result = runAmong(set, "cd " + folder.path().string() + "; " + script);
        const auto isHonest = AllOf(harmless(), eachLine(Not(testing::StartsWith(forged))));
        EXPECT_THAT(result, ended(status, isHonest, isHonest));
        return result;
    }

    const TemporaryFolder folder;
};

} // namespace

TEST_F(LabHostileText, CannotSteerTheTerminalOrForgeALineAndIsOneOfJson) {
    const ProcessResult result = amongThem("korva discover --json --log trace", hostileCameras, 4);
    EXPECT_THAT(result, ended(4, lines(1),
                              has({"wasn't parsed as a Korva response: ", std::string("\\x0a") + forged,
                                   "../../\\x1b[31m\\xe2\\x80\\xae", "\n1 ready, "})));
    const auto said = nlohmann::json::parse(result.output);
    ASSERT_EQ(said["cameras"].size(), 1u);
    EXPECT_EQ(said["cameras"][0]["serialNumber"], "../../\a\"\\");
}

TEST_F(LabHostileText, NamesNoFile) {
    const ProcessResult result =
        amongThem("korva capture --all --json --log trace --diagnostics dumps --output all;"
                  "ls -A . all >&2");
    EXPECT_EQ(nlohmann::json::parse(result.output)["files"].size(), 1u);
    EXPECT_THAT(folder.names(), ElementsAre("all", "dumps"));
    EXPECT_THAT(result.errors, EndsWith(".:\nall\ndumps\n\nall:\nkorva-10.77.1.13.png\n"));
}

TEST_F(LabHostileText, OfAnyLengthLeavesEveryCameraItsPicture) {
    // An address written as a number with so many zeros that no file could be named after all of it.
    const std::string room = "a --IP " + std::string(220, '0') + "1223200413";
    amongThem("korva capture --all", R"({"cameras": [{"address": "10.77.1.11", "room": ")" + room +
                                         R"("}, {"address": "10.77.1.12"}, {"address": "10.77.1.13"}]})");
    EXPECT_THAT(folder.names(), ElementsAre("korva-" + std::string(64, '0') + ".png", "korva-10.77.1.12.png",
                                            "korva-10.77.1.13.png"));
}
