#include "Support/ScriptedHost.h"

#include "ImagingLibrary/ImagingFactory.h"
#include "Support/OutsidePlugin.h"
#include "VantrelCommon/PlenarDiagnostics.h"

#include <stdexcept>
#include <utility>

namespace TestSupport {
namespace {

ScriptedHost* inForce = nullptr;

void tell(const std::string& call) {
    if (const auto& observer = onScriptedHostCall())
        observer(call);
}

/// Where it is the plug-in that asks, and not the scripted library itself.
void tellOfAPicture(const std::string& call) {
    if (OutsidePlugin::isOutside())
        return;
    const OutsidePlugin outside;
    tell(call);
}

} // namespace

ScriptedImage::ScriptedImage(unsigned int width, unsigned int height, unsigned int bitsPerSample,
                             unsigned int samplesPerPixel, std::vector<std::uint8_t> pixels)
    : width_(width), height_(height), bitsPerSample_(bitsPerSample), samplesPerPixel_(samplesPerPixel),
      pixels_(std::move(pixels)) {}

unsigned int ScriptedImage::getWidth() const {
    tellOfAPicture("width");
    return width_;
}

unsigned int ScriptedImage::getHeight() const {
    tellOfAPicture("height");
    return height_;
}

void* ScriptedImage::getRawImageData() {
    tellOfAPicture("pixels");
    return pixels_.data();
}

ScriptedImaging::~ScriptedImaging() {
    for (const Image* image : alive)
        delete image;
}

Image* ScriptedImaging::createImage(unsigned int width, unsigned int height, unsigned int bitsPerSample,
                                    unsigned int samplesPerPixel, const void* pixels, int flags) {
    const OutsidePlugin outside;
    calls.emplace_back("create");
    tell("create");
    if (createException)
        std::rethrow_exception(createException);
    const auto* const bytes = static_cast<const std::uint8_t*>(pixels);
    const std::size_t count = std::size_t{width} * height * samplesPerPixel;
    creations.push_back(
        {width, height, bitsPerSample, samplesPerPixel, flags,
         count == 0 ? std::vector<std::uint8_t>() : std::vector<std::uint8_t>(bytes, bytes + count)});
    Image* const image =
        new ScriptedImage(width, height, bitsPerSample, samplesPerPixel, creations.back().pixels);
    alive.insert(image);
    return image;
}

void ScriptedImaging::releaseImage(Image* image) {
    const OutsidePlugin outside;
    if (image != nullptr && alive.erase(image) == 0) {
        calls.emplace_back("release of a dead image");
        return;
    }
    // The image is gone, even where this call fails.
    delete image;
    calls.emplace_back("release");
    tell("release");
}

Image* ScriptedImaging::convertToGreyscale(Image* image) {
    const OutsidePlugin outside;
    calls.emplace_back("convert");
    tell("convert");
    if (convertException)
        std::rethrow_exception(convertException);
    if (onConvert)
        return onConvert(image);
    if (image->getSamplesPerPixel() == 1)
        return image;
    const auto& colours = static_cast<const ScriptedImage*>(image)->pixels();
    std::vector<std::uint8_t> grey;
    for (std::size_t at = 0; at < colours.size(); at += image->getSamplesPerPixel())
        grey.push_back(colours[at]);
    Image* const converted = new ScriptedImage(image->getWidth(), image->getHeight(), 8, 1, std::move(grey));
    alive.insert(converted);
    return converted;
}

std::function<void(const std::string&)>& onScriptedHostCall() {
    static std::function<void(const std::string&)> observer;
    return observer;
}

ScriptedHost::ScriptedHost() {
    inForce = this;
}

ScriptedHost::~ScriptedHost() {
    inForce = nullptr;
    onScriptedHostCall() = nullptr;
}

ScriptedHost& ScriptedHost::current() {
    if (inForce == nullptr)
        throw std::logic_error("no ScriptedHost is in force");
    return *inForce;
}

} // namespace TestSupport

ImagingLibrary* ImagingFactory::getInstance() {
    return &TestSupport::ScriptedHost::current().imaging;
}

std::wstring PlenarDiagnostics::getImagesSubDirectory() {
    const TestSupport::OutsidePlugin outside;
    const TestSupport::ScriptedHost& host = TestSupport::ScriptedHost::current();
    TestSupport::tell("images folder");
    if (host.imagesFolderException)
        std::rethrow_exception(host.imagesFolderException);
    return host.imagesFolder;
}
