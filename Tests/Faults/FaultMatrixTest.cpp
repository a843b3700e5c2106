// Every fault at every place where a camera answers, under every operation: the oracle against the plug-in.

#include "Actual.h"
#include "Cells.h"

#include "Communicator/PosixEthernetCommunicator.h"
#include "NativeCameraKorva/KorvaCameraLocator.h"
#include "NativeCameraKorva/KorvaIdentification.h"
#include "World/Stage.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <string>

namespace Faults {
namespace {

using Simulator::FaultKind;

constexpr char address[] = "10.0.0.5";
/// What was checked, and how often.
std::map<std::string, std::size_t> figures;

/// The plug-in in a world with one simulated camera.
class Bench {
public:
    explicit Bench(const Simulator::CameraSettings& settings) {
        replaceCamera(settings);
        world_.network.adapters = {{"eth0", {{"10.0.0.1", "255.255.255.0"}}}};
        world_.network.arp[address].hardwareAddress = std::string("\x00\x1a\x2b\x3c\x4d\x5e", 6);
    }

    void replaceCamera(const Simulator::CameraSettings& settings) {
        camera_ = std::make_unique<Simulator::Camera>(settings);
        const Camera sessions = sessionsOf(*camera_);
        world_.network.serve(address, sessions.textPort, sessions.text);
        world_.network.serve(address, sessions.binaryPort, sessions.binary);
    }

    /// Does what a host does, and says what came of it.
    Outcome run(Operation operation, const log4cxx::LevelPtr& level = log4cxx::Level::getWarn()) {
        world_.calls.clear();
        const World::Duration before = World::elapsed();
        Outcome outcome = outcomeBy([&](Outcome& value) { perform(operation, value); }, level);
        outcome.attempts = count("send 10.0.0.5:32769 39 bytes");
        outcome.textConnections = count("connect 10.0.0.5:32768");
        outcome.binaryConnections = count("connect 10.0.0.5:32769");
        outcome.receives = count("receive");
        outcome.elapsed = World::elapsed() - before;
        EXPECT_TRUE(world_.network.openConnections().empty());
        EXPECT_TRUE(world_.imaging.alive.empty());
        return outcome;
    }

    bool hasStruck(Simulator::Place place) { return !camera_->nextFault(place); }

private:
    int count(const char* call) const { return static_cast<int>(world_.calls.of(call).size()); }

    void perform(Operation operation, Outcome& outcome) {
        if (operation == Operation::picture)
            return device_.takePicture(outcome);
        if (operation == Operation::check)
            return device_.check(outcome);
        if (operation == Operation::identify) {
            outcome.identity = told(Korva::determineCameraInfoByAddress(address, "00-1a-2b-3c-4d-5e"));
            outcome.isGood = true;
            return;
        }
        Finder finder(outcome);
        world_.network.datagrams.clear();
        for (const auto& [text, after] : datagramsOf(*camera_, address))
            world_.network.datagrams.emplace_back(text, after);
        KorvaCameraLocator().broadcastObserverSearch(&finder, 0);
    }

    World::Stage world_;
    std::unique_ptr<Simulator::Camera> camera_;
    HeldDevice device_{
        new PosixEthernetCommunicator(Platform::wideFromUtf8(address), Simulator::binaryPort, -1)};
};

void expectSame(const Outcome& actual, const Outcome& expected) {
    expectSameResult(actual, expected);
    EXPECT_EQ(actual.attempts, expected.attempts);
    EXPECT_EQ(actual.textConnections, expected.textConnections);
    EXPECT_EQ(actual.binaryConnections, expected.binaryConnections);
    EXPECT_LE(actual.receives, expected.receives);
    EXPECT_EQ(actual.elapsed, expected.elapsed);
    ++figures["operations on a faulty camera held to their time bound, scripted transport"];
}

/// What a camera without a fault gives.
const Outcome& goodOutcome(Operation operation, const Simulator::CameraSettings& settings) {
    static std::map<std::pair<Operation, std::string>, Outcome> known;
    const auto [at, isNew] = known.try_emplace({operation, settings.hardware});
    if (isNew)
        at->second = outcomeOf(operation, settings);
    EXPECT_TRUE(at->second.isGood && at->second.lines.empty());
    return at->second;
}

/// The fault comes, ends as the oracle says, and leaves nothing: the same host finds the mended camera good.
void expectCell(const Cell& cell) {
    const Simulator::CameraSettings settings = settingsOf(cell);
    const Outcome expected = outcomeOf(cell.operation, settings);
    Bench bench(settings);
    expectSame(bench.run(cell.operation), expected);
    EXPECT_TRUE(bench.hasStruck(cell.fault.place));
    // A flipped bit is never kept in silence.
    EXPECT_FALSE(cell.operation == Operation::picture && cell.fault.kind == FaultKind::flip &&
                 expected.lines.empty());
    const Simulator::CameraSettings good = mended(settings);
    bench.replaceCamera(good);
    const bool hasDevice = cell.operation == Operation::picture || cell.operation == Operation::check;
    const std::vector<Operation> ofADevice{Operation::picture, Operation::check};
    for (const Operation operation : hasDevice ? ofADevice : std::vector{cell.operation})
        expectSame(bench.run(operation), goodOutcome(operation, good));
}

struct OneFault : ::testing::TestWithParam<Cell> {};

TEST_P(OneFault, EndsAsTheOracleSays) {
    expectCell(GetParam());
    ++figures["fault matrix, cells checked over the scripted transport"];
}

TEST_P(OneFault, EndsAlikeIfNothingIsLogged) {
    const Simulator::CameraSettings settings = settingsOf(GetParam());
    Outcome expected = outcomeOf(GetParam().operation, settings);
    expected.lines.clear();
    expectSame(Bench(settings).run(GetParam().operation, log4cxx::Level::getOff()), expected);
}

INSTANTIATE_TEST_SUITE_P(cells, OneFault, ::testing::ValuesIn(everyCell()), nameOfCell);

/// Every answer cut off behind each of its bytes, and every answer with each of its bits the other way round.
struct EveryNumber : ::testing::TestWithParam<Cell> {};

TEST_P(EveryNumber, EndsAsTheOracleSays) {
    Cell cell = GetParam();
    const bool isFlip = cell.fault.kind == FaultKind::flip;
    const std::size_t end = isFlip ? 8 * answerBytes(cell) : answerBytes(cell) + 1;
    for (std::size_t number = 0; number < end; ++number) {
        SCOPED_TRACE(number);
        cell.fault.number = static_cast<std::uint32_t>(number);
        expectCell(cell);
    }
    figures[isFlip ? "answers with one bit flipped, scripted transport"
                   : "answers cut off behind each byte, scripted transport"] += end;
}

INSTANTIATE_TEST_SUITE_P(bits, EveryNumber, ::testing::ValuesIn(everyPlace("flip=0")), nameOfCell);
INSTANTIATE_TEST_SUITE_P(cutAndSilent, EveryNumber, ::testing::ValuesIn(everyPlace("truncate-silent")),
                         nameOfCell);
INSTANTIATE_TEST_SUITE_P(cutAndClosed, EveryNumber, ::testing::ValuesIn(everyPlace("truncate-close")),
                         nameOfCell);
INSTANTIATE_TEST_SUITE_P(discovery, EveryNumber,
                         ::testing::ValuesIn(chosenCells(Operation::discover,
                                                         {{1, "discovery:flip=0 discovery:length=1"}})),
                         nameOfCell);

/// Tells the numbers at the end, when all cells have run.
struct Figures : ::testing::Environment {
    void TearDown() override {
        for (const auto& [claim, number] : figures)
            std::printf("figure: %s: %zu\n", claim.c_str(), number);
    }
};
const ::testing::Environment* const atTheEnd = ::testing::AddGlobalTestEnvironment(new Figures);

} // namespace
} // namespace Faults
