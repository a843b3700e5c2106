#include "Camera/SgiWriter.h"

namespace Simulator {

namespace {

constexpr std::uint32_t magic = 474;
constexpr std::uint8_t verbatim = 0;
constexpr std::uint8_t bytesPerSample = 2;

void appendHeader(Bytes& file, const Picture& picture) {
    append16(file, magic);
    file.push_back(verbatim);
    file.push_back(bytesPerSample);
    append16(file, picture.channels == 1 ? 2 : 3);
    append16(file, picture.size.width);
    append16(file, picture.size.height);
    append16(file, picture.channels);
    append32(file, 0);
    append32(file, saturatedSample);
    file.resize(sgiHeaderBytes);
}

} // namespace

Bytes writeSgi(const Picture& picture) {
    Bytes file;
    file.reserve(sgiHeaderBytes + picture.samples.size() * bytesPerSample);
    appendHeader(file, picture);
    file.resize(sgiHeaderBytes + picture.samples.size() * bytesPerSample);

    const std::size_t samplesPerRow = std::size_t{picture.size.width} * picture.channels;
    std::uint8_t* to = file.data() + sgiHeaderBytes;
    for (unsigned channel = 0; channel < picture.channels; ++channel)
        for (std::size_t row = picture.size.height; row-- > 0;) {
            const std::uint16_t* from = picture.samples.data() + row * samplesPerRow + channel;
            for (std::uint32_t column = 0; column < picture.size.width; ++column, from += picture.channels) {
                *to++ = static_cast<std::uint8_t>(*from >> 8);
                *to++ = static_cast<std::uint8_t>(*from);
            }
        }
    return file;
}

} // namespace Simulator
