#include "Support/SamplePictures.h"

namespace TestSupport {

using Support::Bytes;
using Support::PngColour;

Samples uniformSamples(std::uint16_t width, std::uint16_t height, std::uint16_t channels,
                       std::uint16_t value) {
    return {width, height, channels,
            std::vector<std::uint16_t>(std::size_t{width} * height * channels, value)};
}

Bytes sgiHeader(std::uint16_t width, std::uint16_t height, std::uint16_t channels,
                std::uint8_t bytesPerSample) {
    Support::SgiHeader header;
    header.bytesPerSample = bytesPerSample;
    header.width = width;
    header.height = height;
    header.channels = channels;
    return header.bytes();
}

Bytes sgiFile(const Samples& samples) {
    std::vector<std::uint16_t> planes; // one after the other, each from the bottom row up
    for (unsigned int channel = 0; channel < samples.channels; ++channel) {
        for (unsigned int row = samples.height; row-- > 0;) {
            for (unsigned int column = 0; column < samples.width; ++column) {
                const std::size_t pixel = std::size_t{row} * samples.width + column;
                planes.push_back(samples.values.at(pixel * samples.channels + channel));
            }
        }
    }
    using Support::operator+;
    return sgiHeader(samples.width, samples.height, samples.channels, 2) + Support::bigEndian(planes);
}

Bytes pngFile(const Samples& samples, std::uint8_t bitDepth) {
    constexpr PngColour colours[] = {PngColour::grey, PngColour::greyAlpha, PngColour::rgb, PngColour::rgba};
    Bytes rows;
    auto sample = samples.values.begin();
    for (unsigned int row = 0; row < samples.height; ++row) {
        rows.push_back(0); // no filter
        for (unsigned int i = 0; i < unsigned{samples.width} * samples.channels; ++i, ++sample) {
            if (bitDepth == 16)
                rows.push_back(static_cast<unsigned char>(*sample >> 8));
            rows.push_back(static_cast<unsigned char>(*sample));
        }
    }
    using Support::operator+;
    return Support::pngSignature() +
           Support::pngHeader(samples.width, samples.height, bitDepth, colours[samples.channels - 1]) +
           Support::pngPixels(rows) + Support::pngEnd();
}

} // namespace TestSupport
