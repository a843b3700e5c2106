#include "CameraFiles.h"
#include "NativeCameraKorva/KorvaBinaryCommunication.h"
#include "Rows.h"

#include <benchmark/benchmark.h>

namespace {

using namespace Benchmarks;

// The message is the file and a few bytes around it.
const Row row(
    "checksum of the message", 0.8, "memcpy of as many bytes",
    [] {
        return Work{[] {
            benchmark::DoNotOptimize(Korva::Binary::calculateChkSum(sgiFile().data(), sgiFile().size()));
        }};
    },
    [] { return Work{[] { copyToRoom(sgiFile().data(), sgiFile().size()); }}; });

} // namespace
