// Has the plug-in's library fetch a PNG picture from the camera at an address, by the function that it
// exports, and says what came: PngHost ADDRESS.

#include "Communicator/DeviceException.h"
#include "Communicator/PosixEthernetCommunicator.h"
#include "ImagingLibrary/Image.h"
#include "ImagingLibrary/ImagingFactory.h"
#include "ImagingLibrary/ImagingLibrary.h"
#include "NativeCameraKorva/KorvaHelper.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

namespace {

/// FNV-1a.
std::uint64_t sumOf(const unsigned char* bytes, std::size_t count) {
    std::uint64_t sum = 0xCBF2'9CE4'8422'2325;
    for (std::size_t at = 0; at < count; ++at)
        sum = (sum ^ bytes[at]) * 0x100'0000'01B3;
    return sum;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2)
        return 2;
    const std::string address = argv[1];
    PosixEthernetCommunicator camera(std::wstring(address.begin(), address.end()), 32769, 5000);
    try {
        constexpr bool png = true;
        Image* const image = Korva::capture(&camera, false, png, false, 5, false);
        if (image == nullptr) {
            std::puts("no picture");
            return 1;
        }
        const std::size_t bytes = std::size_t{image->getWidth()} * image->getHeight() *
                                  image->getSamplesPerPixel() * (image->getBitsPerSample() / 8);
        std::printf("%u x %u, %u bits, sum %llx\n", image->getWidth(), image->getHeight(),
                    image->getBitsPerSample(),
                    static_cast<unsigned long long>(
                        sumOf(static_cast<const unsigned char*>(image->getRawImageData()), bytes)));
        ImagingFactory::getInstance()->releaseImage(image);
        return 0;
    } catch (const DeviceException& error) {
        std::printf("no picture: %s\n", error.what());
        return 1;
    }
}
