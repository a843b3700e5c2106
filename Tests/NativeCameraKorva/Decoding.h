#pragma once
// The two decoders behind one signature, and what they give.

#include "NativeCameraKorva/KorvaMemoryStream.h"
#include "NativeCameraKorva/KorvaPictureDecoding.h"

#include "Support/DecodedPicture.h"
#include "Support/PictureFiles.h"

#include <gtest/gtest.h>

#include <istream>
#include <string>

namespace DecodingTests {

using Support::Bytes;
using Support::noPicture;
using Support::PiecewiseBuffer;
using Support::operator+;
using Picture = Support::DecodedPicture;

inline const std::string untouchedText = "left alone";

struct Decoded {
    Picture picture;
    std::string text = untouchedText;
    std::string complaint = {}; ///< what libpng wrote
};

using Decoder = Decoded (*)(std::istream& file);

inline Decoded decodePng(std::istream& file) {
    Decoded decoded;
    decoded.picture = Support::pictureOf(Korva::decodePng(file, decoded.text));
    return decoded;
}

inline Decoded decodeSgi(std::istream& file) {
    return {Support::pictureOf(Korva::decodeSgi(file))};
}

inline Decoded decodedFrom(Decoder decoder, std::streambuf& buffer) {
    std::istream stream(&buffer);
    testing::internal::CaptureStderr();
    Decoded decoded = decoder(stream);
    decoded.complaint = testing::internal::GetCapturedStderr();
    return decoded;
}

/// What every kind of stream over these bytes gives.
inline Decoded decoded(Decoder decoder, const Bytes& file) {
    Korva::mybuf memory(file.data(), file.size());
    const Decoded result = decodedFrom(decoder, memory);
    PiecewiseBuffer pieces(file, 7);
    const Decoded fromPieces = decodedFrom(decoder, pieces);
    EXPECT_EQ(fromPieces.picture, result.picture);
    EXPECT_EQ(fromPieces.text, result.text);
    EXPECT_FALSE(pieces.wasSought());
    return result;
}

} // namespace DecodingTests
