// What a capture does with a picture once it is received: checksum, decoding, reduction, conversion. (The
// copy that the imaging library takes of the reduced picture is part of a whole capture only.)

#include "CameraFiles.h"
#include "Luma.h"
#include "NativeCameraKorva/KorvaBinaryCommunication.h"
#include "NativeCameraKorva/KorvaMemoryStream.h"
#include "NativeCameraKorva/KorvaPictureDecoding.h"
#include "Rows.h"

#include <benchmark/benchmark.h>

#include <istream>
#include <memory>

namespace {

using namespace Benchmarks;

void process() {
    benchmark::DoNotOptimize(Korva::Binary::calculateChkSum(sgiFile().data(), sgiFile().size()));
    Korva::mybuf memory(sgiFile().data(), sgiFile().size());
    std::istream stream(&memory);
    const Korva::ReducedPicture decoded = Korva::decodeReducedSgi(stream, 3);
    benchmark::DoNotOptimize(decoded.blackPixels);
    const auto grey = std::make_unique_for_overwrite<unsigned char[]>(pixels);
    ReferenceHost::lumaFromRgb(decoded.picture.pixels.get(), pixels, grey.get());
    benchmark::DoNotOptimize(grey.get());
}

const Row row(
    "all four together, after reception", 1.9, "memcpy of the file", [] { return Work{process}; },
    [] { return Work{[] { copyToRoom(sgiFile().data(), sgiFile().size()); }}; });

} // namespace
