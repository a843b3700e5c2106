#include "Camera/Camera.h"

#include "Conversation.h"
#include "Support/TemporaryFolder.h"
#include "Support/Thrown.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

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

} // namespace Simulator
