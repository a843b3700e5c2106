#include "FaultMatrixReader.h"

#include <algorithm>
#include <iterator>
#include <span>
#include <string_view>

using namespace std::chrono_literals;

namespace FaultMatrix {
namespace {

constexpr std::uint64_t largestImage = std::uint64_t{1} << 30;
constexpr std::uint8_t codeImage = 6;

struct Arg {
    std::uint8_t code = 0;
    Bytes value;
};

std::uint32_t big32(std::span<const std::uint8_t> bytes) {
    std::uint32_t number = 0;
    for (const std::uint8_t byte : bytes.first(4))
        number = number << 8 | byte;
    return number;
}

std::string text(std::uint64_t number) {
    return std::to_string(number);
}

std::string character(std::uint8_t byte) {
    return {static_cast<char>(byte)};
}

/// Reads one message from the front of the bytes.
class Reader {
public:
    Reader(const Bytes& bytes, Ending ending) : left_(bytes), ending_(ending) {}

    Received read(bool wantsPicture) {
        if (isRead())
            judge(wantsPicture);
        received_.unread = left_.size();
        // Whatever was read of it: the next request finds the end.
        if (ending_ == Ending::closed) {
            received_.reading.afterwards = Afterwards::broken;
            received_.reading.reason = closedByPeer;
        }
        return std::move(received_);
    }

private:
    bool isRead() {
        const auto header = take(6, 10000ms);
        if (header.size() != 6)
            return short_("Failed to read Header: bytesRead = ", header.size());
        command_ = header[0];
        length_ = big32(header.subspan(1));
        announced_ = header[5];
        for (unsigned int i = 0; i < announced_; ++i)
            if (!isArgRead())
                return false;
        return isChecksumRight();
    }

    bool isArgRead() {
        const auto header = take(5, 10000ms);
        if (header.size() != 5)
            return short_("Failed to read ArgHeader: bytesRead = ", header.size());
        const std::uint64_t count = big32(header.subspan(1));
        if (count + taken_ > length_)
            return unread("Korva has formulated an inconsistent message: args will exceed expected message "
                          "length: argSize " +
                          text(count) + " totalBytesRead " + text(taken_) + "expected message size " +
                          text(length_));
        const bool isImage = header[0] == codeImage;
        if (!isImage && count > 4)
            return unread("Korva has sent an argument that is too large: code " + text(header[0]) +
                          " argSize " + text(count) + " limit 4");
        if (isImage && count > largestImage)
            return unread("Korva has sent an image that is too large: argSize " + text(count) + " limit " +
                          text(largestImage));
        const auto value = take(count, 10000ms);
        if (value.size() != count)
            return ending_ == Ending::closed ? thrown()
                                             : unread("Error reading ARG value: bytesRead = 0, expected " +
                                                      text(count - value.size()));
        args_.push_back({header[0], Bytes(value.begin(), value.end())});
        return true;
    }

    bool isChecksumRight() {
        const std::uint16_t sum = sum_;
        const auto field = take(2, 4000ms);
        if (field.empty() && ending_ == Ending::closed)
            return thrown();
        const unsigned int high = field.empty() ? 0 : field[0];
        const unsigned int low = field.size() < 2 ? 0 : field[1];
        if ((high << 8 | low) == sum)
            return true;
        received_.reading.read.push_back(protocolWarning(
            "Korva Response failed chksum: sent " + text(low << 8 | high) + " : calculated " + text(sum)));
        if (!args_.empty() && args_.front().code == codeImage)
            return true;
        received_.reading.verdict = Verdict::unread;
        return false;
    }

    void judge(bool wantsPicture) {
        if (command_ != 1)
            return refuse(
                protocolError("Korva didn't receive our Camera command: returned " + character(command_)));
        if (announced_ > 1)
            received_.reading.judged.push_back(
                protocolWarning("Korva returned more arguments than expected: " + character(announced_)));
        if (args_.empty())
            return refuse(protocolError("Korva returned no argument"));
        Arg& first = args_.front();
        first.value.resize(std::max<std::size_t>(first.value.size(), 4));
        if (first.code == 1)
            return refuse(protocolWarning("Korva returned an error code: " + text(big32(first.value))));
        if (first.code != 0 && first.code != codeImage)
            return refuse(
                protocolWarning("Korva returned an unexpected response code code: " + character(first.code)));
        if (first.code == 0 && wantsPicture)
            return refuse(protocolError("Expected GetImage response, got Done"));
        if (first.code == codeImage && !wantsPicture)
            return refuse(protocolWarning("Korva returned an unexpected GetImage code: \x06"));
        received_.file = std::move(first.value);
    }

    /// At most so many bytes off the front; where they are fewer, silence is waited for.
    std::span<const std::uint8_t> take(std::uint64_t count, std::chrono::milliseconds patience) {
        const auto here = left_.first(static_cast<std::size_t>(std::min<std::uint64_t>(count, left_.size())));
        left_ = left_.subspan(here.size());
        taken_ += here.size();
        for (const std::uint8_t byte : here)
            sum_ = static_cast<std::uint16_t>(sum_ + byte);
        if (here.size() < count && ending_ == Ending::silence)
            received_.reading.waited += patience;
        return here;
    }

    bool short_(const std::string& message, std::size_t count) {
        return count == 0 && ending_ == Ending::closed ? thrown() : unread(message + text(count));
    }

    bool unread(const std::string& message) {
        received_.reading.verdict = Verdict::unread;
        received_.reading.read.push_back(protocolError(message));
        return false;
    }

    bool thrown() {
        received_.reading.verdict = Verdict::thrown;
        return false;
    }

    void refuse(Line line) {
        received_.reading.verdict = Verdict::refused;
        received_.reading.judged.push_back(std::move(line));
    }

    std::span<const std::uint8_t> left_;
    Ending ending_;
    Received received_;
    std::vector<Arg> args_;
    std::uint64_t taken_ = 0;
    std::uint16_t sum_ = 0;
    std::uint32_t length_ = 0;
    std::uint8_t command_ = 0;
    std::uint8_t announced_ = 0;
};

/// A PNG file's checksum, bit by bit.
std::uint32_t crcOf(std::span<const std::uint8_t> bytes) {
    std::uint32_t crc = 0xFFFFFFFF;
    for (const std::uint8_t byte : bytes) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit)
            crc = crc >> 1 ^ (crc % 2 == 0 ? 0 : 0xEDB88320);
    }
    return ~crc;
}

/// The data of the chunk that the bytes begin with, and the bytes behind the chunk.
struct Chunk {
    std::span<const std::uint8_t> data;
    std::span<const std::uint8_t> behind;
};

/// None where it is of another type, cut off, or has a wrong checksum.
std::optional<Chunk> chunkOf(std::span<const std::uint8_t> bytes, std::string_view type) {
    constexpr std::size_t besideTheData = 12;
    if (bytes.size() < besideTheData || bytes.size() - besideTheData < big32(bytes))
        return std::nullopt;
    const std::size_t length = big32(bytes);
    const auto summed = bytes.subspan(4, 4 + length);
    const bool isOfTheType = std::equal(type.begin(), type.end(), summed.begin());
    if (!isOfTheType || crcOf(summed) != big32(bytes.subspan(8 + length)))
        return std::nullopt;
    return Chunk{summed.subspan(4), bytes.subspan(besideTheData + length)};
}

unsigned int big16(const Bytes& file, std::size_t offset) {
    return static_cast<unsigned int>(file.at(offset)) << 8 | file.at(offset + 1);
}

/// What the host makes of a sample: 8 bits.
unsigned int reduced(unsigned int sample) {
    return std::min(sample / 64, 255U);
}

} // namespace

Received received(const Bytes& bytes, Ending ending, bool wantsPicture) {
    return Reader(bytes, ending).read(wantsPicture);
}

ReplyReading receivedReply(const std::string& text, Ending ending) {
    ReplyReading reading{ReplyReading::What::replied, text};
    if (ending == Ending::closed) {
        reading.afterwards = Afterwards::broken;
        reading.reason = closedByPeer;
    }
    if (!text.empty())
        return reading;
    reading.what = ending == Ending::closed ? ReplyReading::What::thrown : ReplyReading::What::nothing;
    reading.waited = ending == Ending::closed ? 0ms : 4000ms;
    return reading;
}

SgiPicture decodedSgi(const Bytes& file) {
    constexpr std::size_t headerBytes = 512;
    if (file.size() < headerBytes || big16(file, 0) != 474 || file[2] != 0 || file[3] != 2)
        return {};
    const unsigned int dimension = big16(file, 4);
    SgiPicture picture{big16(file, 6), big16(file, 8), big16(file, 10), {}};
    const bool hasChannels = picture.channels == 1 || picture.channels == 3 || picture.channels == 4;
    if (dimension < 1 || dimension > 3 || !hasChannels)
        return {};
    picture.samples.resize(picture.pixels() * picture.channels);
    std::size_t at = headerBytes;
    for (unsigned int channel = 0; channel < picture.channels; ++channel)
        for (unsigned int fromBottom = 0; fromBottom < picture.height; ++fromBottom)
            for (unsigned int x = 0; x < picture.width && at + 2 <= file.size(); ++x, at += 2) {
                const std::size_t row = picture.height - 1 - fromBottom;
                picture.samples.at((row * picture.width + x) * picture.channels + channel) = big16(file, at);
            }
    return picture;
}

Size sizeOfPng(const Bytes& file) {
    constexpr std::uint8_t signature[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    constexpr std::size_t headerBytes = 13;
    if (file.size() < sizeof signature ||
        !std::equal(std::begin(signature), std::end(signature), file.begin()))
        return {0, 0};
    const auto header = chunkOf(std::span(file).subspan(sizeof signature), "IHDR");
    if (!header || header->data.size() != headerBytes || !chunkOf(header->behind, "IDAT"))
        return {0, 0};
    return {static_cast<int>(big32(header->data)), static_cast<int>(big32(header->data.subspan(4)))};
}

/// Three samples make a pixel, also where the file has a fourth, whose samples then shift the rest.
Bytes greyOf(const SgiPicture& picture, std::size_t count) {
    Bytes grey;
    for (std::size_t i = 0; i < std::min(count, picture.pixels()); ++i) {
        const auto* const rgb = picture.samples.data() + i * 3;
        grey.push_back(static_cast<std::uint8_t>(
            (299 * reduced(rgb[0]) + 587 * reduced(rgb[1]) + 114 * reduced(rgb[2]) + 500) / 1000));
    }
    return grey;
}

Lines linesAgainst(const SgiPicture& picture) {
    if (picture.pixels() == 0)
        return {};
    if (picture.channels < 3)
        return {captureError("Korva image does not hold the expected samples: got " + text(picture.channels) +
                             " of 16 bits, expected 3 of 16 bits per pixel")};
    std::size_t black = 0;
    for (std::size_t i = 0; i < picture.pixels(); ++i) {
        const auto* const rgb = picture.samples.data() + i * 3;
        black += rgb[0] == 0 && rgb[1] == 0 && rgb[2] == 0 ? 1 : 0;
    }
    if (static_cast<double>(black) / static_cast<double>(picture.pixels()) > 0.99999)
        return {captureError("All black image from Korva detected")};
    return {};
}

} // namespace FaultMatrix
