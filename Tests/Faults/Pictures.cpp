#include "Pictures.h"

#include <png.h>

#include <algorithm>
#include <cstring>

namespace Faults {

namespace {

unsigned big16(const Bytes& file, std::size_t at) {
    return file[at] * 256U + file[at + 1];
}

unsigned reduced(unsigned sample) {
    return sample >= 16384 ? 255 : sample / 64;
}

unsigned coloursOf(const Picture& picture) {
    return picture.channels <= 2 ? 1 : 3;
}

bool hasAlpha(const Picture& picture) {
    return picture.channels % 2 == 0;
}

/// Its first chunk is the header, or libpng's reader would not have begun.
bool isExpanded(const Bytes& pngFile) {
    const unsigned bitDepth = pngFile.at(24);
    const unsigned colourType = pngFile.at(25);
    return bitDepth < 8 || colourType == PNG_COLOR_TYPE_PALETTE;
}

} // namespace

Picture sgiPicture(const Bytes& file, std::size_t mostBytes) {
    if (file.size() < 512 || big16(file, 0) != 474 || file[2] != 0)
        return {};
    const unsigned bytes = file[3];
    const unsigned dimension = big16(file, 4);
    Picture picture{big16(file, 6), big16(file, 8), big16(file, 10), bytes == 2};
    const unsigned channels = picture.channels;
    if (bytes < 1 || bytes > 2 || dimension < 1 || dimension > 3 ||
        (channels != 1 && channels != 3 && channels != 4) || picture.pixels() * channels * bytes > mostBytes)
        return {};
    picture.samples.resize(picture.pixels() * channels);
    std::size_t at = 512;
    for (unsigned channel = 0; bytes == 2 && channel < channels; ++channel)
        for (unsigned row = picture.height; row-- > 0;)
            for (unsigned x = 0; x < picture.width && at + 2 <= file.size(); ++x, at += 2)
                picture.samples[(std::size_t{row} * picture.width + x) * channels + channel] =
                    big16(file, at);
    return picture;
}

Picture pngPicture(const Bytes& file, std::size_t mostBytes) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_memory(&image, file.data(), file.size()) == 0)
        return {};
    image.format &= ~png_uint_32{PNG_FORMAT_FLAG_COLORMAP};
    const std::size_t sampleBytes = PNG_IMAGE_PIXEL_COMPONENT_SIZE(image.format);
    Picture picture{image.width, image.height, PNG_IMAGE_PIXEL_CHANNELS(image.format), sampleBytes == 2};
    const std::size_t bytes = picture.pixels() * picture.channels * sampleBytes;
    const bool addsChannel = hasAlpha(picture) && isExpanded(file);
    if (addsChannel || bytes > mostBytes) {
        png_image_free(&image);
        return {};
    }
    Bytes pixels(bytes);
    if (png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr) == 0)
        return {};
    picture.samples.reserve(bytes / sampleBytes);
    for (std::size_t at = 0; at < bytes; at += sampleBytes) {
        std::uint16_t wide = 0;
        std::memcpy(&wide, pixels.data() + at, sampleBytes);
        picture.samples.push_back(wide);
    }
    return picture;
}

bool agree(const Picture& decoded, const Picture& simple) {
    if (decoded.width != simple.width || decoded.height != simple.height ||
        decoded.has16Bits != simple.has16Bits || coloursOf(decoded) != coloursOf(simple))
        return false;
    const unsigned opaque = simple.has16Bits ? 65535 : 255;
    for (std::size_t i = 0; i < simple.pixels(); ++i) {
        const unsigned* const ours = decoded.samples.data() + i * decoded.channels;
        const unsigned* const theirs = simple.samples.data() + i * simple.channels;
        const unsigned alpha = hasAlpha(simple) ? theirs[simple.channels - 1] : opaque;
        if (hasAlpha(decoded) && ours[decoded.channels - 1] != alpha)
            return false;
        const bool areTold = !simple.has16Bits || alpha == opaque;
        if (areTold && !std::equal(ours, ours + coloursOf(decoded), theirs))
            return false;
    }
    return true;
}

std::string flawOf(const Picture& picture, unsigned samplesPerPixel) {
    if (picture.pixels() == 0)
        return {};
    if (!picture.has16Bits || picture.channels < samplesPerPixel)
        return "Korva image does not hold the expected samples: got " + std::to_string(picture.channels) +
               " of " + (picture.has16Bits ? "16" : "8") + " bits, expected " +
               std::to_string(samplesPerPixel) + " of 16 bits per pixel";
    std::size_t black = 0;
    for (std::size_t i = 0; i < picture.pixels(); ++i) {
        const unsigned* const pixel = picture.samples.data() + i * samplesPerPixel;
        black += std::count(pixel, pixel + samplesPerPixel, 0U) == samplesPerPixel ? 1 : 0;
    }
    const bool isAllBlack = static_cast<double>(black) / static_cast<double>(picture.pixels()) > 0.99999;
    return isAllBlack ? "All black image from Korva detected" : "";
}

Bytes greyOf(const Picture& picture, unsigned samplesPerPixel) {
    Bytes grey;
    // Of a picture with more samples the first so many count, one after the other.
    for (std::size_t i = 0; i < picture.pixels(); ++i) {
        const unsigned* const pixel = picture.samples.data() + i * samplesPerPixel;
        const unsigned value =
            samplesPerPixel == 1
                ? reduced(pixel[0])
                : (299 * reduced(pixel[0]) + 587 * reduced(pixel[1]) + 114 * reduced(pixel[2]) + 500) / 1000;
        grey.push_back(static_cast<unsigned char>(value));
    }
    return grey;
}

} // namespace Faults
