#pragma once
// The host's imaging library and diagnostics folder as tests want them.
//
// The objects ScriptedHost define ImagingFactory::getInstance and PlenarDiagnostics::getImagesSubDirectory;
// in a test program that links them they stand in for the reference host's. One thread.

#include "ImagingLibrary/Image.h"
#include "ImagingLibrary/ImagingLibrary.h"

#include <cstdint>
#include <exception>
#include <functional>
#include <set>
#include <string>
#include <vector>

namespace TestSupport {

/// Pixels as they were given.
class ScriptedImage final : public Image {
public:
    ScriptedImage(unsigned int width, unsigned int height, unsigned int bitsPerSample,
                  unsigned int samplesPerPixel, std::vector<std::uint8_t> pixels);

    unsigned int getWidth() const override;
    unsigned int getHeight() const override;
    unsigned int getBitsPerSample() const override { return bitsPerSample_; }
    unsigned int getSamplesPerPixel() const override { return samplesPerPixel_; }
    void* getRawImageData() override;

    const std::vector<std::uint8_t>& pixels() const { return pixels_; }

private:
    unsigned int width_;
    unsigned int height_;
    unsigned int bitsPerSample_;
    unsigned int samplesPerPixel_;
    std::vector<std::uint8_t> pixels_;
};

/// Converts a one-sample image to itself and any other to a new one of its pixels' first samples. Records its
/// calls; releasing what is not alive is recorded as "release of a dead image".
class ScriptedImaging final : public ImagingLibrary {
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

    ~ScriptedImaging() override;

    /// "create", "convert", "release", in order.
    std::vector<std::string> calls;
    std::vector<Creation> creations;
    std::set<Image*> alive;
    std::exception_ptr createException;
    std::exception_ptr convertException;
    /// Where it is set, convertToGreyscale returns what this makes of the image; it keeps `alive` itself.
    std::function<Image*(Image*)> onConvert;

    Image* createImage(unsigned int width, unsigned int height, unsigned int bitsPerSample,
                       unsigned int samplesPerPixel, const void* pixels, int flags) override;
    void releaseImage(Image* image) override;
    Image* convertToGreyscale(Image* image) override;
};

/// Where it is set, called with "create", "convert" and "release" of the scripted imaging library, with
/// "width", "height" and "pixels" of its pictures and with "images folder"; may throw, as that call's
/// failure.
std::function<void(const std::string&)>& onScriptedHostCall();

/// What the host answers with. A test makes one, which is in force for its lifetime.
class ScriptedHost {
public:
    ScriptedHost();
    ScriptedHost(const ScriptedHost&) = delete;
    ScriptedHost& operator=(const ScriptedHost&) = delete;
    ~ScriptedHost();

    static ScriptedHost& current();

    ScriptedImaging imaging;
    std::wstring imagesFolder;
    std::exception_ptr imagesFolderException;
};

} // namespace TestSupport
