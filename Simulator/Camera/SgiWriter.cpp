#include "Camera/SgiWriter.h"

#include <algorithm>
#include <utility>

namespace Simulator {

namespace {

constexpr std::uint32_t magic = 474;
constexpr std::uint8_t verbatim = 0;
constexpr std::uint8_t bytesPerSample = 2;
constexpr std::size_t roomAtOnce = std::size_t{256} << 10;
constexpr std::size_t spareBytes = 16; // whoever adds to the file, a checksum say, moves no picture

class SgiFile : public PictureFile {
public:
    SgiFile(PictureSize size, unsigned channels, Bytes before)
        : size_(size), channels_(channels), begin_(before.size()), file_(std::move(before)) {
        const std::size_t planes = std::size_t{size.width} * size.height * channels * bytesPerSample;
        end_ = begin_ + sgiHeaderBytes + planes;
        file_.reserve(end_ + spareBytes);
        appendHeader();
    }

    bool makeRoom() override {
        file_.resize(std::min(end_, file_.size() + roomAtOnce));
        return file_.size() == end_;
    }

    void addRow(std::span<const std::uint16_t> samples) override {
        ++rows_;
        const std::size_t rowBytes = std::size_t{size_.width} * bytesPerSample;
        for (unsigned channel = 0; channel < channels_; ++channel) {
            const std::size_t row = std::size_t{channel} * size_.height + size_.height - rows_;
            std::uint8_t* to = file_.data() + begin_ + sgiHeaderBytes + row * rowBytes;
            for (std::size_t index = channel; index < samples.size(); index += channels_) {
                *to++ = static_cast<std::uint8_t>(samples[index] >> 8);
                *to++ = static_cast<std::uint8_t>(samples[index]);
            }
        }
    }

    Bytes finish() override { return std::move(file_); }

private:
    void appendHeader() {
        append16(file_, magic);
        file_.push_back(verbatim);
        file_.push_back(bytesPerSample);
        append16(file_, channels_ == 1 ? 2 : 3);
        append16(file_, size_.width);
        append16(file_, size_.height);
        append16(file_, channels_);
        append32(file_, 0);
        append32(file_, saturatedSample);
        file_.resize(begin_ + sgiHeaderBytes);
    }

    PictureSize size_;
    unsigned channels_;
    std::size_t begin_; ///< of the file within its bytes
    std::size_t end_ = 0;
    Bytes file_;
    std::size_t rows_ = 0;
};

} // namespace

std::unique_ptr<PictureFile> beginSgi(PictureSize size, unsigned channels, Bytes before) {
    return std::make_unique<SgiFile>(size, channels, std::move(before));
}

Bytes writeSgi(const Picture& picture) {
    SgiFile file(picture.size, picture.channels, {});
    addRows(file, picture);
    return file.finish();
}

} // namespace Simulator
