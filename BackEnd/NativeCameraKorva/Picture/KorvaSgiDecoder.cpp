#include "NativeCameraKorva/KorvaMemoryStream.h"
#include "NativeCameraKorva/KorvaPictureDecoding.h"
#include "NativeCameraKorva/KorvaReduction.h"
#include "NativeCameraKorva/KorvaSampleKernels.h"
#include "NativeCameraKorva/KorvaStreamReading.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <exception>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace Korva {

namespace {

constexpr std::size_t headerLength = 512;
constexpr std::size_t mostChannels = 4;
constexpr std::size_t bytesPerSample = 2;

using Header = std::array<unsigned char, headerLength>;

std::uint16_t field16(const Header& header, std::size_t offset) {
    return static_cast<std::uint16_t>(header[offset] << 8 | header[offset + 1]);
}

/// The format code that a header stands for, 0 if it is not one that is accepted.
std::uint32_t formatOf(const Header& header) {
    const bool isSgi = field16(header, 0) == 474;
    const bool isVerbatim = header[2] == 0;
    const unsigned sampleBytes = header[3];
    const unsigned dimension = field16(header, 4);
    if (!isSgi || !isVerbatim || sampleBytes < 1 || sampleBytes > 2 || dimension < 1 || dimension > 3)
        return 0;
    const std::uint32_t depth = sampleBytes == 2 ? image_t::depth16 : 0;
    switch (field16(header, 10)) {
    case 1:
        return image_t::layoutGrey + depth;
    case 3:
        return image_t::layoutRgb + depth;
    case 4:
        return image_t::layoutRgba + depth;
    default:
        return 0;
    }
}

/// The picture that is being filled. File rows run from the bottom up.
struct Target {
    explicit Target(const image_t& picture)
        : pixels(picture.pixels.get()), bytesPerRow(picture.bytesPerRow()),
          width(static_cast<std::size_t>(picture.width)), height(picture.height),
          channels(image_t::channels(picture.format)) {}

    std::size_t bytesPerFileRow() const { return width * bytesPerSample; }
    unsigned char* rowAt(std::size_t fileRow) const { return pixels + (height - 1 - fileRow) * bytesPerRow; }

    unsigned char* pixels;
    std::size_t bytesPerRow;
    std::size_t width;
    std::size_t height;
    std::size_t channels;
};

/// The whole planes in memory, as much of them as there is.
class Planes {
public:
    Planes(std::span<const unsigned char> bytes, std::size_t bytesPerRow)
        : bytes_(bytes.first(bytes.size() - bytes.size() % bytesPerSample)), bytesPerRow_(bytesPerRow) {}

    /// The row with that number, counted through all planes. What the file does not hold of it is zero. Valid
    /// until the row that the file ends in is asked for again.
    const unsigned char* row(std::size_t number) {
        const std::size_t offset = number * bytesPerRow_;
        if (offset + bytesPerRow_ <= bytes_.size())
            return bytes_.data() + offset;
        if (offset >= bytes_.size()) {
            missingRow_.resize(bytesPerRow_);
            return missingRow_.data();
        }
        const auto part = bytes_.subspan(offset);
        cutRow_.assign(part.begin(), part.end());
        cutRow_.resize(bytesPerRow_);
        return cutRow_.data();
    }

private:
    std::span<const unsigned char> bytes_;
    std::size_t bytesPerRow_;
    std::vector<unsigned char> cutRow_;
    std::vector<unsigned char> missingRow_;
};

using PlaneRows = std::array<const unsigned char*, mostChannels>;

/// Calls `place(planes, row)` for each row of the picture, with the row of each channel.
template <class Place>
void forEachRow(mybuf& file, const Target& target, const Place& place) {
    const std::size_t wanted = target.channels * target.height * target.bytesPerFileRow();
    const auto bytes = file.unread().first(std::min(file.unread().size(), wanted));
    Planes planes(bytes, target.bytesPerFileRow());
    for (std::size_t fileRow = 0; fileRow < target.height; ++fileRow) {
        PlaneRows rows{};
        for (std::size_t channel = 0; channel < target.channels; ++channel)
            rows[channel] = planes.row(channel * target.height + fileRow);
        place(rows.data(), target.rowAt(fileRow));
    }
    file.skip(bytes.size());
}

void readPixels(mybuf& file, const Target& target) {
    forEachRow(file, target, [&target](const unsigned char* const* planes, unsigned char* row) {
        interleaveRow(planes, target.channels, target.width, row);
    });
}

/// Into a picture of 8 bits. Returns the number of black pixels.
std::size_t readReducedPixels(mybuf& file, const Target& target) {
    std::size_t black = 0;
    forEachRow(file, target, [&](const unsigned char* const* planes, unsigned char* row) {
        black += interleaveReducedRow(planes, target.channels, target.width, row);
    });
    return black;
}

/// One row of one channel into its places among the others.
void placeRow(const std::vector<unsigned char>& samples, std::size_t channels, unsigned char* place) {
    for (std::size_t i = 0; i < samples.size(); i += bytesPerSample) {
        place[0] = samples[i + 1];
        place[1] = samples[i];
        place += channels * bytesPerSample;
    }
}

void readPixels(std::istream& file, const Target& target) {
    std::vector<unsigned char> samples(target.bytesPerFileRow());
    for (std::size_t channel = 0; channel < target.channels; ++channel) {
        for (std::size_t fileRow = 0; fileRow < target.height; ++fileRow) {
            const std::size_t came = readBytes(file, samples.data(), samples.size());
            const std::size_t whole = came - came % bytesPerSample;
            std::memset(samples.data() + whole, 0, samples.size() - whole);
            placeRow(samples, target.channels, target.rowAt(fileRow) + channel * bytesPerSample);
        }
    }
}

image_t newPicture(std::uint32_t format, const Header& header) {
    return image_t(format, field16(header, 6), field16(header, 8), nullptr,
                   static_cast<int>(PixelBufferMode::copy));
}

/// The header's format, 0 where the file ends in it too.
std::uint32_t readHeader(std::istream& file, Header& header) {
    return readBytes(file, header.data(), header.size()) == header.size() ? formatOf(header) : 0;
}

/// The picture as it is in the file, which stands behind the header.
image_t decodePixels(std::istream& file, std::uint32_t format, const Header& header) {
    image_t picture = newPicture(format, header);
    if (picture.pixels == nullptr || picture.width == 0)
        return picture;
    if ((format & image_t::depth16) == 0)
        std::memset(picture.pixels.get(), 0, picture.bytesPerRow() * picture.height);
    else if (auto* const memory = dynamic_cast<mybuf*>(file.rdbuf()))
        readPixels(*memory, Target(picture));
    else
        readPixels(file, Target(picture));
    return picture;
}

image_t decode(std::istream& file) {
    Header header{};
    const std::uint32_t format = readHeader(file, header);
    return format == 0 ? image_t() : decodePixels(file, format, header);
}

ReducedPicture reducedFromSgi(std::istream& file, unsigned int samplesPerPixel) {
    Header header{};
    const std::uint32_t format = readHeader(file, header);
    if (format == 0)
        return {};
    auto* const memory = dynamic_cast<mybuf*>(file.rdbuf());
    if (memory == nullptr || !isReducible(format, field16(header, 6), field16(header, 8), samplesPerPixel))
        return {decodePixels(file, format, header), std::nullopt};
    image_t picture = newPicture(format & ~image_t::depth16, header);
    if (picture.pixels == nullptr)
        return {};
    const std::size_t black = readReducedPixels(*memory, Target(picture));
    return {std::move(picture), black};
}

} // namespace

image_t decodeSgi(std::istream& file) {
    try {
        return decode(file);
    } catch (const std::exception&) {
        return {}; // no memory for a row
    }
}

ReducedPicture decodeReducedSgi(std::istream& file, unsigned int samplesPerPixel) {
    try {
        return reducedFromSgi(file, samplesPerPixel);
    } catch (const std::exception&) {
        return {};
    }
}

} // namespace Korva
