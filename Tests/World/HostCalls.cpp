#include "World/HostCalls.h"

#include "Communicator/ClientFactory.h"
#include "Communicator/PosixEthernetCommunicator.h"
#include "DeveloperDLL/DeveloperSettings.h"
#include "DeviceControl/Device.h"
#include "NativeCameraControl/Imaging2Interface.h"
#include "NativeCameraControl/ImagingInterface.h"
#include "NativeCameraControl/NativeCameraTemplate.h"
#include "Platform/Text.h"
#include "Support/OutsidePlugin.h"
#include "World/Calls.h"

#include <memory>

using TestSupport::OutsidePlugin;

// Begins notedNAME, which stands before the host's function of that symbol; hostsNAME goes on to it. A
// constructor and a destructor have the object for their first parameter.
#define KORVA_WRAP(result, name, symbol, parameters)                                                         \
    result hosts##name parameters asm("__real_" symbol);                                                     \
    result noted##name parameters asm("__wrap_" symbol);                                                     \
    result noted##name parameters

// The same of the device model, where it has no result or is a constructor; noted as NAME.
#define KORVA_NOTE(name, symbol, parameters, arguments)                                                      \
    KORVA_WRAP(void, name, symbol, parameters) {                                                             \
        const ModelCall call(#name);                                                                         \
        hosts##name arguments;                                                                               \
    }

#define KORVA_WIDE_TEXT "NSt7__cxx1112basic_stringIwSt11char_traitsIwESaIwEEE"

namespace World {

KORVA_WRAP(ImagingLibrary*, Instance, "_ZN14ImagingFactory11getInstanceEv", ()) {
    return &Host::current().imaging;
}

namespace {

std::string placeOf(const std::wstring& address, int port) {
    return Platform::utf8FromWide(address) + ":" + std::to_string(port);
}

void enterFromPlugin(const char* line) {
    if (TestSupport::PluginAtWork::isNow())
        Calls::current().enter(line);
}

/// One call of the host's device model or settings, from construction to destruction.
class ModelCall {
public:
    explicit ModelCall(const char* name) {
        if (depth_ == 0)
            enterFromPlugin(name);
        ++depth_;
    }
    ModelCall(const ModelCall&) = delete;
    ModelCall& operator=(const ModelCall&) = delete;
    ~ModelCall() { --depth_; }

private:
    static inline int depth_ = 0;
};

/// One of the host's, whose calls are noted too.
class NotedImage final : public Image {
public:
    explicit NotedImage(Image* hosts) : hosts_(hosts) {}
    NotedImage(const NotedImage&) = delete;
    NotedImage& operator=(const NotedImage&) = delete;
    ~NotedImage() override { hostsInstance()->releaseImage(hosts_); }

    unsigned int getWidth() const override { return noted("getWidth").getWidth(); }
    unsigned int getHeight() const override { return noted("getHeight").getHeight(); }
    unsigned int getBitsPerSample() const override { return noted("getBitsPerSample").getBitsPerSample(); }
    unsigned int getSamplesPerPixel() const override {
        return noted("getSamplesPerPixel").getSamplesPerPixel();
    }
    void* getRawImageData() override { return noted("getRawImageData").getRawImageData(); }

    Image* convertToGreyscale() {
        Image* const converted = hostsInstance()->convertToGreyscale(hosts_);
        return converted == hosts_ ? this : new NotedImage(converted);
    }

private:
    Image& noted(const char* call) const {
        enterFromPlugin(call);
        return *hosts_;
    }

    Image* hosts_;
};

} // namespace

Host& Host::current() {
    static Host host;
    return host;
}

Image* Imaging::createImage(unsigned int width, unsigned int height, unsigned int bitsPerSample,
                            unsigned int samplesPerPixel, const void* pixels, int flags) {
    const OutsidePlugin outside;
    Calls::current().enter("createImage");
    Image* const image = new NotedImage(
        hostsInstance()->createImage(width, height, bitsPerSample, samplesPerPixel, pixels, flags));
    const auto* const bytes = static_cast<const std::uint8_t*>(pixels);
    const std::size_t count = std::size_t{width} * height * samplesPerPixel;
    creations.push_back({width, height, bitsPerSample, samplesPerPixel, flags, {bytes, bytes + count}});
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

KORVA_WRAP(std::wstring, Folder, "_ZN17PlenarDiagnostics21getImagesSubDirectoryB5cxx11Ev", ()) {
    const OutsidePlugin outside;
    Calls::current().enter("images folder");
    return hostsFolder();
}

KORVA_WRAP(Communicator*, Build, "_ZN13ClientFactory17buildCommunicatorEPN11xercesc_3_27DOMNodeE",
           (xercesc::DOMNode * element)) {
    const OutsidePlugin outside;
    return Calls::current().enter("buildCommunicator") ? nullptr : hostsBuild(element);
}

KORVA_WRAP(EthernetCommunicator*, Create,
           "_ZN13ClientFactory26createEthernetCommunicatorERK" KORVA_WIDE_TEXT "ii",
           (const std::wstring& address, int port, int timeoutMs)) {
    const OutsidePlugin outside;
    Calls::current().enter("createEthernetCommunicator " + placeOf(address, port) + " " +
                           std::to_string(timeoutMs));
    return hostsCreate(address, port, timeoutMs);
}

KORVA_WRAP(void, Make, "_ZN25PosixEthernetCommunicatorC1ERK" KORVA_WIDE_TEXT "ii",
           (PosixEthernetCommunicator * made, const std::wstring& address, int port, int timeoutMs)) {
    const OutsidePlugin outside;
    const std::string place = placeOf(address, port);
    Calls::current().enter("new " + place + " " + std::to_string(timeoutMs));
    hostsMake(made, address, port, timeoutMs);
    Host::current().communicators[static_cast<EthernetCommunicator*>(made)] = place;
}

KORVA_WRAP(void, Destroy, "_ZN20EthernetCommunicatorD2Ev", (EthernetCommunicator * gone)) {
    const OutsidePlugin outside;
    auto& alive = Host::current().communicators;
    if (const auto found = alive.find(gone); found != alive.end()) {
        Calls::current().note("delete " + found->second);
        alive.erase(found);
    }
    hostsDestroy(gone);
}

KORVA_NOTE(emptyDescription, "_ZN10CameraInfoC1Ev", (CameraInfo * made), (made))
KORVA_NOTE(copiedDescription, "_ZN10CameraInfoC1ERKS_", (CameraInfo * made, const CameraInfo* from),
           (made, from))
KORVA_NOTE(storedDescription, "_ZN10CameraInfoC1EPN11xercesc_3_27DOMNodeE",
           (CameraInfo * made, xercesc::DOMNode* element), (made, element))
KORVA_NOTE(CommunicatorTemplate, "_ZN20CommunicatorTemplateC1EPK12Communicator",
           (::CommunicatorTemplate * made, const Communicator* from), (made, from))
KORVA_NOTE(NativeCameraTemplate,
           "_ZN20NativeCameraTemplateC2ERK10DeviceTypeRK10CameraInfoRK20CommunicatorTemplate",
           (::NativeCameraTemplate * made, const DeviceType* type, const CameraInfo* info,
            const ::CommunicatorTemplate* communicator),
           (made, type, info, communicator))
KORVA_NOTE(ImagingInterface, "_ZN16ImagingInterfaceC2ER6Device", (::ImagingInterface * made, Device* device),
           (made, device))
KORVA_NOTE(Imaging2Interface, "_ZN17Imaging2InterfaceC2ER6Device",
           (::Imaging2Interface * made, Device* device), (made, device))
KORVA_NOTE(initialize, "_ZN7Tolvane16DeviceFramework26Device10BaseDevice10initializeEv",
           (Tolvane::DeviceFramework2::Device::BaseDevice * device), (device))
KORVA_NOTE(installCommonCmdHandlers, "_ZN12NativeCamera24installCommonCmdHandlersEv", (void* camera),
           (camera))

// This one owns the interface also where it throws.
KORVA_WRAP(void, AddInterface, "_ZN6Device12addInterfaceEP13BaseInterface",
           (Device * device, BaseInterface* added)) {
    std::unique_ptr<BaseInterface> own(added);
    const ModelCall call("addInterface");
    hostsAddInterface(device, own.release());
}

KORVA_WRAP(Communicator*, GetCommunicator, "_ZNK6Device15getCommunicatorEv", (const Device* device)) {
    const ModelCall call("getCommunicator");
    return hostsGetCommunicator(device);
}

KORVA_WRAP(bool, Setting, "_ZNK17DeveloperSettings7Boolean5valueEv",
           (const DeveloperSettings::Boolean* setting)) {
    const ModelCall call("setting");
    return hostsSetting(setting);
}

} // namespace World
