#include "World/HostCalls.h"

#include "Communicator/ClientFactory.h"
#include "Communicator/PosixEthernetCommunicator.h"
#include "Platform/Text.h"
#include "Support/OutsidePlugin.h"
#include "World/Calls.h"

using TestSupport::OutsidePlugin;

// The linker's names of what is led here.
#define KORVA_WIDE_TEXT "NSt7__cxx1112basic_stringIwSt11char_traitsIwESaIwEEE"
#define KORVA_INSTANCE "_ZN14ImagingFactory11getInstanceEv"
#define KORVA_FOLDER "_ZN17PlenarDiagnostics21getImagesSubDirectoryB5cxx11Ev"
#define KORVA_BUILD "_ZN13ClientFactory17buildCommunicatorEPN11xercesc_3_27DOMNodeE"
#define KORVA_CREATE "_ZN13ClientFactory26createEthernetCommunicatorERK" KORVA_WIDE_TEXT "ii"
#define KORVA_MAKE "_ZN25PosixEthernetCommunicatorC1ERK" KORVA_WIDE_TEXT "ii"
#define KORVA_DESTROY "_ZN20EthernetCommunicatorD2Ev"

namespace World {

// The host's own; a constructor and a destructor have the object for their first parameter.
ImagingLibrary* hostsInstance() asm("__real_" KORVA_INSTANCE);
std::wstring hostsFolder() asm("__real_" KORVA_FOLDER);
Communicator* hostsBuild(xercesc::DOMNode*) asm("__real_" KORVA_BUILD);
EthernetCommunicator* hostsCreate(const std::wstring&, int, int) asm("__real_" KORVA_CREATE);
void hostsMake(PosixEthernetCommunicator*, const std::wstring&, int, int) asm("__real_" KORVA_MAKE);
void hostsDestroy(EthernetCommunicator*) asm("__real_" KORVA_DESTROY);

// What stands before them.
ImagingLibrary* notedInstance() asm("__wrap_" KORVA_INSTANCE);
std::wstring notedFolder() asm("__wrap_" KORVA_FOLDER);
Communicator* notedBuild(xercesc::DOMNode*) asm("__wrap_" KORVA_BUILD);
EthernetCommunicator* notedCreate(const std::wstring&, int, int) asm("__wrap_" KORVA_CREATE);
void notedMake(PosixEthernetCommunicator*, const std::wstring&, int, int) asm("__wrap_" KORVA_MAKE);
void notedDestroy(EthernetCommunicator*) asm("__wrap_" KORVA_DESTROY);

namespace {

std::string placeOf(const std::wstring& address, int port) {
    return Platform::utf8FromWide(address) + ":" + std::to_string(port);
}

int modelCalls = 0;

void enterFromPlugin(const char* line) {
    if (TestSupport::PluginAtWork::isNow())
        Calls::current().enter(line);
}

/// One of the host's, whose calls are noted too.
class NotedImage final : public Image {
public:
    explicit NotedImage(Image* hosts) : hosts_(hosts) {}
    NotedImage(const NotedImage&) = delete;
    NotedImage& operator=(const NotedImage&) = delete;
    ~NotedImage() override { hostsInstance()->releaseImage(hosts_); }

    unsigned int getWidth() const override { return noted("getWidth")->getWidth(); }
    unsigned int getHeight() const override { return noted("getHeight")->getHeight(); }
    unsigned int getBitsPerSample() const override { return noted("getBitsPerSample")->getBitsPerSample(); }
    unsigned int getSamplesPerPixel() const override {
        return noted("getSamplesPerPixel")->getSamplesPerPixel();
    }
    void* getRawImageData() override { return noted("getRawImageData")->getRawImageData(); }

    Image* convertToGreyscale() {
        Image* const converted = hostsInstance()->convertToGreyscale(hosts_);
        return converted == hosts_ ? this : new NotedImage(converted);
    }

private:
    Image* noted(const char* call) const {
        enterFromPlugin(call);
        return hosts_;
    }

    Image* hosts_;
};

} // namespace

ModelCall::ModelCall(const char* name) {
    if (modelCalls == 0)
        enterFromPlugin(name);
    ++modelCalls;
}

ModelCall::~ModelCall() {
    --modelCalls;
}

Host& Host::current() {
    static Host host;
    return host;
}

void Imaging::forget() {
    creations.clear();
    alive.clear();
    onConvert = nullptr;
}

Image* Imaging::createImage(unsigned int width, unsigned int height, unsigned int bitsPerSample,
                            unsigned int samplesPerPixel, const void* pixels, int flags) {
    const OutsidePlugin outside;
    Calls::current().enter("createImage");
    Image* const image = new NotedImage(
        hostsInstance()->createImage(width, height, bitsPerSample, samplesPerPixel, pixels, flags));
    const auto* const bytes = static_cast<const std::uint8_t*>(pixels);
    const std::size_t count = std::size_t{width} * height * samplesPerPixel;
    creations.push_back({width, height, bitsPerSample, samplesPerPixel, flags, {}});
    creations.back().pixels.assign(bytes, bytes + count);
    alive.insert(image);
    return image;
}

void Imaging::releaseImage(Image* image) {
    const OutsidePlugin outside;
    if (image != nullptr && alive.erase(image) == 0)
        return Calls::current().note("release of a dead image");
    delete image;
    Calls::current().enter("releaseImage");
}

Image* Imaging::convertToGreyscale(Image* image) {
    const OutsidePlugin outside;
    Calls::current().enter("convertToGreyscale");
    Image* const converted =
        onConvert ? onConvert(image) : dynamic_cast<NotedImage&>(*image).convertToGreyscale();
    alive.insert(converted);
    return converted;
}

ImagingLibrary* notedInstance() {
    return &Host::current().imaging;
}

std::wstring notedFolder() {
    const OutsidePlugin outside;
    Calls::current().enter("images folder");
    return hostsFolder();
}

Communicator* notedBuild(xercesc::DOMNode* element) {
    const OutsidePlugin outside;
    return Calls::current().enter("buildCommunicator") ? nullptr : hostsBuild(element);
}

EthernetCommunicator* notedCreate(const std::wstring& address, int port, int timeoutMs) {
    const OutsidePlugin outside;
    Calls::current().enter("createEthernetCommunicator " + placeOf(address, port) + " " +
                           std::to_string(timeoutMs));
    return hostsCreate(address, port, timeoutMs);
}

void notedMake(PosixEthernetCommunicator* made, const std::wstring& address, int port, int timeoutMs) {
    const OutsidePlugin outside;
    const std::string place = placeOf(address, port);
    Calls::current().enter("new " + place + " " + std::to_string(timeoutMs));
    hostsMake(made, address, port, timeoutMs);
    Host::current().communicators[static_cast<EthernetCommunicator*>(made)] = place;
}

void notedDestroy(EthernetCommunicator* gone) {
    const OutsidePlugin outside;
    auto& alive = Host::current().communicators;
    if (const auto found = alive.find(gone); found != alive.end()) {
        Calls::current().note("delete " + found->second);
        alive.erase(found);
    }
    hostsDestroy(gone);
}

} // namespace World
