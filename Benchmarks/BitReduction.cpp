#include "CameraFiles.h"
#include "NativeCameraKorva/KorvaSampleKernels.h"
#include "Rows.h"

#include <benchmark/benchmark.h>

#include <cstring>

namespace {

using namespace Benchmarks;

/// The samples before the reduction, which destroys them. Both sides of a row start from a fresh copy.
unsigned char* freshSamples(const Bytes& file) {
    static Bytes buffer(sampleBytes);
    std::memcpy(buffer.data(), file.data() + file.size() - sampleBytes, sampleBytes);
    return buffer.data();
}

MakeWork reductionOf(const Bytes& (*file)()) {
    return [file] {
        auto* const buffer = freshSamples(file());
        return Work{[buffer] { benchmark::DoNotOptimize(Korva::reduceSamples(buffer, pixels, 3)); },
                    [file] { freshSamples(file()); }};
    };
}

MakeWork copyOf(const Bytes& (*file)()) {
    return [file] {
        const auto* const buffer = freshSamples(file());
        return Work{[buffer] { copyToRoom(buffer, sampleBytes); }, [file] { freshSamples(file()); }};
    };
}

const Row row("bit reduction with black count, in place", 1.03, "memcpy of the samples", reductionOf(sgiFile),
              copyOf(sgiFile));
const Row blackRow("bit reduction of an all-black picture", 1.03, "memcpy of the samples",
                   reductionOf(blackSgiFile), copyOf(blackSgiFile));

} // namespace
