#include "Camera/Camera.h"

#include "Camera/PngWriter.h"
#include "Camera/SgiWriter.h"
#include "Conversation.h"
#include "Support/TemporaryFolder.h"
#include "Support/Thrown.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <utility>

namespace Simulator {

using namespace Testing;

namespace {

CameraSettings showing(const std::string& path) {
    CameraSettings settings;
    settings.scene = parseScene("file:" + path);
    return settings;
}

std::string refusalOf(const std::string& path) {
    return TestSupport::thrownBy<std::runtime_error>([&] { const Camera camera(showing(path)); });
}

constexpr PictureSize size{64, 256};
constexpr int piecesOfAPicture = 4;
static_assert(std::size_t{size.width} * size.height == piecesOfAPicture * Darkroom::pixelsPerPiece);

constexpr Configuration colour{15, 1, PictureFormat::sgi};
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

TEST(Camera, TakesPicturesOfItsModelsSize) {
    constexpr PictureSize smaller{1676, 1266};
    constexpr PictureSize larger{2748, 1836};
    for (const auto& [model, size] : {std::pair("M61", smaller), std::pair("M615", larger),
                                      std::pair("M62", larger), std::pair("anything", smaller)})
        EXPECT_EQ(pictureSizeOfModel(model), size) << model;
    CameraSettings settings;
    settings.model = "M62";
    EXPECT_EQ(settings.pictureSize(), (PictureSize{2748, 1836}));
    settings.size = PictureSize{4, 2};
    EXPECT_EQ(settings.pictureSize(), (PictureSize{4, 2}));
}

TEST(Camera, RefusesSizesThatNoCameraHas) {
    for (const PictureSize size : {PictureSize{0, 1}, {1, 0}, {65536, 1}, {1, 65536}, {65535, 65535}}) {
        CameraSettings settings;
        settings.size = size;
        EXPECT_THROW(Camera{settings}, std::invalid_argument) << size.width << " x " << size.height;
    }
}

TEST(Camera, KeepsTheLastFewPicturesForTheSameSettings) {
    Camera camera(smallCamera());
    const Configuration colour{1, 2, PictureFormat::sgi};
    std::weak_ptr<const Bytes> first = camera.pictureAnswer(colour);
    for (const Configuration& other :
         {Configuration{2, 2, PictureFormat::sgi}, {1, 3, PictureFormat::sgi}, {1, 2, PictureFormat::png}}) {
        EXPECT_NE(camera.pictureAnswer(other), camera.pictureAnswer(colour));
        EXPECT_EQ(camera.pictureAnswer(colour), first.lock());
    }
    camera.pictureAnswer({3, 2, PictureFormat::sgi});
    EXPECT_TRUE(first.expired());
}

TEST(Camera, ServesAFileAsItWasWhateverItHolds) {
    const TestSupport::TemporaryFolder folder;
    const std::string path = folder.file("scene");
    std::ofstream(path, std::ios::binary) << "any bytes";
    Camera camera(showing(path));
    std::filesystem::remove(path);
    const Bytes answer = encodeAnswer(ArgumentCode::getImage, bytesOfText("any bytes"));
    EXPECT_EQ(*camera.pictureAnswer({15, 2, PictureFormat::sgi}), answer);
    EXPECT_EQ(*camera.pictureAnswer({15, 3, PictureFormat::png}), answer);
}

TEST(Camera, ServesNothingButARegularFileOfAtMost256Mebibytes) {
    const TestSupport::TemporaryFolder folder;
    const std::string fifo = folder.file("fifo");
    const std::string large = folder.file("large.png");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_EQ(refusalOf("/nowhere/at all.png"),
              "Cannot read the scene /nowhere/at all.png: No such file or directory");
    for (const std::string& path : {folder.path().string(), fifo, std::string("/dev/zero")})
        EXPECT_EQ(refusalOf(path), "Cannot read the scene " + path + ": it is no regular file");
    std::ofstream(large).close();
    constexpr std::size_t most = std::size_t{256} << 20;
    std::filesystem::resize_file(large, most); // without any blocks
    EXPECT_GT(Camera(showing(large)).pictureAnswer({})->size(), most);
    std::filesystem::resize_file(large, most + 1);
    EXPECT_EQ(refusalOf(large), "The scene " + large + " is larger than 256 MiB");
}

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
