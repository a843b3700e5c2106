// Every answer of the camera with each of its bits the other way round.

#include "FaultMatrixBench.h"
#include "FaultMatrixChecks.h"
#include "FaultMatrixReader.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace FaultMatrix {
namespace {

constexpr unsigned int bitsPerByte = 8;
constexpr int healthNoPicture = 1032;

std::size_t flips = 0;

/// Calls `check` with the bytes and one bit of them changed, for each bit.
template <class Check>
void forEachFlip(const Bytes& bytes, Check check) {
    for (std::size_t bit = 0; bit < bytes.size() * bitsPerByte; ++bit) {
        SCOPED_TRACE("byte " + std::to_string(bit / bitsPerByte) + ", bit " +
                     std::to_string(bit % bitsPerByte));
        Bytes flipped = bytes;
        flipped[bit / bitsPerByte] =
            static_cast<std::uint8_t>(flipped[bit / bitsPerByte] ^ (1U << (bit % bitsPerByte)));
        check(flipped);
        ++flips;
    }
}

std::string textOf(const Bytes& bytes) {
    return {bytes.begin(), bytes.end()};
}

/// What the device makes of a flipped answer, the picture in it included.
struct Expected {
    DeviceOutcome outcome;
    Bytes pixels;
};

/// The picture was handed on; whether it is kept.
Expected keeping(Expected expected, const SgiPicture& picture) {
    if (picture.width != pictureWidth || picture.height != pictureHeight)
        expected.outcome.lines.push_back(
            internalsWarning("Korva picture has the size " + std::to_string(picture.width) + " x " +
                             std::to_string(picture.height) + ", the camera's resolution is 4 x 3"));
    if (picture.pixels() >= picturePixels) {
        expected.pixels = greyOf(picture, picturePixels);
        return expected;
    }
    expected.outcome.good = false;
    expected.outcome.health = healthNoPicture;
    expected.outcome.lines.push_back(internalsError("Failed to capture Korva image"));
    return expected;
}

Expected expectedOf(const Place& place, const Bytes& flipped) {
    const bool isPicture = place.exchange == Exchange::get;
    Received received = FaultMatrix::received(flipped, Ending::silence, isPicture);
    const bool isTaken = isPicture && received.reading.verdict == Verdict::accepted;
    const SgiPicture picture = isTaken ? decodedSgi(received.file) : SgiPicture{};
    const Lines against = isTaken ? linesAgainst(picture) : Lines{};
    if (!against.empty()) {
        received.reading.verdict = Verdict::refused;
        received.reading.judged.insert(received.reading.judged.end(), against.begin(), against.end());
    }
    Expected expected{pictureRequest(cameraEndpoint, {place, received.reading, isPicture}), {}};
    if (isTaken && against.empty())
        return keeping(expected, picture);
    if (expected.outcome.good)
        expected.pixels = pictureOf();
    return expected;
}

std::string nameOfPlace(const ::testing::TestParamInfo<Place>& info) {
    return nameOf(Operation::capture, info.param);
}

struct FlippedInACapture : ::testing::TestWithParam<Place> {};

TEST_P(FlippedInACapture, EndsAsTheProtocolSays) {
    const Place place = GetParam();
    const Bytes due = cameraOf().dueOf(place.exchange, false);
    forEachFlip(due, [&](const Bytes& flipped) {
        const Expected expected = expectedOf(place, flipped);
        DeviceBench bench;
        bench.camera.strike(place, sending(flipped, std::nullopt));
        {
            const Said said;
            EXPECT_EQ(bench.picture(), expected.pixels);
            EXPECT_EQ(said.matching(expected.outcome.lines), expected.outcome.lines);
        }
        // Never in silence.
        EXPECT_FALSE(expected.outcome.lines.empty());
        EXPECT_EQ(bench.reports, std::vector{expected.outcome.health});
        EXPECT_EQ(bench.camera.configurations(), expected.outcome.configurations);
        expectMendedInTime(bench, expected.outcome, {});
    });
}

INSTANTIATE_TEST_SUITE_P(capture, FlippedInACapture, ::testing::ValuesIn(placesOf(Operation::capture)),
                         nameOfPlace);

TEST(FlippedProbe, EndsAsTheProtocolSays) {
    const Bytes due = cameraOf().dueOf(Exchange::probe, false);
    forEachFlip(due, [&](const Bytes& flipped) {
        const DeviceOutcome expected =
            connectionCheck(cameraEndpoint, received(flipped, Ending::silence, false).reading);
        DeviceBench bench;
        bench.camera.strike({Exchange::probe, 1}, sending(flipped, std::nullopt));
        expectConnectionCheck(bench, expected);
    });
}

struct FlippedReply : ::testing::TestWithParam<Exchange> {
    static std::string name(const ::testing::TestParamInfo<Exchange>& info) {
        return nameOf(Operation::identify, {info.param, 1});
    }
};

TEST_P(FlippedReply, IsReadByTheGrammar) {
    const MatrixCamera sample = cameraOf();
    forEachFlip(sample.dueOf(GetParam(), false), [&](const Bytes& flipped) {
        Identified identified = identifiedOf(sample);
        identified.faulty = {static_cast<std::size_t>(GetParam()) - 1,
                             receivedReply(textOf(flipped), Ending::silence)};
        const IdentityOutcome expected = identify(identified);
        IdentityBench bench;
        bench.camera.strike({GetParam(), 1}, sending(flipped, std::nullopt));
        expectIdentification(bench, expected);
    });
}

INSTANTIATE_TEST_SUITE_P(identify, FlippedReply,
                         ::testing::Values(Exchange::version, Exchange::serial, Exchange::network),
                         FlippedReply::name);

/// A PNG file has checksums of its own, up to which it is read: its size is the true one or none.
struct FlippedSample : ::testing::TestWithParam<Place> {
    static std::string name(const ::testing::TestParamInfo<Place>& info) {
        return nameOf(Operation::identify, info.param);
    }
};

std::vector<Place> samplePlaces() {
    std::vector<Place> places;
    for (const Place& place : placesOf(Operation::identify))
        if (isOfAPicture(place.exchange))
            places.push_back(place);
    return places;
}

TEST_P(FlippedSample, GivesTheTrueSizeOrNone) {
    const Place place = GetParam();
    MatrixCamera sample = cameraOf();
    sample.setHardware("XM99");
    const bool isPicture = place.exchange == Exchange::get;
    forEachFlip(sample.dueOf(place.exchange, true), [&](const Bytes& flipped) {
        const Received received = FaultMatrix::received(flipped, Ending::silence, isPicture);
        Identified identified = identifiedOf(sample);
        identified.struck = Struck{place, received.reading, isPicture};
        if (isPicture && received.reading.verdict == Verdict::accepted)
            identified.sampleSize = sizeOfPng(received.file);
        const IdentityOutcome expected = identify(identified);
        IdentityBench bench;
        bench.camera.setHardware("XM99");
        bench.camera.strike(place, sending(flipped, std::nullopt));
        expectIdentification(bench, expected);
    });
}

INSTANTIATE_TEST_SUITE_P(identify, FlippedSample, ::testing::ValuesIn(samplePlaces()), FlippedSample::name);

TEST(FlippedDiscoveryReply, IsReadByTheGrammar) {
    const std::string reply = discoveryReply;
    forEachFlip(Bytes(reply.begin(), reply.end()), [&](const Bytes& flipped) {
        IdentityBench bench;
        const auto camera = foundIn(textOf(flipped));
        const Said said;
        const std::vector<Identity> found = bench.search({textOf(flipped)});
        if (!camera) {
            EXPECT_TRUE(found.empty());
            EXPECT_EQ(said.all(), Lines{});
        } else if (camera->ip == "10.0.0.5") {
            EXPECT_EQ(found, std::vector{*identify(identifiedOf(bench.camera)).identity});
            EXPECT_EQ(said.all(), Lines{});
        } else { // nobody answers there
            EXPECT_TRUE(found.empty());
            const Lines lines = said.all();
            ASSERT_EQ(lines.size(), 4U);
            EXPECT_EQ(lines[0], captureWarning("Couldn't retrieve MAC address with ARP call: error: 67"));
            EXPECT_TRUE(lines[1].message.starts_with("Couldn't get any version info from Korva device at: "));
            EXPECT_EQ(lines[2], locatorError("DeviceException while determining camera info."));
            EXPECT_EQ(lines[3], locatorError("    " + lines[1].message));
        }
        expectTimely(bench.clock.now, gatheringTime, {}, {&bench.text(), &bench.binary()});
        bench.expectAtRest();
        bench.expectMended(Operation::discover);
    });
}

/// Tells the number at the end, when all cases have run.
struct Count : ::testing::Environment {
    void TearDown() override {
        std::printf("figure: answers with one bit flipped, scripted transport: %zu\n", flips);
    }
};
const ::testing::Environment* const count = ::testing::AddGlobalTestEnvironment(new Count);

} // namespace
} // namespace FaultMatrix
