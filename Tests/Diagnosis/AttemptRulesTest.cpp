// What the plug-in's lines, the transport's reasons and a device's reports say of an attempt.

#include "Worlds.h"

#include "Diagnosis/Rules.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace Diagnosis;
using What = Attempt::What;
using Lines = std::vector<std::string>;

namespace {

constexpr auto identification = What::identification;
constexpr auto probe = What::probe;
constexpr auto picture = What::picture;

/// Attempts, each of which alone comes to the same.
struct Row {
    const char* code;
    const char* text;
    What what;
    std::vector<Lines> each;
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row.code << ": " << row.text;
}

/// As the transport says that it could not connect.
std::string connectFailed(int port, const char* reason) {
    return "10.77.1.11:" + std::to_string(port) + ": connect failed: " + reason;
}

/// As the plug-in logs an identification that failed.
Lines unidentified(const std::string& reason, const Lines& before = {}) {
    Lines lines = before;
    lines.push_back("DeviceException while determining camera info.");
    lines.push_back("    " + reason);
    return lines;
}

/// As it logs two tries at a picture.
Lines twice(const Lines& ofEach) {
    Lines lines = ofEach;
    lines.push_back("First image grab attempt failed, re-trying image grab");
    lines.insert(lines.end(), ofEach.begin(), ofEach.end());
    lines.push_back("Failed to capture Korva image");
    return lines;
}

const std::string noMac = "Couldn't retrieve MAC address with ARP call: error: 67";
const Lines unknownModel = {"HWid lookup failed, don't recognize X99",
                            "Determine resolution from image grab"};

Lines measuring(const std::string& line) {
    return {unknownModel[0], unknownModel[1], line, "Found Korva, but couldn't determine its resolution"};
}

/// Attempts of a line each.
std::vector<Lines> lines(const Lines& all) {
    std::vector<Lines> each;
    for (const std::string& line : all)
        each.push_back({line});
    return each;
}

const std::string sample = "Communicator error trying to get sample image: ";
const std::string pictures = "Communicator error: ";
const std::string check = "validateConnection: Communicator error: ";
const std::string receiving = "10.77.1.11:32769: receive failed: ";
const std::string damage = "Korva Response failed chksum: sent 1 : calculated 2";
const std::string nothingTaken = "parseIncomingMessage failed for take image request";

const Row rows[] = {
    // No way to it.
    {"unknown-name",
     "no computer knows this name",
     identification,
     {unidentified("lab:32768: connect failed: Name or service not known")}},
    {"unknown-name",
     "the name service does not answer, so this name has no address",
     identification,
     {unidentified("lab:32768: connect failed: Temporary failure in name resolution"),
      unidentified("lab:32768: connect failed: Name resolution timed out")}},
    {"no-route",
     "this computer has no way to this address",
     identification,
     {unidentified(connectFailed(32768, "Network is unreachable"))}},
    {"absent",
     "nobody answers at this address",
     identification,
     {unidentified(connectFailed(32768, "No route to host"), {noMac}),
      unidentified(connectFailed(32768, "Connection timed out"), {noMac}),
      unidentified(connectFailed(32768, "Connection timed out")),
      {check + connectFailed(32769, "No route to host")}}},
    {"text-port-refused",
     "refuses TCP 32768: a camera that still starts, or no camera",
     identification,
     {unidentified(connectFailed(32768, "Connection refused"))}},
    {"text-port-blocked",
     "this computer does not let the connection out: a firewall?",
     identification,
     {unidentified(connectFailed(32768, "Operation not permitted")),
      unidentified(connectFailed(32768, "Permission denied"))}},
    {"picture-port-refused",
     "refuses TCP 32769, on which pictures come: it still starts, or has failed",
     picture,
     {measuring(sample + connectFailed(32769, "Connection refused")),
      {check + connectFailed(32769, "Connection refused")}}},
    {"picture-port-blocked",
     "answers on TCP 32768, but nothing comes on TCP 32769: a firewall?",
     identification,
     {measuring(sample + connectFailed(32769, "Connection timed out"))}},
    {"picture-port-blocked",
     "no answer on TCP 32769: a firewall, or the camera is switched off",
     picture,
     {{pictures + connectFailed(32769, "Connection timed out")}}},
    {"picture-port-blocked",
     "this computer does not let the connection out: a firewall?",
     picture,
     {{pictures + connectFailed(32769, "Operation not permitted")}}},
    // Limits of ours.
    {"too-slow",
     "too slow: 1234 bytes in 30.0 s, at least 65536 bytes a second are asked for",
     picture,
     {{pictures + receiving +
       "Too slow: 1234 bytes in 30.0 s, at least 65536 bytes a second are asked for"}}},
    {"took-too-long",
     "took too long: 0 bytes in 20.0 s, the operation may last 20.0 s",
     picture,
     {{pictures + receiving + "Took too long: 0 bytes in 20.0 s, the operation may last 20.0 s"}}},
    {"no-memory",
     "this computer has not enough memory",
     picture,
     {{"No memory for an image from Korva: argSize 268435456"}}},
    // Who it is.
    {"silent",
     "accepts the connection on TCP 32768, and does not answer",
     identification,
     {unidentified("Couldn't get any version info from Korva device at: 10.77.1.11.. ignore it"),
      unidentified("Couldn't get any serial info from Korva device at: 10.77.1.11.. ignore it"),
      unidentified("Couldn't get any network info from Korva device at: 10.77.1.11.. ignore it")}},
    {"old-firmware",
     "firmware 3.1.0, needs 3.2.15",
     identification,
     {{"Rejecting Korva camera, Vantrel requires Korva SW version at least 3.2.15 found 3.1.0"}}},
    {"old-firmware",
     "firmware of an unknown version, needs 3.2.15",
     identification,
     {{"Rejecting Korva camera, Vantrel requires Korva SW version at least 3.2.15 found "}}},
    {"unknown-model",
     "model X99 is unknown, and no sample picture tells its size",
     identification,
     {measuring(damage), measuring(sample + receiving + "odd"),
      measuring("Unknown error during initial sample image capture")}},
    {"all-black",
     "model X99 is unknown, and no sample picture tells its size: it is all black",
     identification,
     {measuring("All black image from Korva detected")}},
    // Pictures.
    {"camera-error",
     "the camera refuses, with error 7",
     picture,
     {twice({"Korva returned an error code: 7"})}},
    {"all-black", "the picture is all black", picture, {twice({"All black image from Korva detected"})}},
    {"picture-garbage", "what the camera sent is no picture", picture,
     lines({"Korva picture has the size 0 x 0, the camera's resolution is 1676 x 1266",
            "Korva image does not hold the expected samples: got 8 bits, expected 16"})},
    {"wrong-size",
     "the camera sent 2748 x 1836, it should send 1676 x 1266",
     picture,
     {{"Korva picture has the size 2748 x 1836, the camera's resolution is 1676 x 1266"}}},
    {"no-picture",
     "the camera has taken no picture",
     picture,
     {twice({"Expected GetImage response, got Done"})}},
    {"silent",
     "accepts the connection on TCP 32769, and does not answer as it should",
     picture,
     {twice({"Failed to read Header: bytesRead = 0", nothingTaken}),
      twice({"Failed to read ArgHeader: bytesRead = 2", nothingTaken}),
      {"validateConnection: parseIncomingMessage failed"}}},
    {"connection-lost",
     "the answer stopped on its way",
     picture,
     {twice({"Error reading ARG value: bytesRead = 0, expected 77",
             "parseIncomingMessage failed for GetImage"})}},
    {"connection-lost", "the camera closed the connection", picture,
     lines({pictures + receiving + "Connection closed by the peer",
            pictures + receiving + "Connection reset by peer",
            pictures + "10.77.1.11:32769: send failed: " + "Broken pipe"})},
    {"damaged-picture",
     "what the camera sent was damaged on its way",
     picture,
     {twice({damage, nothingTaken})}},
    {"garbage", "answers on TCP 32769, but not as a camera does", picture,
     lines(
         {"Korva didn't receive our Camera command: returned \x07",
          "Korva has formulated an inconsistent message: args will exceed expected message length: argSize 9",
          "Korva has sent an argument that is too large: code 3",
          "Korva has sent an image that is too large: argSize 999999999", "Korva returned no argument",
          "Korva returned an unexpected GetImage code: \x06",
          "Korva returned an unexpected response code code: c"})},
    // What the plug-in does not tell, and what no rule knows.
    {"plugin-failed", "the plug-in failed for a reason that it does not tell", picture,
     lines({"Unknown error during image capture", "isAlive Unknown error during isAlive()",
            "Unknown exception processing Korva in room: Lab at IP: 10.77.1.11",
            "Ethernet communicator needed to build Korva camera", "No communicator to capture with",
            pictures + "The camera has no communicator", "Arglist exceeds allowed size: 256 > \xFF",
            "Client is not expected to send message larger than \x04 bytes",
            "The network-health callback failed to take the status 2"})},
    {"not-identified", "the camera was not identified", identification, {{}, {noMac}}},
    {"not-identified",
     "the camera was not identified: something new",
     identification,
     {unidentified("something new")}},
    {"no-answer", "the camera does not answer", probe, {{}}},
    {"no-picture", "the camera gave no picture", picture, {{"Failed to capture Korva image"}}},
    {"no-picture",
     "the camera gave no picture: an odd\\x0a reason",
     picture,
     {{pictures + receiving + "an odd\n reason"}}},
};

class AttemptRules : public testing::TestWithParam<Row> {};

Camera camera() {
    Camera made = askedCamera("10.77.1.11");
    made.room = "Lab";
    return made;
}

} // namespace

TEST_P(AttemptRules, SayWhyItFailed) {
    ASSERT_FALSE(GetParam().each.empty());
    for (const Lines& said : GetParam().each) {
        SCOPED_TRACE(testing::PrintToString(said));
        const auto verdict = verdictOn(attempt(GetParam().what, said), camera());
        ASSERT_TRUE(verdict);
        EXPECT_EQ(verdict->code, GetParam().code);
        EXPECT_EQ(verdict->text, GetParam().text);
        EXPECT_EQ(verdict->severity, Severity::failure);
        EXPECT_EQ(verdict->address, "10.77.1.11");
        EXPECT_EQ(verdict->room, "Lab");
        EXPECT_FALSE(verdict->remedy.empty());
    }
}

INSTANTIATE_TEST_SUITE_P(ByItsLines, AttemptRules, testing::ValuesIn(rows));

namespace {

std::string codeOf(const Attempt& tried, const Camera& of) {
    const auto verdict = verdictOn(tried, of);
    return verdict ? codesOf({*verdict}).front() + "/" + verdict->text : "";
}

} // namespace

TEST(AttemptRules, KnowTheCameraBesidesTheLines) {
    const Attempt silent =
        attempt(identification, unidentified(connectFailed(32768, "Connection timed out")));
    Camera found = camera();
    found.answeredSearch = true;
    EXPECT_EQ(codeOf(silent, found),
              "text-port-blocked/answered the search, then nothing on TCP 32768: a firewall?");
    const Attempt unreachable =
        attempt(identification, unidentified(connectFailed(32768, "No route to host")));
    EXPECT_EQ(codeOf(unreachable, found), "died-after-answer/answered the search, then nothing at all: it "
                                          "has lost power or its cable, or restarts");
    Camera identified = camera();
    identified.identity.emplace().model = "M61";
    const std::string unreachablePictures = "Communicator error: " + connectFailed(32769, "No route to host");
    EXPECT_EQ(codeOf(attempt(picture, {unreachablePictures}), identified),
              "died-after-answer/answered before, then nothing at all: it has lost power or its cable, or "
              "restarts");
    Camera unknown = camera();
    unknown.identity.emplace().model = "Korva Meridian X99";
    EXPECT_EQ(codeOf(attempt(picture, {"Korva picture has the size 3 x 4, the camera's resolution is 1 x 2"}),
                     unknown),
              "wrong-size/the camera sent 3 x 4, it should send 1 x 2 (model X99 is unknown)");
    for (const auto& [model, size] : {std::pair{"X99", "2748 x 1836"}, {"X9", "1676 x 1266"}}) {
        unknown.identity->model = std::string("Korva Meridian ") + model;
        const std::string expected = std::string(", the camera's resolution is ") + size;
        EXPECT_EQ(codeOf(attempt(picture, {"Korva picture has the size 3 x 4" + expected}), unknown),
                  std::string("unknown-model/the camera sent 3 x 4, it should send ") + size + " (model " +
                      model + " is unknown): what it should send is a guess");
    }
    for (const char* sizes :
         {"3 x 4, the camera's resolution is 1 x 2", "3 x 4, the camera's resolution is 1676 x 1266"})
        EXPECT_THAT(verdictOn(attempt(picture, {std::string("Korva picture has the size ") + sizes}), unknown)
                        ->remedy,
                    testing::HasSubstr("korva describe 10.77.1.11"));
}

TEST(AttemptRules, KnowThatACameraMayAnswerOnlyAfterItsExposure) {
    Attempt late = attempt(picture, twice({"Failed to read Header: bytesRead = 0",
                                           "parseIncomingMessage failed for take image request"}));
    late.exposure = Milliseconds(12'300);
    EXPECT_EQ(codeOf(late, camera()), "exposure-too-long/no answer within 10 s at an exposure of 12.3 s: "
                                      "this camera may answer only after its exposure");
    EXPECT_EQ(verdictOn(late, camera())->remedy,
              "--exposure 9 or less, and more light; if it does not answer "
              "that either, restart the camera");
    late.exposure = Milliseconds(9'100);
    EXPECT_EQ(codeOf(late, camera()).substr(0, 17), "exposure-too-long");
    late.exposure = Milliseconds(9'000);
    EXPECT_EQ(codeOf(late, camera()).substr(0, 6), "silent");
    Attempt damaged = attempt(picture, twice({"Korva Response failed chksum: sent 1 : calculated 2",
                                              "parseIncomingMessage failed for take image request"}));
    damaged.exposure = Milliseconds(12'000);
    EXPECT_EQ(codeOf(damaged, camera()).substr(0, 15), "damaged-picture");
}

TEST(AttemptRules, KnowThatAPictureHadLessTimeThanItNeeds) {
    Attempt late = attempt(picture, {pictures + receiving + "Took too long: 13 bytes in 3.0 s"});
    late.exposure = Milliseconds(5'000);
    for (const auto& [took, text] :
         {std::pair{3'010, "short-time/no picture comes within that --max-time: it is exposed for 5 s, and "
                           "fetched after that"},
          {5'990, "short-time/hardly any picture comes within that --max-time: it is exposed for 5 s, and "
                  "fetched after that"},
          {6'000, "took-too-long/took too long: 13 bytes in 3.0 s"}}) {
        late.took = Milliseconds(took);
        EXPECT_EQ(codeOf(late, camera()), text);
    }
    late.what = probe;
    late.took = Milliseconds(0);
    EXPECT_EQ(codeOf(late, camera()).substr(0, 13), "took-too-long");
}

TEST(AttemptRules, AdviseNoExposureThatACameraMayNotAnswer) {
    Attempt black = attempt(picture, twice({"All black image from Korva detected"}));
    for (const auto& [exposure, remedy] :
         {std::pair{8'900, "open the lens cap, light the scene or use a longer --exposure, up to 9"},
          {9'000, "open the lens cap, or light the scene"}}) {
        black.exposure = Milliseconds(exposure);
        EXPECT_EQ(verdictOn(black, camera())->remedy, remedy);
    }
}

TEST(AttemptRules, AdviseToTakeAPictureAgainOnlyWhereOneWasTaken) {
    for (const auto& [what, remedy] :
         {std::pair{picture, "take the picture again; if it stays so, restart the camera"},
          {probe, "ask again; if it stays so, restart the camera"},
          {identification, "ask again; if it stays so, restart the camera"}})
        EXPECT_EQ(
            verdictOn(attempt(what, {check + receiving + "Connection closed by the peer"}), camera())->remedy,
            remedy);
}

TEST(AttemptRules, TakeAReasonAndAnErrorFromOutsideTheLog) {
    Attempt failed = attempt(picture, {});
    failed.reason = "std::bad_alloc";
    EXPECT_EQ(codeOf(failed, camera()), "no-memory/this computer has not enough memory");
    failed.reason = "interrupted";
    EXPECT_EQ(codeOf(failed, camera()), "interrupted/interrupted by Ctrl-C or a request to end");
    failed.reason = "10.77.1.11:32769: receive failed: odd";
    EXPECT_EQ(codeOf(failed, camera()), "no-picture/the camera gave no picture: odd");
    failed.errorCode = 5;
    EXPECT_EQ(codeOf(failed, camera()), "camera-error/the camera refuses, with error 5");
}

TEST(AttemptRules, TakeNoWordsOfTheCamerasForSigns) {
    Attempt hostile = attempt(identification, measuring(damage));
    hostile.lines[0].message = "HWid lookup failed, don't recognize Too slow: x";
    hostile.lines.push_back({{}, "", "      HW: Too slow: x"});
    for (LogLine& line : hostile.lines)
        if (line.message.ends_with(": x"))
            line.level = LogLine::Level::info;
    EXPECT_EQ(codeOf(hostile, camera()),
              "unknown-model/model Too slow: x is unknown, and no sample picture tells its size");
    Attempt again = attempt(picture, {damage, "First image grab attempt failed, re-trying"}, true);
    again.lines[1].level = LogLine::Level::info;
    EXPECT_THAT(codeOf(again, camera()), testing::HasSubstr("only the second try gave a picture"));
}

TEST(AttemptRules, NoteWhatIsOddOfASuccess) {
    EXPECT_EQ(codeOf(attempt(picture, {}, true), camera()), "");
    EXPECT_EQ(codeOf(attempt(identification, {noMac}, true), camera()), "");
    Attempt answered = attempt(probe, {}, true);
    answered.errorCode = 5;
    EXPECT_EQ(codeOf(answered, camera()), "note: camera-error/the camera answers, with error 5");
    EXPECT_EQ(codeOf(attempt(picture, {damage}, true), camera()),
              "note: damaged-picture/what the camera sent was damaged on its way");
    EXPECT_EQ(
        codeOf(attempt(picture, {damage, "First image grab attempt failed, re-trying image grab"}, true),
               camera()),
        "note: damaged-picture/only the second try gave a picture: what the camera sent was damaged on its "
        "way");
    EXPECT_EQ(
        codeOf(attempt(picture, {"Korva picture has the size 4 x 4, the camera's resolution is 2 x 2"}, true),
               camera()),
        "wrong-size/the camera sent 4 x 4, it should send 2 x 2")
        << "its picture would be sheared";
}

TEST(AttemptRules, SayOfACameraThatIsBackThatItDidNotAnswer) {
    const std::pair<Attempt::What, const char*> rows[] = {
        {identification, "not-identified was not identified, and answers now"},
        {probe, "no-answer did not answer the check, and answers now"},
        {picture, "no-picture gave no picture, and answers now"},
    };
    Camera back = readyCamera("10.77.1.11", "Lab");
    for (const auto& [what, said] : rows) {
        const auto verdict =
            verdictOnReturn(attempt(what, {connectFailed(32769, "Connection timed out")}), back);
        ASSERT_TRUE(verdict);
        EXPECT_EQ(verdict->code + " " + verdict->text, said);
    }
    EXPECT_FALSE(verdictOnReturn(attempt(probe, {"Failed to read Header: bytesRead = 0"}), back));
    back.picture = PortState::silent;
    EXPECT_FALSE(verdictOnReturn(attempt(probe, {connectFailed(32769, "Connection timed out")}), back));
}
