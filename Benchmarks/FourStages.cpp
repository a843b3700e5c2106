// What a capture does with a picture once it is received: checksum, decoding, reduction, conversion. (The
// copy that the imaging library takes of the reduced picture is part of a whole capture only.)

#include "CameraFiles.h"
#include "Luma.h"
#include "NativeCameraKorva/KorvaBinaryCommunication.h"
#include "NativeCameraKorva/KorvaMemoryStream.h"
#include "NativeCameraKorva/KorvaPictureDecoding.h"
#include "NativeCameraKorva/KorvaSampleKernels.h"
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
    const image_t picture = Korva::decodeSgi(stream);
    benchmark::DoNotOptimize(Korva::reduceSamples(picture.pixels.get(), pixels, 3));
    const auto grey = std::make_unique_for_overwrite<unsigned char[]>(pixels);
    ReferenceHost::lumaFromRgb(picture.pixels.get(), pixels, grey.get());
    benchmark::DoNotOptimize(grey.get());
}

const Row row(
    "all four together, after reception", 3.3, "memcpy of the file", [] { return Work{process}; },
    [] { return Work{[] { copyToRoom(sgiFile().data(), sgiFile().size()); }}; });

} // namespace
