#include "Camera/Darkroom.h"

#include "Camera/PngWriter.h"
#include "Camera/SgiWriter.h"
#include "Conversation.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>

namespace Simulator {

using namespace Testing;

namespace {

constexpr PictureSize size{64, 256};
constexpr int piecesOfAPicture = 4;
static_assert(std::size_t{size.width} * size.height == piecesOfAPicture * Darkroom::pixelsPerPiece);

constexpr Configuration colour{15, 2, PictureFormat::sgi};
constexpr Configuration grey{15, 3, PictureFormat::png};

std::int64_t residentBytes() {
    std::ifstream statm("/proc/self/statm");
    std::int64_t all = 0;
    std::int64_t resident = 0;
    statm >> all >> resident;
    return resident * getpagesize();
}

int piecesUntilDone(Darkroom& darkroom, const SharedOrder& order) {
    int pieces = 0;
    for (; !order->isDone() && pieces < 100; ++pieces)
        darkroom.work();
    return pieces;
}

} // namespace

TEST(Darkroom, RendersTheSamePictureInPiecesAsAtOnce) {
    Darkroom darkroom(size, 7);
    EXPECT_EQ(*darkroom.finish(darkroom.order(SceneKind::grid, colour)),
              encodeAnswer(ArgumentCode::getImage, writeSgi(renderScene(SceneKind::grid, size, 3, 15, 7))));
    EXPECT_EQ(*darkroom.finish(darkroom.order(SceneKind::noise, grey)),
              encodeAnswer(ArgumentCode::getImage, writePng(renderScene(SceneKind::noise, size, 1, 15, 7))));
}

TEST(Darkroom, RendersARowAtOnceHoweverLongItIs) {
    Darkroom darkroom({2 * Darkroom::pixelsPerPiece, 3}, 1);
    EXPECT_EQ(piecesUntilDone(darkroom, darkroom.order(SceneKind::ramp, grey)), 3);
}

TEST(Darkroom, TouchesTheMemoryOfALargeFilePieceByPiece) {
    Darkroom darkroom({8192, 8192}, 1);
    const SharedOrder order = darkroom.order(SceneKind::black, colour);
    const auto before = residentBytes();
    darkroom.work();
    EXPECT_LT(residentBytes() - before, 4 << 20); // of 400 MB
}

TEST(Darkroom, RendersInTheOrderOfAskingAndOnceForAllWhoWantTheSame) {
    Darkroom darkroom(size, 1);
    const SharedOrder first = darkroom.order(SceneKind::ramp, colour);
    const SharedOrder second = darkroom.order(SceneKind::ramp, grey);
    EXPECT_NE(darkroom.order(SceneKind::black, colour), first);
    darkroom.work();
    EXPECT_EQ(darkroom.order(SceneKind::ramp, colour), first);
    EXPECT_EQ(piecesUntilDone(darkroom, first), piecesOfAPicture - 1);
    EXPECT_FALSE(second->isDone());
    EXPECT_EQ(piecesUntilDone(darkroom, second), piecesOfAPicture);
}

TEST(Darkroom, DropsAPictureThatNobodyWantsAnyMore) {
    Darkroom darkroom(size, 1);
    SharedOrder abandoned = darkroom.order(SceneKind::ramp, colour);
    darkroom.work();
    abandoned.reset();
    EXPECT_EQ(piecesUntilDone(darkroom, darkroom.order(SceneKind::ramp, grey)), piecesOfAPicture);
}

TEST(Darkroom, FailureIsThatOfOnePictureAlone) {
    Darkroom darkroom({0, 1}, 1); // no PNG file has such a size
    const SharedOrder impossible = darkroom.order(SceneKind::ramp, grey);
    const SharedOrder possible = darkroom.order(SceneKind::ramp, colour);
    EXPECT_EQ(piecesUntilDone(darkroom, impossible), 1);
    EXPECT_THROW(darkroom.finish(impossible), std::runtime_error);
    EXPECT_EQ(darkroom.finish(possible)->size(), 13U + 512);
    EXPECT_NE(darkroom.order(SceneKind::ramp, grey), impossible);
}

} // namespace Simulator
