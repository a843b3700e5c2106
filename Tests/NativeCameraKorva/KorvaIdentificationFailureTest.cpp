#include "IdentificationFixture.h"
#include "OtherEthernet.h"

#include <stdexcept>

namespace IdentificationTests {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST_F(Identification, WantsAnEthernetCommunicator) {
    TestSupport::ScriptedCommunicator serial;
    const std::wstring message = L"Ethernet communicator needed to determine Korva CameraInfo";
    EXPECT_EQ(messageOf([&] { Korva::determineCameraInfo(&serial, ""); }), message);
    EXPECT_EQ(messageOf([&] { Korva::determineCameraInfo(nullptr, ""); }), message);
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_THAT(serial.calls(), IsEmpty());
    EXPECT_THAT(world.calls.of("SendARP"), IsEmpty());
}

/// A query that is not answered: its number, from 0, and what the texts call it.
struct Silence {
    std::size_t query;
    std::string what;
};

void PrintTo(const Silence& silence, std::ostream* out) {
    *out << silence.what;
}

struct Unanswered : Identification, ::testing::WithParamInterface<Silence> {
    const std::string text_ =
        "Couldn't get any " + GetParam().what + " info from Korva device at: 10.0.0.5.. ignore it";
    const std::string replies[2] = {"[Version --HW XM61 --SW 3.2.15 --API 7]",
                                    "[SerialNumber --Camera K-0042]"};

    Unanswered() {
        for (std::size_t before = 0; before < GetParam().query; ++before)
            text().say(replies[before]);
    }
    void expectEnd(EthernetCommunicator& communicator) {
        EXPECT_EQ(messageOf([&] { Korva::determineCameraInfo(&communicator, knownMac); }),
                  std::wstring(text_.begin(), text_.end()));
    }
};

TEST_P(Unanswered, EndsTheIdentification) {
    expectEnd(camera);
    EXPECT_THAT(log.texts(), ElementsAre(LogText{"ERROR", text_}));
    EXPECT_EQ(text().requests().size(), GetParam().query + 1);
    EXPECT_THAT(world.calls.of("createEthernetCommunicator"), IsEmpty());
    EXPECT_EQ(world.calls.lines().back(), "close 10.0.0.5:32768");
}

TEST_P(Unanswered, ThrowsAlsoWhereNothingIsLogged) {
    log.setLevel(log4cxx::Level::getOff());
    expectEnd(camera);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_P(Unanswered, EndsItTooWhereACommunicatorTellsLessThanNothing) {
    for (const int told : {-1, -2147483647}) {
        OtherEthernet other;
        for (std::size_t before = 0; before < GetParam().query; ++before)
            other.script.afterNextWrite().deliver(Bytes(replies[before].begin(), replies[before].end()));
        other.script.afterNextWrite().answerReadWith(told);
        expectEnd(other);
        EXPECT_EQ(other.script.writes().size(), GetParam().query + 1);
    }
}

INSTANTIATE_TEST_SUITE_P(Query, Unanswered,
                         ::testing::Values(Silence{0, "version"}, Silence{1, "serial"},
                                           Silence{2, "network"}));

TEST_F(Identification, NamesAnAddressBeyondAscii) {
    EXPECT_EQ(messageOf([] { Korva::determineCameraInfoByAddress("kam\xC3\xA9ra", knownMac); }),
              L"Couldn't get any version info from Korva device at: kam\u00E9ra.. ignore it");
}

TEST_F(Identification, RejectsAnOldFirmwareBeforeItAsksMore) {
    answerQueries("M61", "3.2.14");
    const std::string message =
        "Rejecting Korva camera, Vantrel requires Korva SW version at least 3.2.15 found 3.2.14";
    EXPECT_EQ(messageOf([this] { identify(); }), std::wstring(message.begin(), message.end()));
    EXPECT_THAT(log.texts(), ElementsAre(LogText{"ERROR", message}));
    EXPECT_EQ(text().requests().size(), 1u);
    EXPECT_THAT(world.calls.of("createEthernetCommunicator"), IsEmpty());
}

TEST_F(Identification, RejectsWhateverEndsAsTheModelDoes) {
    // A two-character identifier counts as an M61.
    for (const char* hardwareId : {"M61", "XM61", "M6", "zz"}) {
        text().say("[Version --HW " + std::string(hardwareId) + " --SW 3.2.14 --API 7]");
        EXPECT_EQ(messageOf([this] { identify(); }),
                  L"Rejecting Korva camera, Vantrel requires Korva SW version at least 3.2.15 found 3.2.14")
            << hardwareId;
        answerQueries(hardwareId, "3.2.15");
        EXPECT_EQ(identify().getResolutionX(), 1676);
    }
}

TEST_F(Identification, RejectsAMissingFirmware) {
    text().say("[Version --HW M61]");
    EXPECT_EQ(messageOf([this] { identify(); }),
              L"Rejecting Korva camera, Vantrel requires Korva SW version at least 3.2.15 found ");
}

TEST_F(Identification, RejectsACameraWithoutResolution) {
    answerQueries("unknown");
    EXPECT_EQ(messageOf([this] { identify(); }), L"Found Korva, but couldn't determine its resolution");
    EXPECT_EQ(log.texts().back(), (LogText{"ERROR", "Found Korva, but couldn't determine its resolution"}));
    const auto calls = world.calls.of({"close", "delete"});
    EXPECT_THAT(std::vector(calls.end() - 2, calls.end()),
                ElementsAre("delete 10.0.0.5:32769", "close 10.0.0.5:32768"));
}

TEST_F(Identification, RejectsTheSameWithoutLogging) {
    log.setLevel(log4cxx::Level::getOff());
    text().say("[Version --HW M61 --SW 3.2.14 --API 7]");
    EXPECT_EQ(messageOf([this] { identify(); }),
              L"Rejecting Korva camera, Vantrel requires Korva SW version at least 3.2.15 found 3.2.14");
    answerQueries("unknown");
    EXPECT_EQ(messageOf([this] { identify(); }), L"Found Korva, but couldn't determine its resolution");
    EXPECT_THAT(log.lines(), IsEmpty());
}

struct OneSided : Identification, ::testing::WithParamInterface<std::pair<unsigned int, unsigned int>> {};

TEST_P(OneSided, ResolutionIsAccepted) {
    answerQueries("unknown");
    answerCapture(binary(), samplePng(2, 2));
    world.imaging.onConvert = [this](Image* image) {
        world.imaging.releaseImage(image);
        return world.imaging.createImage(GetParam().first, GetParam().second, 8, 1, nullptr, 0);
    };
    const CameraInfo info = identify();
    EXPECT_EQ(info.getResolutionX(), static_cast<int>(GetParam().first));
    EXPECT_EQ(info.getResolutionY(), static_cast<int>(GetParam().second));
}

INSTANTIATE_TEST_SUITE_P(Sides, OneSided, ::testing::Values(std::pair{0u, 1080u}, std::pair{1920u, 0u}));

TEST_F(Identification, RejectsASampleOfNoPixels) {
    answerQueries("unknown");
    answerCapture(binary(), {1, 2, 3});
    EXPECT_EQ(messageOf([this] { identify(); }), L"Found Korva, but couldn't determine its resolution");
}

/// What a transport throws that is no DeviceException of the plug-in's.
struct Told : std::runtime_error {
    Told() : std::runtime_error("told") {}
};

TEST_F(Identification, LetsAFailedConnectThrough) {
    world.calls.throwFrom("connect", Told());
    EXPECT_THROW(identify(), Told);
    EXPECT_THAT(text().requests(), IsEmpty());
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(Identification, LetsAFailedWriteOrReadThrough) {
    for (const char* const call : {"send", "receive 10.0.0.5:32768 256"}) {
        for (const int query : {1, 2, 3}) {
            text().forget();
            answerQueries("M615");
            world.calls.throwFrom(call, Told(), query);
            EXPECT_THROW(identify(), Told) << call << query;
        }
    }
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_THAT(world.calls.of("createEthernetCommunicator"), IsEmpty());
}

TEST_F(Identification, LetsAFailureOfTheSecondCommunicatorThrough) {
    answerQueries();
    world.calls.throwFrom("createEthernetCommunicator", Told());
    EXPECT_THROW(identify(), Told);
}

TEST_F(Identification, DestroysTheSecondCommunicatorWhereTheConversionIsRefused) {
    answerQueries();
    world.calls.onCall = [this](const std::string& call) {
        if (call == "new 10.0.0.5:32769 -1")
            world.calls.failAlways("MultiByteToWideChar", 0);
    };
    // Every text of the description comes out empty then; the address was wide already.
    const CameraInfo info = identify();
    world.calls.failNoMore();
    EXPECT_EQ(info.getIpAddress(), L"10.0.0.5");
    EXPECT_EQ(info.getSerialNumber(), L"");
    EXPECT_EQ(world.calls.of("delete 10.0.0.5:32769").size(), 1u);
}

TEST_F(Identification, ByAddressDestroysItsCommunicatorWhateverIsThrown) {
    world.calls.throwFrom("connect", Told());
    EXPECT_THROW(Korva::determineCameraInfoByAddress("10.0.0.6", knownMac), Told);
    EXPECT_EQ(world.calls.lines().back(), "delete 10.0.0.6:32768");
}

} // namespace
} // namespace IdentificationTests
