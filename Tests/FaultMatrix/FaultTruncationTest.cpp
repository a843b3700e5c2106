// Every answer of the camera cut off behind each of its bytes, and then silence or the connection's end.

#include "FaultMatrixBench.h"
#include "FaultMatrixChecks.h"
#include "FaultMatrixReader.h"

#include "Support/Beginning.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace FaultMatrix {
namespace {

using TestSupport::beginningOf;

/// An answer's first bytes and what follows them.
struct Cut {
    std::size_t count;
    Ending ending;

    std::string text() const {
        return std::to_string(count) +
               (ending == Ending::closed ? " bytes, then closed" : " bytes, then silence");
    }
    Fault fault(const Bytes& due) const {
        return sending(beginningOf(due, count),
                       ending == Ending::closed ? std::optional(Arrival::What::closed) : std::nullopt);
    }
};

std::vector<Cut> cutsOf(std::size_t bytes) {
    std::vector<Cut> cuts;
    for (std::size_t count = 0; count <= bytes; ++count)
        for (const Ending ending : {Ending::silence, Ending::closed})
            cuts.push_back({count, ending});
    return cuts;
}

std::string nameOfPlace(const ::testing::TestParamInfo<Place>& info) {
    return nameOf(Operation::capture, info.param);
}

struct TruncatedInACapture : ::testing::TestWithParam<Place> {};

TEST_P(TruncatedInACapture, EndsAsTheProtocolSays) {
    const Place place = GetParam();
    const bool isPicture = place.exchange == Exchange::get;
    const Bytes due = cameraOf().dueOf(place.exchange, false);
    for (const Cut& cut : cutsOf(due.size())) {
        SCOPED_TRACE(cut.text());
        const Received received = FaultMatrix::received(beginningOf(due, cut.count), cut.ending, isPicture);
        const DeviceOutcome expected = pictureRequest(cameraEndpoint, {place, received.reading, isPicture});
        DeviceBench bench;
        bench.camera.strike(place, cut.fault(due));
        {
            const Said said;
            EXPECT_EQ(bench.picture(), expected.good ? pictureOf() : Bytes{});
            EXPECT_EQ(said.matching(expected.lines), expected.lines);
        }
        EXPECT_EQ(bench.reports, std::vector{expected.health});
        EXPECT_EQ(bench.camera.configurations(), expected.configurations);
        EXPECT_LE(bench.clock.now, expected.waited + std::chrono::milliseconds(200));
        expectMendedInTime(bench, expected, {});
    }
}

INSTANTIATE_TEST_SUITE_P(capture, TruncatedInACapture, ::testing::ValuesIn(placesOf(Operation::capture)),
                         nameOfPlace);

TEST(TruncatedProbe, EndsAsTheProtocolSays) {
    const Bytes due = cameraOf().dueOf(Exchange::probe, false);
    for (const Cut& cut : cutsOf(due.size())) {
        SCOPED_TRACE(cut.text());
        const DeviceOutcome expected =
            connectionCheck(cameraEndpoint, received(beginningOf(due, cut.count), cut.ending, false).reading);
        DeviceBench bench;
        bench.camera.strike({Exchange::probe, 1}, cut.fault(due));
        expectConnectionCheck(bench, expected);
    }
}

struct TruncatedInAnIdentification : ::testing::TestWithParam<Place> {
    static std::string name(const ::testing::TestParamInfo<Place>& info) {
        return nameOf(Operation::identify, info.param);
    }
};

TEST_P(TruncatedInAnIdentification, EndsAsTheProtocolSays) {
    const Place place = GetParam();
    const std::string hardware = isText(place.exchange) ? "XM61" : "XM99";
    MatrixCamera sample = cameraOf();
    sample.setHardware(hardware);
    const Bytes due = sample.dueOf(place.exchange, true);
    const bool isPicture = place.exchange == Exchange::get;
    for (const Cut& cut : cutsOf(due.size())) {
        SCOPED_TRACE(cut.text());
        const Bytes came = beginningOf(due, cut.count);
        Identified identified = identifiedOf(sample);
        if (isText(place.exchange))
            identified.faulty = {static_cast<std::size_t>(place.exchange) - 1,
                                 receivedReply(std::string(came.begin(), came.end()), cut.ending)};
        else
            identified.struck = Struck{place, received(came, cut.ending, isPicture).reading, isPicture};
        const IdentityOutcome expected = identify(identified);
        IdentityBench bench;
        bench.camera.setHardware(hardware);
        bench.camera.strike(place, cut.fault(due));
        expectIdentification(bench, expected);
    }
}

INSTANTIATE_TEST_SUITE_P(identify, TruncatedInAnIdentification,
                         ::testing::ValuesIn(placesOf(Operation::identify)),
                         TruncatedInAnIdentification::name);

TEST(TruncatedDiscoveryReply, IsFoundOnlyWhole) {
    const std::string reply = discoveryReply;
    for (std::size_t count = 0; count <= reply.size(); ++count) {
        SCOPED_TRACE(count);
        IdentityBench bench;
        const Said said;
        EXPECT_EQ(bench.search({reply.substr(0, count)}).size(), count == reply.size() ? 1U : 0U);
        EXPECT_EQ(said.all(), Lines{});
        // A datagram without a byte ends the search.
        const auto waited = count == 0 ? std::chrono::milliseconds(0) : gatheringTime;
        expectTimely(bench.clock.now, waited, {}, {&bench.text(), &bench.binary()});
        bench.expectAtRest();
        bench.expectMended(Operation::discover);
    }
}

TEST(Truncation, CountsItsCells) {
    std::size_t cells = std::string(discoveryReply).size() + 1;
    const MatrixCamera camera = cameraOf();
    for (const Operation operation : {Operation::identify, Operation::capture, Operation::health})
        for (const Place& place : placesOf(operation))
            cells += cutsOf(camera.dueOf(place.exchange, operation == Operation::identify).size()).size();
    EXPECT_GT(cells, 3000U);
    std::printf("figure: answers cut off behind each byte, scripted transport: %zu\n", cells);
}

} // namespace
} // namespace FaultMatrix
