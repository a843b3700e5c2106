#include "IdentificationFixture.h"
#include "OtherEthernet.h"

#include <stdexcept>
#include <utility>

namespace IdentificationTests {
namespace {

TEST_F(Identification, WantsAnEthernetCommunicator) {
    TestSupport::ScriptedCommunicator serial;
    const std::wstring message = L"Ethernet communicator needed to determine Korva CameraInfo";
    EXPECT_EQ(messageOf([&] { Korva::determineCameraInfo(&serial, ""); }), message);
    EXPECT_EQ(messageOf([&] { Korva::determineCameraInfo(nullptr, ""); }), message);
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_THAT(serial.calls(), IsEmpty());
    EXPECT_THAT(world.calls.of("SendARP"), IsEmpty());
}

std::string unanswered(const std::string& what) {
    return "Couldn't get any " + what + " info from Korva device at: 10.0.0.5.. ignore it";
}

std::string rejected(const std::string& found) {
    return "Rejecting Korva camera, Vantrel requires Korva SW version at least 3.2.15 found " + found;
}

std::string version(const std::string& hardware, const std::string& software) {
    return "[Version --HW " + hardware + " --SW " + software + " --API 7]";
}

const std::string noResolution = "Found Korva, but couldn't determine its resolution";

/// A camera that is not identified: its first reply, how many it sends, and the text of the error line and of
/// the exception, which comes after so many queries.
struct Failure {
    const char* what;
    std::string version;
    std::size_t replies;
    std::string text;
    std::size_t queries;
};

const Failure failures[] = {
    {"no version", "", 0, unanswered("version"), 1},
    {"no serial number", version("XM61", "3.2.15"), 1, unanswered("serial"), 2},
    {"no network", version("XM61", "3.2.15"), 2, unanswered("network"), 3},
    {"an old firmware", version("M61", "3.2.14"), 3, rejected("3.2.14"), 1},
    {"one of what ends as the model", version("XM61", "3.2.14"), 3, rejected("3.2.14"), 1},
    {"one of two characters", version("M6", "3.2.14"), 3, rejected("3.2.14"), 1},
    {"one of any two characters", version("zz", "3.2.14"), 3, rejected("3.2.14"), 1},
    {"no firmware", "[Version --HW M61]", 3, rejected(""), 1},
    {"the next key for a firmware", "[Version --HW XM61 --SW --API 7]", 3, rejected("--API"), 1},
    {"no resolution", version("unknown", "3.2.15"), 3, noResolution, 3},
};

TEST_F(Identification, EndsWithAnErrorLineAndAnExceptionOfTheSameText) {
    for (const Failure& row : failures) {
        for (const bool isLogged : {true, false}) {
            SCOPED_TRACE(row.what);
            const PluginLog own(loggerName, "KorvaHelper", isLogged, log4cxx::Level::getError());
            text().forget();
            binary().forget();
            answerCapture(binary(), {1, 2, 3}); // a sample picture of no pixels is none
            for (std::size_t reply = 0; reply < row.replies; ++reply)
                text().say(reply == 0 ? row.version : "[S]");
            const std::size_t sent = text().requests().size();
            world.calls.clear();
            EXPECT_EQ(messageOf([this] { identify(); }), std::wstring(row.text.begin(), row.text.end()));
            EXPECT_EQ(text().requests().size(), sent + row.queries);
            own.expect({error(row.text)});
            // The second communicator, if there was one, goes before the connection is closed.
            const std::vector<std::string> ends = world.calls.of({"new", "delete", "close 10.0.0.5:32768"});
            if (row.text == noResolution) {
                EXPECT_THAT(ends, ElementsAre("new 10.0.0.5:32769 -1", "delete 10.0.0.5:32769",
                                              "close 10.0.0.5:32768"));
            } else {
                EXPECT_THAT(ends, ElementsAre("close 10.0.0.5:32768"));
            }
        }
    }
}

TEST_F(Identification, EndsTooWhereACommunicatorTellsLessThanNothing) {
    const std::pair<const char*, std::string> queries[] = {
        {"version", version("XM61", "3.2.15")}, {"serial", "[S]"}, {"network", "[S]"}};
    for (std::size_t query = 0; query < std::size(queries); ++query) {
        for (const int told : {-1, -2147483647}) {
            OtherEthernet other;
            for (std::size_t before = 0; before < query; ++before) {
                const std::string& reply = queries[before].second;
                other.script.afterNextWrite().deliver(Bytes(reply.begin(), reply.end()));
            }
            other.script.afterNextWrite().answerReadWith(told);
            const std::string text = unanswered(queries[query].first);
            EXPECT_EQ(messageOf([&] { Korva::determineCameraInfo(&other, knownMac); }),
                      std::wstring(text.begin(), text.end()));
            EXPECT_EQ(other.script.writes().size(), query + 1);
        }
    }
}

TEST_F(Identification, NamesAnAddressBeyondAscii) {
    EXPECT_EQ(messageOf([] { Korva::determineCameraInfoByAddress("kam\xC3\xA9ra", knownMac); }),
              L"Couldn't get any version info from Korva device at: kam\u00E9ra.. ignore it");
    EXPECT_EQ(world.calls.lines().back(), "delete kam\xC3\xA9ra:32768");
}

TEST_F(Identification, LetsWhateverTheHostThrowsThrough) {
    const std::string read = "receive 10.0.0.5:32768 256";
    const std::pair<std::string, int> places[] = {
        {"connect", 1}, {"send", 1}, {"send", 2}, {"send", 3},
        {read, 1},      {read, 2},   {read, 3},   {"createEthernetCommunicator", 1}};
    for (const auto& [call, occurrence] : places) {
        text().forget();
        answerQueries("M615");
        world.calls.throwFrom(call, std::runtime_error("told"), occurrence);
        EXPECT_THROW(identify(), std::runtime_error) << call << occurrence;
    }
    EXPECT_THAT(log.lines(), IsEmpty());
    world.calls.throwFrom("connect", std::runtime_error("told"));
    EXPECT_THROW(Korva::determineCameraInfoByAddress("10.0.0.6", knownMac), std::runtime_error);
    EXPECT_EQ(world.calls.lines().back(), "delete 10.0.0.6:32768");
}

TEST_F(Identification, GoesOnWithEmptyTextsWhereTheConversionIsRefused) {
    answerQueries();
    world.calls.onCall = [this](const std::string& call) {
        if (call == "new 10.0.0.5:32769 -1")
            world.calls.failAlways("MultiByteToWideChar", 0);
    };
    const CameraInfo info = identify();
    world.calls.failNoMore();
    EXPECT_EQ(info.getIpAddress(), L"10.0.0.5"); // it was wide already
    EXPECT_EQ(info.getSerialNumber(), L"");
    EXPECT_EQ(world.calls.of("delete 10.0.0.5:32769").size(), 1u);
}

} // namespace
} // namespace IdentificationTests
