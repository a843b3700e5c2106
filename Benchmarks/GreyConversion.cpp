#include "CameraFiles.h"
#include "ImagingLibrary/Image.h"
#include "ImagingLibrary/ImagingFactory.h"
#include "ImagingLibrary/ImagingLibrary.h"
#include "Rows.h"

#include <benchmark/benchmark.h>

namespace {

using namespace Benchmarks;

Image* colourImage() {
    static Image* const image =
        ImagingFactory::getInstance()->createImage(width, height, 8, 3, sgiFile().data(), 0);
    return image;
}

void convert() {
    ImagingLibrary& library = *ImagingFactory::getInstance();
    Image* const grey = library.convertToGreyscale(colourImage());
    benchmark::DoNotOptimize(grey->getRawImageData());
    library.releaseImage(grey);
}

void copy() {
    copyToRoom(static_cast<const unsigned char*>(colourImage()->getRawImageData()), samples);
}

const Row row(
    "grey conversion of the 8-bit picture", 1.38, "memcpy of that picture",
    [] {
        return Work{convert, colourImage};
    },
    [] {
        return Work{copy, colourImage};
    });

} // namespace
