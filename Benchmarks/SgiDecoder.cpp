#include "CameraFiles.h"
#include "NativeCameraKorva/KorvaMemoryStream.h"
#include "NativeCameraKorva/KorvaPictureDecoding.h"
#include "Rows.h"

#include <benchmark/benchmark.h>

#include <istream>

namespace {

using namespace Benchmarks;

void decode() {
    Korva::mybuf memory(sgiFile().data(), sgiFile().size());
    std::istream stream(&memory);
    const image_t picture = Korva::decodeSgi(stream);
    benchmark::DoNotOptimize(picture.pixels.get());
}

void decodeReduced() {
    Korva::mybuf memory(sgiFile().data(), sgiFile().size());
    std::istream stream(&memory);
    benchmark::DoNotOptimize(Korva::decodeReducedSgi(stream, 3).blackPixels);
}

const Row reducedRow(
    "SGI decode and reduction in one go", 1.2, "memcpy of the file", [] { return Work{decodeReduced}; },
    [] { return Work{[] { copyToRoom(sgiFile().data(), sgiFile().size()); }}; });

const Row row(
    "SGI decode, through the stream", 1.6, "memcpy of the file", [] { return Work{decode}; },
    [] { return Work{[] { copyToRoom(sgiFile().data(), sgiFile().size()); }}; });

} // namespace
