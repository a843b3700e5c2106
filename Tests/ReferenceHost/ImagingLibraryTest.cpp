#include "ImagingLibrary/ImagingLibrary.h"

#include "ImagingLibrary/Image.h"
#include "ImagingLibrary/ImagingFactory.h"
#include "ReferenceHost/HostControl.h"

#include <cstddef>
#include <gtest/gtest.h>
#include <memory>
#include <new>
#include <stdexcept>
#include <utility>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

struct Release {
    void operator()(Image* image) const { ImagingFactory::getInstance()->releaseImage(image); }
};
using OwnedImage = std::unique_ptr<Image, Release>;

OwnedImage create(unsigned int width, unsigned int height, unsigned int samples, const void* pixels) {
    return OwnedImage(ImagingFactory::getInstance()->createImage(width, height, 8, samples, pixels, 0));
}

Bytes bytesOf(Image& image) {
    const std::size_t count = std::size_t{image.getWidth()} * image.getHeight() * image.getSamplesPerPixel();
    const auto* const bytes = static_cast<const unsigned char*>(image.getRawImageData());
    return Bytes(bytes, bytes + count);
}

} // namespace

TEST(ImagingLibrary, IsOneForTheProcess) {
    EXPECT_NE(ImagingFactory::getInstance(), nullptr);
    EXPECT_EQ(ImagingFactory::getInstance(), ImagingFactory::getInstance());
}

TEST(ImagingLibrary, CreatesAnImageOfACopyOfThePixels) {
    Bytes pixels{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18};
    const Bytes before = pixels;
    const OwnedImage image = create(3, 2, 3, pixels.data());
    pixels.assign(pixels.size(), 0);
    EXPECT_EQ(image->getWidth(), 3u);
    EXPECT_EQ(image->getHeight(), 2u);
    EXPECT_EQ(image->getBitsPerSample(), 8u);
    EXPECT_EQ(image->getSamplesPerPixel(), 3u);
    EXPECT_EQ(bytesOf(*image), before);
}

TEST(ImagingLibrary, CreatesEmptyImagesWithoutReadingPixels) {
    for (const auto& [width, height] : {std::pair{0u, 0u}, {0u, 5u}, {5u, 0u}, {0xFFFFFFFFu, 0u}}) {
        const OwnedImage image = create(width, height, 3, nullptr);
        EXPECT_EQ(image->getWidth(), width);
        EXPECT_EQ(image->getHeight(), height);
        EXPECT_NE(image->getRawImageData(), nullptr);
    }
}

TEST(ImagingLibrary, RefusesImagesThatItDoesNotKnow) {
    ImagingLibrary& library = *ImagingFactory::getInstance();
    const Bytes pixels(64);
    EXPECT_THROW(library.createImage(1, 1, 16, 3, pixels.data(), 0), std::invalid_argument);
    for (const unsigned int samples : {0u, 2u, 4u})
        EXPECT_THROW(library.createImage(1, 1, 8, samples, pixels.data(), 0), std::invalid_argument);
    EXPECT_THROW(library.createImage(1, 1, 8, 3, pixels.data(), 1), std::invalid_argument);
    EXPECT_THROW(library.createImage(1, 1, 8, 3, nullptr, 0), std::invalid_argument);
    EXPECT_EQ(ReferenceHost::liveImageCount(), 0u);
}

TEST(ImagingLibrary, ThrowsWhereNoMemoryHoldsTheImage) {
    ImagingLibrary& library = *ImagingFactory::getInstance();
    const unsigned char pixel = 0;
    for (const unsigned int samples : {3u, 1u})
        EXPECT_THROW(library.createImage(0xFFFFFFFF, 0xFFFFFFFF, 8, samples, &pixel, 0), std::bad_alloc);
    EXPECT_EQ(ReferenceHost::liveImageCount(), 0u);
}

TEST(ImagingLibrary, CountsTheImagesThatAreAlive) {
    const Bytes pixels(3);
    ImagingFactory::getInstance()->releaseImage(nullptr);
    EXPECT_EQ(ReferenceHost::liveImageCount(), 0u);
    OwnedImage first = create(1, 1, 3, pixels.data());
    const OwnedImage second = create(0, 0, 1, nullptr);
    EXPECT_EQ(ReferenceHost::liveImageCount(), 2u);
    const OwnedImage grey(ImagingFactory::getInstance()->convertToGreyscale(first.get()));
    EXPECT_EQ(ReferenceHost::liveImageCount(), 3u);
    first.reset();
    EXPECT_EQ(ReferenceHost::liveImageCount(), 2u);
}

TEST(GreyConversion, ReturnsAOneSampleImageItself) {
    const Bytes pixels{7, 8};
    const OwnedImage image = create(2, 1, 1, pixels.data());
    EXPECT_EQ(ImagingFactory::getInstance()->convertToGreyscale(image.get()), image.get());
    EXPECT_EQ(ReferenceHost::liveImageCount(), 1u);
    EXPECT_EQ(bytesOf(*image), pixels);
}

TEST(GreyConversion, MakesANewImageOfAThreeSampleOne) {
    // The last two: 55.5 and 26.499.
    const Bytes pixels{255, 0, 0, 0, 255, 0, 0, 0, 255, 9, 9, 9, 0, 66, 147, 0, 3, 217};
    const OwnedImage image = create(2, 3, 3, pixels.data());
    const OwnedImage grey(ImagingFactory::getInstance()->convertToGreyscale(image.get()));
    ASSERT_NE(grey.get(), image.get());
    EXPECT_EQ(grey->getWidth(), 2u);
    EXPECT_EQ(grey->getHeight(), 3u);
    EXPECT_EQ(grey->getBitsPerSample(), 8u);
    EXPECT_EQ(grey->getSamplesPerPixel(), 1u);
    EXPECT_EQ(bytesOf(*grey), (Bytes{76, 150, 29, 9, 56, 26}));
    EXPECT_EQ(bytesOf(*image), pixels) << "the old image is left as it was";
}

TEST(GreyConversion, OfAnEmptyImageIsEmpty) {
    const OwnedImage image = create(0, 0, 3, nullptr);
    const OwnedImage grey(ImagingFactory::getInstance()->convertToGreyscale(image.get()));
    EXPECT_NE(grey.get(), image.get());
    EXPECT_EQ(grey->getWidth() + grey->getHeight(), 0u);
}
