#include "IdentificationFixture.h"

#include <stdexcept>

namespace IdentificationTests {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST_F(Identification, WantsAnEthernetCommunicator) {
    ScriptedCommunicator serial;
    const std::wstring message = L"Ethernet communicator needed to determine Korva CameraInfo";
    EXPECT_EQ(messageOf([&] { Korva::determineCameraInfo(&serial, ""); }), message);
    EXPECT_EQ(messageOf([&] { Korva::determineCameraInfo(nullptr, ""); }), message);
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_THAT(serial.calls(), IsEmpty());
    EXPECT_THAT(NetworkScript::current().calls, IsEmpty());
}

/// A query that is not answered: its number, from 0, what the texts call it, and what the read returns.
struct Silence {
    std::size_t query;
    std::string what;
    int result;
};

void PrintTo(const Silence& silence, std::ostream* out) {
    *out << silence.what << ' ' << silence.result;
}

struct Unanswered : Identification, ::testing::WithParamInterface<Silence> {
    const std::string text_ =
        "Couldn't get any " + GetParam().what + " info from Korva device at: 10.0.0.5.. ignore it";

    void answerQueriesBefore() {
        if (GetParam().query > 0)
            answerText(text(), "[Version --HW XM61 --SW 3.2.15 --API 7]");
        if (GetParam().query > 1)
            answerText(text(), "[SerialNumber --Camera K-0042]");
    }
};

TEST_P(Unanswered, EndsTheIdentification) {
    answerQueriesBefore();
    text().afterNextWrite().answerReadWith(GetParam().result);
    EXPECT_EQ(messageOf([this] { identify(); }), std::wstring(text_.begin(), text_.end()));
    EXPECT_THAT(log.texts(), ElementsAre(LogText{"ERROR", text_}));
    EXPECT_EQ(log.lines().at(0).file, "BackEnd/NativeCameraKorva/KorvaHelper");
    EXPECT_EQ(text().writes().size(), GetParam().query + 1);
    EXPECT_THAT(transport.calls("create"), IsEmpty());
    EXPECT_EQ(transport.calls().back(), "disconnect 10.0.0.5:32768");
}

TEST_P(Unanswered, ThrowsAlsoWhereNothingIsLogged) {
    log.setLevel(log4cxx::Level::getOff());
    answerQueriesBefore();
    text().afterNextWrite().answerReadWith(GetParam().result);
    EXPECT_EQ(messageOf([this] { identify(); }), std::wstring(text_.begin(), text_.end()));
    EXPECT_THAT(log.lines(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Query, Unanswered,
                         ::testing::Values(Silence{0, "version", 0}, Silence{0, "version", -1},
                                           Silence{1, "serial", 0}, Silence{1, "serial", -1},
                                           Silence{2, "network", 0}, Silence{2, "network", -2147483647}));

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
    EXPECT_EQ(text().writes().size(), 1u);
    EXPECT_THAT(transport.calls("create"), IsEmpty());
}

TEST_F(Identification, RejectsWhateverEndsAsTheModelDoes) {
    // A two-character identifier counts as an M61.
    for (const char* hardwareId : {"M61", "XM61", "M6", "zz"}) {
        answerText(text(), "[Version --HW " + std::string(hardwareId) + " --SW 3.2.14 --API 7]");
        EXPECT_EQ(messageOf([this] { identify(); }),
                  L"Rejecting Korva camera, Vantrel requires Korva SW version at least 3.2.15 found 3.2.14")
            << hardwareId;
        answerQueries(hardwareId, "3.2.15");
        EXPECT_EQ(identify().getResolutionX(), 1676);
    }
}

TEST_F(Identification, RejectsAMissingFirmware) {
    answerText(text(), "[Version --HW M61]");
    EXPECT_EQ(messageOf([this] { identify(); }),
              L"Rejecting Korva camera, Vantrel requires Korva SW version at least 3.2.15 found ");
}

TEST_F(Identification, RejectsACameraWithoutResolution) {
    answerQueries("unknown");
    EXPECT_EQ(messageOf([this] { identify(); }), L"Found Korva, but couldn't determine its resolution");
    EXPECT_EQ(log.texts().back(), (LogText{"ERROR", "Found Korva, but couldn't determine its resolution"}));
    EXPECT_EQ(transport.calls("destroy").size(), 1u);
    const auto calls = transport.calls();
    EXPECT_THAT(std::vector(calls.end() - 2, calls.end()),
                ElementsAre("destroy 10.0.0.5:32769", "disconnect 10.0.0.5:32768"));
}

TEST_F(Identification, RejectsTheSameWithoutLogging) {
    log.setLevel(log4cxx::Level::getOff());
    answerText(text(), "[Version --HW M61 --SW 3.2.14 --API 7]");
    EXPECT_EQ(messageOf([this] { identify(); }),
              L"Rejecting Korva camera, Vantrel requires Korva SW version at least 3.2.15 found 3.2.14");
    answerQueries("unknown");
    EXPECT_EQ(messageOf([this] { identify(); }), L"Found Korva, but couldn't determine its resolution");
    EXPECT_THAT(log.lines(), IsEmpty());
}

struct OneSided : Identification, ::testing::WithParamInterface<std::pair<unsigned int, unsigned int>> {};

TEST_P(OneSided, ResolutionIsAccepted) {
    answerQueries("unknown");
    answerGrab(binary(), samplePng(2, 2));
    host.imaging.onConvert = [this](Image* image) -> Image* {
        const auto [width, height] = GetParam();
        host.imaging.releaseImage(image);
        return *host.imaging.alive.insert(new TestSupport::ScriptedImage(width, height, 8, 1, {})).first;
    };
    const CameraInfo info = identify();
    EXPECT_EQ(info.getResolutionX(), static_cast<int>(GetParam().first));
    EXPECT_EQ(info.getResolutionY(), static_cast<int>(GetParam().second));
}

INSTANTIATE_TEST_SUITE_P(Sides, OneSided, ::testing::Values(std::pair{0u, 1080u}, std::pair{1920u, 0u}));

TEST_F(Identification, RejectsASampleOfNoPixels) {
    answerQueries("unknown");
    answerGrab(binary(), {1, 2, 3});
    EXPECT_EQ(messageOf([this] { identify(); }), L"Found Korva, but couldn't determine its resolution");
}

/// What a transport throws that is no DeviceException of the plug-in's.
struct Told : std::runtime_error {
    Told() : std::runtime_error("told") {}
};

const std::exception_ptr told = std::make_exception_ptr(Told());

TEST_F(Identification, LetsAFailedConnectThrough) {
    text().throwOnConnect(told);
    EXPECT_THROW(identify(), Told);
    EXPECT_THAT(text().writes(), IsEmpty());
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(Identification, LetsAFailedWriteThrough) {
    for (std::size_t query = 0; query < 3; ++query) {
        text().throwOnWrite(text().writes().size() + query, told);
        answerQueries();
        EXPECT_THROW(identify(), Told);
    }
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_THAT(transport.calls("create"), IsEmpty());
}

TEST_F(Identification, LetsAFailedReadThrough) {
    const char* const replies[] = {"[Version --HW M615]", "[SerialNumber]"};
    for (std::size_t query = 0; query < 3; ++query) {
        for (std::size_t before = 0; before < query; ++before)
            answerText(text(), replies[before]);
        text().afterNextWrite().throwOnRead(told);
        EXPECT_THROW(identify(), Told);
    }
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(Identification, LetsAFailureOfTheSecondCommunicatorThrough) {
    answerQueries();
    transport.onCall = [](const std::string& line) {
        if (line.starts_with("create"))
            throw Told();
    };
    EXPECT_THROW(identify(), Told);
}

TEST_F(Identification, DestroysTheSecondCommunicatorWhereTheConversionIsRefused) {
    answerQueries();
    transport.onCall = [](const std::string& line) {
        if (line == "construct 10.0.0.5:32769 -1")
            PlatformScript::current().conversionFails = true;
    };
    // Every text of the description comes out empty then; the address was wide already.
    const CameraInfo info = identify();
    PlatformScript::current().conversionFails = false;
    EXPECT_EQ(info.getIpAddress(), L"10.0.0.5");
    EXPECT_EQ(info.getSerialNumber(), L"");
    EXPECT_EQ(transport.calls("destroy").size(), 1u);
}

TEST_F(Identification, ByAddressDestroysItsCommunicatorWhateverIsThrown) {
    text().throwOnConnect(told);
    EXPECT_THROW(Korva::determineCameraInfoByAddress("10.0.0.6", knownMac), Told);
    EXPECT_EQ(transport.calls().back(), "destroy 10.0.0.6:32768");
}

} // namespace
} // namespace IdentificationTests
