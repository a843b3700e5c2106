#include "ImagingLibrary/ImagingLibrary.h"

#include "ImagingLibrary/Image.h"
#include "ImagingLibrary/ImagingFactory.h"
#include "ReferenceHost/HostControl.h"

#include <gtest/gtest.h>
#include <memory>
#include <new>
#include <stdexcept>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

/// The library, all of whose images are released in the end.
struct Imaging : testing::Test {
    struct Release {
        void operator()(Image* image) const { ImagingFactory::getInstance()->releaseImage(image); }
    };
    using OwnedImage = std::unique_ptr<Image, Release>;

    OwnedImage create(unsigned int width, unsigned int height, unsigned int samples, const void* pixels) {
        return OwnedImage(library.createImage(width, height, 8, samples, pixels, 0));
    }
    ~Imaging() override { EXPECT_EQ(ReferenceHost::liveImageCount(), 0u); }

    ImagingLibrary& library = *ImagingFactory::getInstance();
};

void expectImage(Image& image, unsigned int width, unsigned int height, unsigned int samples,
                 const Bytes& pixels) {
    EXPECT_EQ(image.getWidth(), width);
    EXPECT_EQ(image.getHeight(), height);
    EXPECT_EQ(image.getBitsPerSample(), 8u);
    EXPECT_EQ(image.getSamplesPerPixel(), samples);
    const auto* const bytes = static_cast<const unsigned char*>(image.getRawImageData());
    ASSERT_NE(bytes, nullptr);
    EXPECT_EQ(Bytes(bytes, bytes + pixels.size()), pixels);
}

} // namespace

TEST_F(Imaging, CreatesAnImageOfACopyOfThePixels) {
    EXPECT_EQ(&library, ImagingFactory::getInstance()) << "one library for the process";
    Bytes pixels{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18};
    const Bytes before = pixels;
    const OwnedImage image = create(3, 2, 3, pixels.data());
    pixels.assign(pixels.size(), 0);
    expectImage(*image, 3, 2, 3, before);
}

TEST_F(Imaging, CreatesAndConvertsEmptyImagesWithoutReadingPixels) {
    for (const auto& [width, height] : {std::pair{0u, 0u}, {0u, 5u}, {5u, 0u}, {0xFFFFFFFFu, 0u}}) {
        const OwnedImage image = create(width, height, 3, nullptr);
        expectImage(*image, width, height, 3, {});
        expectImage(*OwnedImage(library.convertToGreyscale(image.get())), width, height, 1, {});
    }
}

TEST_F(Imaging, RefusesImagesThatItDoesNotKnowOrThatNoMemoryHolds) {
    const Bytes pixels(64);
    EXPECT_THROW(library.createImage(1, 1, 16, 3, pixels.data(), 0), std::invalid_argument);
    for (const unsigned int samples : {0u, 2u, 4u})
        EXPECT_THROW(create(1, 1, samples, pixels.data()), std::invalid_argument);
    EXPECT_THROW(library.createImage(1, 1, 8, 3, pixels.data(), 1), std::invalid_argument);
    EXPECT_THROW(create(1, 1, 3, nullptr), std::invalid_argument);
    for (const unsigned int samples : {3u, 1u})
        EXPECT_THROW(create(0xFFFFFFFF, 0xFFFFFFFF, samples, pixels.data()), std::bad_alloc);
}

TEST_F(Imaging, ConvertsToANewGreyImageUnlessItIsGreyAndCountsThoseAlive) {
    library.releaseImage(nullptr);
    // The last two: 55.5 and 26.499.
    const Bytes pixels{255, 0, 0, 0, 255, 0, 0, 0, 255, 9, 9, 9, 0, 66, 147, 0, 3, 217};
    OwnedImage image = create(2, 3, 3, pixels.data());
    EXPECT_EQ(ReferenceHost::liveImageCount(), 1u);
    const OwnedImage grey(library.convertToGreyscale(image.get()));
    EXPECT_EQ(ReferenceHost::liveImageCount(), 2u);
    expectImage(*grey, 2, 3, 1, {76, 150, 29, 9, 56, 26});
    expectImage(*image, 2, 3, 3, pixels);
    EXPECT_EQ(library.convertToGreyscale(grey.get()), grey.get());
    image.reset();
    EXPECT_EQ(ReferenceHost::liveImageCount(), 1u);
}
