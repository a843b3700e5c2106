#include "Camera/Camera.h"

#include "Conversation.h"
#include "Support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

namespace Simulator {

using namespace Testing;

TEST(Camera, TakesPicturesOfItsModelsSize) {
    EXPECT_EQ(pictureSizeOfModel("M61"), (PictureSize{1676, 1266}));
    EXPECT_EQ(pictureSizeOfModel("M615"), (PictureSize{2748, 1836}));
    EXPECT_EQ(pictureSizeOfModel("M62"), (PictureSize{2748, 1836}));
    EXPECT_EQ(pictureSizeOfModel("anything"), (PictureSize{1676, 1266}));

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

TEST(Camera, KeepsThePictureForTheSameSettings) {
    Camera camera(smallCamera());
    const Configuration colour{15, 2, PictureFormat::sgi};
    const SharedBytes first = camera.pictureAnswer(colour);
    EXPECT_EQ(camera.pictureAnswer(colour), first);
    EXPECT_NE(camera.pictureAnswer({16, 2, PictureFormat::sgi}), first);
    EXPECT_NE(camera.pictureAnswer({15, 3, PictureFormat::sgi}), first);
    EXPECT_NE(camera.pictureAnswer({15, 2, PictureFormat::png}), first);
    EXPECT_EQ(camera.pictureAnswer(colour), first);
}

TEST(Camera, KeepsOnlyTheLastFewPictures) {
    Camera camera(smallCamera());
    const std::weak_ptr<const Bytes> first = camera.pictureAnswer({1, 2, PictureFormat::sgi});
    for (std::uint16_t exposure = 2; exposure <= 4; ++exposure)
        camera.pictureAnswer({exposure, 2, PictureFormat::sgi});
    EXPECT_FALSE(first.expired());
    camera.pictureAnswer({5, 2, PictureFormat::sgi});
    EXPECT_TRUE(first.expired());
}

TEST(Camera, ServesAFileAsItIs) {
    const std::string path = ::testing::TempDir() + "korva-scene-" + std::to_string(::getpid());
    std::ofstream(path, std::ios::binary) << "any bytes";
    CameraSettings settings;
    settings.scene = parseScene("file:" + path);
    Camera camera(settings);
    std::remove(path.c_str());
    const Bytes file = bytesOf({'a', 'n', 'y', ' ', 'b', 'y', 't', 'e', 's'});
    EXPECT_EQ(*camera.pictureAnswer({15, 2, PictureFormat::sgi}), encodeAnswer(ArgumentCode::getImage, file));
    EXPECT_EQ(*camera.pictureAnswer({15, 3, PictureFormat::png}), encodeAnswer(ArgumentCode::getImage, file));
}

TEST(Camera, SaysWhichFileItCannotRead) {
    CameraSettings settings;
    settings.scene = parseScene("file:/nowhere/at all.png");
    try {
        Camera camera(settings);
        FAIL() << "accepted";
    } catch (const std::runtime_error& failure) {
        EXPECT_STREQ(failure.what(), "Cannot read the scene /nowhere/at all.png: No such file or directory");
    }
}

TEST(Camera, ServesNothingButARegularFile) {
    const TestSupport::TemporaryFolder folder;
    ASSERT_EQ(mkfifo(folder.file("fifo").c_str(), 0600), 0);
    for (const std::string& path : {folder.path().string(), folder.file("fifo"), std::string("/dev/zero")}) {
        CameraSettings settings;
        settings.scene = parseScene("file:" + path);
        try {
            Camera camera(settings);
            ADD_FAILURE() << "accepted " << path;
        } catch (const std::runtime_error& failure) {
            EXPECT_EQ(failure.what(), "Cannot read the scene " + path + ": it is no regular file");
        }
    }
}

TEST(Camera, ServesAFileOfAtMost256Mebibytes) {
    const TestSupport::TemporaryFolder folder;
    const std::string path = folder.file("large.png");
    std::ofstream(path).close();
    CameraSettings settings;
    settings.scene = parseScene("file:" + path);
    constexpr std::size_t most = std::size_t{256} << 20;
    std::filesystem::resize_file(path, most); // without any blocks
    EXPECT_GT(Camera(settings).pictureAnswer({})->size(), most);
    std::filesystem::resize_file(path, most + 1);
    try {
        Camera camera(settings);
        ADD_FAILURE() << "accepted";
    } catch (const std::runtime_error& failure) {
        EXPECT_EQ(failure.what(), "The scene " + path + " is larger than 256 MiB");
    }
}

TEST(Camera, CountsHowOftenAFaultHits) {
    CameraSettings settings = smallCamera();
    settings.faults = {parseFault("take:close*2"), parseFault("any:silent*1"), parseFault("get:reset")};
    Camera camera(settings);
    EXPECT_EQ(camera.nextFault(Place::take)->kind, FaultKind::close);
    EXPECT_EQ(camera.nextFault(Place::take)->kind, FaultKind::close);
    EXPECT_EQ(camera.nextFault(Place::take)->kind, FaultKind::silent);
    EXPECT_EQ(camera.nextFault(Place::take), std::nullopt);
    for (int round = 0; round < 10; ++round)
        EXPECT_EQ(camera.nextFault(Place::get)->kind, FaultKind::reset);
    EXPECT_EQ(camera.nextFault(Place::configure), std::nullopt);
}

} // namespace Simulator
