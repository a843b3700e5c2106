#pragma once
// The reference host's side of the world: what the plug-in calls of it by name is noted, and fails as
// planned.
//
// The linker's --wrap leads these calls here (see CMakeLists.txt), and from here on to the host.

#include "ImagingLibrary/Image.h"
#include "ImagingLibrary/ImagingLibrary.h"

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace World {

/// The host's imaging library, whose calls are noted: "createImage", "convertToGreyscale", "releaseImage",
/// and "release of a dead image" for one that is not alive; of its images, those that
/// TestSupport::PluginAtWork makes, as "getWidth". An image that could not be released is gone all the same.
class Imaging final : public ImagingLibrary {
public:
    struct Creation {
        unsigned int width = 0;
        unsigned int height = 0;
        unsigned int bitsPerSample = 0;
        unsigned int samplesPerPixel = 0;
        int flags = 0;
        std::vector<std::uint8_t> pixels;

        bool operator==(const Creation&) const = default;
    };

    std::vector<Creation> creations;
    std::set<Image*> alive;
    /// Where it is set, convertToGreyscale gives back what this makes of the image.
    std::function<Image*(Image*)> onConvert;

    /// As no call had been made.
    void forget() {
        creations.clear();
        alive.clear();
        onConvert = nullptr;
    }

    Image* createImage(unsigned int width, unsigned int height, unsigned int bitsPerSample,
                       unsigned int samplesPerPixel, const void* pixels, int flags) override;
    void releaseImage(Image* image) override;
    Image* convertToGreyscale(Image* image) override;
};

/// What the host was asked for. Noted in Calls are
///   "createEthernetCommunicator ADDRESS:PORT TIMEOUT" and "buildCommunicator" (with a code: null) of the
///   client factory,
///   "new ADDRESS:PORT TIMEOUT" and "delete ADDRESS:PORT" of each TCP client, whoever makes it,
///   "images folder" of the diagnostics, and those of Imaging;
///   of the device model and the settings, where it is TestSupport::PluginAtWork that calls and not the model
///   itself: "emptyDescription", "copiedDescription", "storedDescription", "CommunicatorTemplate",
///   "NativeCameraTemplate", "ImagingInterface", "Imaging2Interface", "initialize",
///   "installCommonCmdHandlers", "addInterface", "getCommunicator", "setting".
struct Host {
    static Host& current();

    Imaging imaging;
    std::map<const void*, std::string> communicators; ///< "ADDRESS:PORT" of those that are alive
};

} // namespace World
