#include "NativeCameraKorva/KorvaPictureDecoding.h"
#include "NativeCameraKorva/KorvaReduction.h"
#include "NativeCameraKorva/KorvaSampleKernels.h"
#include "NativeCameraKorva/KorvaStreamReading.h"

#include <png.h>

#include <algorithm>
#include <array>
#include <csetjmp>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

namespace Korva {

namespace {

constexpr std::size_t signatureLength = 8;
constexpr std::size_t jumpBufferSize = 256;
// A few bytes of a file may announce a text of any length, or unpack to one, and libpng, which only warns of
// it, would keep 1000 of them. The longest row that it decodes takes half of the allocation allowed here.
constexpr png_alloc_size_t mostAllocatedBytes = png_alloc_size_t{16} << 20;
constexpr png_alloc_size_t mostUnpackedTextBytes = 1'000'000;
constexpr png_uint_32 mostKeptChunks = 32;
// A file may hold any number of chunks of no bytes, each of which takes libpng's time and may take a line of
// its own on standard error. A sound one has a few kilobytes before its pixels, the signature counted.
constexpr std::size_t mostBytesBeforePixels = std::size_t{1} << 20;
// Behind the last row libpng unpacks until the compressed data end, and a thousandfold. A sound file has a
// checksum there, and perhaps the frame of a chunk.
constexpr std::size_t mostBytesBehindRows = std::size_t{64} << 10;

/// Packed pixels are hardly longer than the pixels; the rest are the frames of chunks of any length, and the
/// filters of narrow rows.
std::size_t mostBytesOfPixels(std::size_t pictureBytes) {
    return 2 * pictureBytes + (std::size_t{1} << 20);
}

/// The file, and how much of it libpng may still read before it has come further.
struct Source {
    std::istream& file;
    std::size_t bytesLeft = mostBytesBeforePixels;
    png_uint_32 height = PNG_UINT_31_MAX; ///< of the picture, once that is known

    bool areRowsRead(png_structp png) const {
        constexpr int passesOfInterlacing = 7;
        return png_get_current_row_number(png) >= height ||
               png_get_current_pass_number(png) >= passesOfInterlacing;
    }
};

/// Fills the bytes, or tells why it fails. A file of more bytes than a picture needs fails here. What is
/// missing of the last bytes is zero, so that the end of a cut-off file does not decode from what memory
/// happens to hold; behind the end reading fails, lest libpng passes over the 2 GiB that a chunk of a few
/// bytes may announce.
const char* fill(png_structp png, png_bytep bytes, std::size_t count) noexcept {
    auto& source = *static_cast<Source*>(png_get_io_ptr(png));
    if (source.areRowsRead(png))
        source.bytesLeft = std::min(source.bytesLeft, mostBytesBehindRows);
    if (count > source.bytesLeft)
        return "the file has more bytes than its picture needs";
    source.bytesLeft -= count;
    const std::size_t came = readBytes(source.file, bytes, count);
    if (came == 0 && count != 0)
        return "the file has ended";
    std::memset(bytes + came, 0, count - came);
    return nullptr;
}

/// libpng's read callback. Failures jump, out of nothing that has anything to destroy or is noexcept: where a
/// long jump unwinds the stack, as on Windows, the latter would end the process.
void readForLibpng(png_structp png, png_bytep bytes, std::size_t count) {
    const char* const failure = fill(png, bytes, count);
    if (failure != nullptr)
        png_error(png, failure);
}

png_voidp allocateForLibpng(png_structp, png_alloc_size_t bytes) noexcept {
    return bytes > mostAllocatedBytes ? nullptr : std::malloc(bytes);
}

void freeForLibpng(png_structp, png_voidp memory) noexcept {
    std::free(memory); // libpng's own way too, as some of its memory was allocated before
}

/// libpng's two structures, and where its errors jump to.
class PngReader {
public:
    PngReader() {
        if (png_ == nullptr)
            return;
        png_set_mem_fn(png_, nullptr, allocateForLibpng, freeForLibpng);
        png_set_chunk_malloc_max(png_, mostUnpackedTextBytes);
        png_set_chunk_cache_max(png_, mostKeptChunks);
        info_ = png_create_info_struct(png_);
        errorReturn_ = png_set_longjmp_fn(png_, std::longjmp, jumpBufferSize);
    }
    PngReader(const PngReader&) = delete;
    PngReader& operator=(const PngReader&) = delete;
    ~PngReader() { png_destroy_read_struct(&png_, &info_, nullptr); }

    bool isReady() const { return info_ != nullptr && errorReturn_ != nullptr; }
    png_structp png() const { return png_; }
    png_infop info() const { return info_; }
    std::jmp_buf& errorReturn() const { return *errorReturn_; }

private:
    png_structp png_ = png_create_read_struct("1.6.6", nullptr, nullptr, nullptr);
    png_infop info_ = nullptr;
    std::jmp_buf* errorReturn_ = nullptr;
};

struct PictureForm {
    std::uint32_t format = 0;
    std::int32_t width = 0;
    std::uint32_t height = 0;
};

std::uint32_t layoutOf(int colourType) {
    switch (colourType) {
    case PNG_COLOR_TYPE_GRAY:
        return image_t::layoutGrey;
    case PNG_COLOR_TYPE_GRAY_ALPHA:
        return image_t::layoutGreyAlpha;
    case PNG_COLOR_TYPE_RGB_ALPHA:
        return image_t::layoutRgba;
    default:
        return image_t::layoutRgb;
    }
}

void requestTransformations(png_structp png, int colourType, int bitDepth) {
    if (colourType == PNG_COLOR_TYPE_PALETTE)
        png_set_palette_to_rgb(png);
    if (bitDepth < 8)
        png_set_expand(png);
    if (bitDepth == 16)
        png_set_swap(png);
    // Without it libpng turns the handling on by itself and complains on standard error.
    png_set_interlace_handling(png);
}

// libpng's errors jump into the next three functions, over whatever called it. So neither they nor the read
// callback have anything to destroy, and what must be freed belongs to their caller.

/// Reads all that stands before the pixels. False if the file is broken or its picture too large.
bool readForm(const PngReader& reader, Source& source, PictureForm& form) {
    if (setjmp(reader.errorReturn()) != 0)
        return false;
    const png_structp png = reader.png();
    png_set_read_fn(png, &source, readForLibpng);
    png_set_sig_bytes(png, signatureLength);
    png_read_info(png, reader.info());

    png_uint_32 width = 0;
    int bitDepth = 0;
    int colourType = 0;
    png_get_IHDR(png, reader.info(), &width, &form.height, &bitDepth, &colourType, nullptr, nullptr, nullptr);
    form.width = static_cast<std::int32_t>(width); // PNG's own limit is 2^31 - 1
    form.format = layoutOf(colourType) + (bitDepth == 16 ? image_t::depth16 : 0);
    if (!image_t::isAllocatable(form.format, form.width, form.height))
        return false;

    requestTransformations(png, colourType, bitDepth);
    png_read_update_info(png, reader.info());
    return true;
}

bool readRows(const PngReader& reader, png_bytepp rows) {
    if (setjmp(reader.errorReturn()) != 0)
        return false;
    png_read_image(reader.png(), rows);
    return true;
}

/// Reduces each row in `row`, which has room for one of the file's, on its way into the picture of 8 bits.
bool readReducedRows(const PngReader& reader, const image_t& picture, unsigned char* row,
                     std::size_t& blackPixels) {
    if (setjmp(reader.errorReturn()) != 0)
        return false;
    const std::size_t bytes = picture.bytesPerRow();
    unsigned char* const end = picture.pixels.get() + bytes * picture.height;
    for (unsigned char* place = picture.pixels.get(); place != end; place += bytes) {
        png_read_row(reader.png(), row, nullptr);
        blackPixels +=
            reduceSamples(row, static_cast<std::size_t>(picture.width), image_t::channels(picture.format));
        std::memcpy(place, row, bytes);
    }
    return true;
}

std::vector<png_bytep> rowsOf(const image_t& picture) {
    std::vector<png_bytep> rows(picture.height);
    for (std::size_t row = 0; row < rows.size(); ++row)
        rows[row] = picture.pixels.get() + row * picture.bytesPerRow();
    return rows;
}

void readFirstText(const PngReader& reader, std::string& text) {
    png_textp chunks = nullptr;
    if (png_get_text(reader.png(), reader.info(), &chunks, nullptr) <= 0)
        return;
    const png_text& first = chunks[0];
    const bool international = first.compression >= PNG_ITXT_COMPRESSION_NONE;
    text.assign(first.text, international ? first.itxt_length : first.text_length);
}

bool hasSignature(std::istream& file) {
    std::array<unsigned char, signatureLength> signature{};
    return readBytes(file, signature.data(), signature.size()) == signature.size() &&
           png_sig_cmp(signature.data(), 0, signature.size()) == 0;
}

/// A file, read as far as its pixels.
class PngFile {
public:
    /// `file` stands behind the signature.
    explicit PngFile(std::istream& file) : source_{file} {}

    /// False if there is no picture to be had of it.
    bool open() {
        // What the source counts ends with the 8 bytes that begin the pixels' chunk: as many as the
        // signature, read above.
        return reader_.isReady() && readForm(reader_, source_, form_);
    }

    /// An empty image if the pixels cannot be read.
    image_t read() {
        image_t picture = newPicture(form_.format);
        return begin(picture) && readRows(reader_, rowsOf(picture).data()) ? std::move(picture) : image_t();
    }

    bool isReducible(unsigned int samplesPerPixel) const {
        return png_get_interlace_type(reader_.png(), reader_.info()) == PNG_INTERLACE_NONE &&
               Korva::isReducible(form_.format, form_.width, form_.height, samplesPerPixel);
    }

    ReducedPicture readReduced() {
        image_t picture = newPicture(form_.format & ~image_t::depth16);
        std::vector<unsigned char> row(bytesPerRow());
        std::size_t black = 0;
        if (!begin(picture) || !readReducedRows(reader_, picture, row.data(), black))
            return {};
        return {std::move(picture), black};
    }

    void readText(std::string& text) const { readFirstText(reader_, text); }

private:
    image_t newPicture(std::uint32_t format) const {
        return image_t(format, form_.width, form_.height, nullptr, static_cast<int>(PixelBufferMode::copy));
    }

    /// Of the file's picture.
    std::size_t bytesPerRow() const {
        return image_t::bytesPerPixel(form_.format) * static_cast<std::size_t>(form_.width);
    }

    /// Lets the source read the pixels into that picture; false if they do not fit.
    bool begin(const image_t& picture) {
        // A transparency chunk adds a channel that the format does not have.
        if (picture.pixels == nullptr || png_get_rowbytes(reader_.png(), reader_.info()) != bytesPerRow())
            return false;
        source_.height = form_.height;
        source_.bytesLeft = mostBytesOfPixels(bytesPerRow() * form_.height);
        return true;
    }

    Source source_;
    PngReader reader_;
    PictureForm form_;
};

image_t decode(std::istream& file, std::string& text) {
    if (!hasSignature(file))
        return {};
    PngFile png(file);
    if (!png.open())
        return {};
    image_t picture = png.read();
    if (picture.pixels != nullptr)
        png.readText(text);
    return picture;
}

ReducedPicture reducedFromPng(std::istream& file, unsigned int samplesPerPixel) {
    if (!hasSignature(file))
        return {};
    PngFile png(file);
    if (!png.open())
        return {};
    if (!png.isReducible(samplesPerPixel))
        return {png.read(), std::nullopt};
    return png.readReduced();
}

} // namespace

image_t decodePng(std::istream& file, std::string& text) {
    try {
        return decode(file, text);
    } catch (const std::exception&) {
        return {}; // no memory for the row table or the text
    }
}

ReducedPicture decodeReducedPng(std::istream& file, unsigned int samplesPerPixel) {
    try {
        return reducedFromPng(file, samplesPerPixel);
    } catch (const std::exception&) {
        return {};
    }
}

} // namespace Korva
