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
        : m_size(size), m_channels(channels), m_begin(before.size()), m_file(std::move(before)) {
        const std::size_t planes = std::size_t{size.width} * size.height * channels * bytesPerSample;
        m_end = m_begin + sgiHeaderBytes + planes;
        m_file.reserve(m_end + spareBytes);
        appendHeader();
    }

    bool makeRoom() override {
        m_file.resize(std::min(m_end, m_file.size() + roomAtOnce));
        return m_file.size() == m_end;
    }

    void addRow(std::span<const std::uint16_t> samples) override {
        ++m_rows;
        const std::size_t rowBytes = std::size_t{m_size.width} * bytesPerSample;
        for (unsigned channel = 0; channel < m_channels; ++channel) {
            const std::size_t row = std::size_t{channel} * m_size.height + m_size.height - m_rows;
            std::uint8_t* to = m_file.data() + m_begin + sgiHeaderBytes + row * rowBytes;
            for (std::size_t index = channel; index < samples.size(); index += m_channels) {
                *to++ = static_cast<std::uint8_t>(samples[index] >> 8);
                *to++ = static_cast<std::uint8_t>(samples[index]);
            }
        }
    }

    Bytes finish() override { return std::move(m_file); }

private:
    void appendHeader() {
        append16(m_file, magic);
        m_file.push_back(verbatim);
        m_file.push_back(bytesPerSample);
        append16(m_file, m_channels == 1 ? 2 : 3);
        append16(m_file, m_size.width);
        append16(m_file, m_size.height);
        append16(m_file, m_channels);
        append32(m_file, 0);
        append32(m_file, saturatedSample);
        m_file.resize(m_begin + sgiHeaderBytes);
    }

    PictureSize m_size;
    unsigned m_channels;
    std::size_t m_begin; ///< of the file within its bytes
    std::size_t m_end = 0;
    Bytes m_file;
    std::size_t m_rows = 0;
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
