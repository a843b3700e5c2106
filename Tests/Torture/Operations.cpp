#include "Scene.h"

#include "Camera/CameraSettings.h"
#include "Communicator/PosixEthernetCommunicator.h"
#include "Device/CaptureCmds.h"
#include "DeviceControl/BroadcastWorkerObserver.h"
#include "ImagingLibrary/ImagingFactory.h"
#include "NativeCameraControl/ImagingInterface.h"
#include "NativeCameraControl/NativeCameraTemplate.h"
#include "NativeCameraKorva/DeviceFixture.h"
#include "NativeCameraKorva/KorvaCameraBuilder.h"
#include "NativeCameraKorva/KorvaCameraLoader.h"
#include "NativeCameraKorva/KorvaCameraLocator.h"
#include "NativeCameraKorva/KorvaHelper.h"
#include "NativeCameraKorva/KorvaImageDump.h"
#include "Platform/Text.h"
#include "ReferenceHost/DeviceDescription.h"
#include "Support/PictureFiles.h"

#include <algorithm>
#include <filesystem>
#include <optional>

namespace Torture {
namespace {

using DeviceFixture::describedAs;
using DeviceFixture::greyPixels;
using Simulator::binaryPort;
using Simulator::textPort;
using TestSupport::Bytes;
using TestSupport::OutsidePlugin;

constexpr char knownModel[] = "XM61";
constexpr char unknownModel[] = "Unknown-Model-1";
constexpr char noMac[] = "00-00-00-00-00-00";

/// A scene with cameras at 10.0.0.5 and 10.0.0.6.
struct CameraScene : Scene {
    World::Peer& freshCamera(int host, int port) {
        World::Peer& camera = world.at("10.0.0." + std::to_string(host), port);
        camera.forget(); // what an earlier, broken run left
        return camera;
    }

    /// Identified as that model; takes a grey picture of 6 x 5.
    void answerIdentification(int host, const std::string& model) {
        const std::string mac{'\x00', '\x1a', '\x2b', '\x3c', '\x4d', static_cast<char>('\x59' + host)};
        world.network.arp["10.0.0." + std::to_string(host)].hardwareAddress = mac;
        // A version longer than what a string holds without memory of its own.
        World::answerIdentification(freshCamera(host, textPort),
                                    {model, "3.2.0000000000000000015", "K-" + std::to_string(host)});
        answerGreyCapture(host);
    }
    void answerGreyCapture(int host) {
        World::answerCapture(freshCamera(host, binaryPort),
                             TestSupport::pngFile(TestSupport::uniformSamples(6, 5, 1, 0x1000)));
    }

    /// What the identified camera is.
    static std::string identityOf(int host, const std::string& model, const std::string& mac) {
        CameraInfo info;
        info.setCameraTypeEnum(6);
        info.setIpAddress(L"10.0.0." + std::to_wstring(host));
        info.setFW(L"SW-3.2.0000000000000000015_API-7");
        info.setMacAddress(Platform::wideFromUtf8(mac));
        info.setModel(L"Korva Meridian " + Platform::wideFromUtf8(model));
        info.setSerialNumber(L"K-" + std::to_wstring(host));
        info.setDefaultGateway(L"10.0.0.1");
        info.setSubnetMask(L"255.255.255.0");
        info.setResolutionX(model == knownModel ? 1676 : 6);
        info.setResolutionY(model == knownModel ? 1266 : 5);
        return info.toXml();
    }
};

struct Search final : CameraScene, BroadcastWorkerObserver {
    KorvaCameraLocator locator;
    std::vector<std::unique_ptr<DeviceTemplate>> found;

    void deviceFound(DeviceTemplate* deviceTemplate, int /*reserved*/) override {
        const OutsidePlugin outside;
        found.emplace_back(deviceTemplate);
        world.calls.enter("deviceFound");
    }

    void prepare() override {
        world.network.adapters = {{"eth0", {{"10.0.0.1", "255.255.255.0"}}},
                                  {"eth1", {{"10.0.1.1", "255.255.255.0"}}}};
        const std::string room = "a room whose name is long enough";
        world.network.datagrams = {"[Korva --Room " + room + " --IP 10.0.0.5]",
                                   "neither this nor that, but long", "[Korva --Room Lab --IP 10.0.0.6]",
                                   "[Korva --Room " + room + " --IP 10.0.0.5]"};
        answerIdentification(5, knownModel);
        answerIdentification(6, unknownModel);
    }

    std::string operate() override {
        found.clear();
        plugin([&] { locator.broadcastObserverSearch(this, 0); });
        std::string others;
        int good = 0;
        for (const auto& each : found) {
            const auto info = dynamic_cast<const NativeCameraTemplate&>(*each).getCameraInfo();
            const std::string text = info.toXml();
            if (text == identityOf(5, knownModel, "00-1a-2b-3c-4d-5e") ||
                text == identityOf(6, unknownModel, "00-1a-2b-3c-4d-5f"))
                ++good;
            else if (text.find(noMac) != std::string::npos)
                others = "unknown MAC";
            else
                return text;
        }
        constexpr const char* names[] = {"none found", "one found", "good"};
        return others.empty() ? names[std::min(good, 2)] : others;
    }
};

/// A scene with the host's own connection to that port.
template <int port>
struct ConnectedScene : CameraScene {
    ConnectedScene() { ownCommunicators = 1; }

    PosixEthernetCommunicator camera{L"10.0.0.5", port, -1};
};

struct Identification final : ConnectedScene<textPort> {
    explicit Identification(const char* camerasModel) : model(camerasModel) {}

    const char* model;

    void prepare() override { answerIdentification(5, model); }
    std::string operate() override {
        std::optional<CameraInfo> info;
        plugin([&] { info = Korva::determineCameraInfo(&camera, {}); });
        const std::string text = info->toXml();
        return text == identityOf(5, model, {}) ? "good" : text;
    }
};

struct Build : CameraScene {
    KorvaCameraBuilder korvaBuilder;
    const DeviceBuilder& builder = korvaBuilder;

    template <class Source>
    std::string buildFrom(const Source& source, const std::string& expected) {
        const std::unique_ptr<Device> device(plugin([&] { return builder.build(source); }));
        if (device == nullptr)
            return "nothing";
        const auto& connection = dynamic_cast<const EthernetCommunicator&>(*device->getCommunicator());
        if (connection.getPort() != binaryPort || connection.getAddress() != L"10.0.0.5")
            return "elsewhere";
        const std::string said = dynamic_cast<const KorvaCamera&>(*device).getCameraInfo().toXml();
        return said == expected && device->getInterfaces().size() == 2 ? "good" : said;
    }
};

struct BuildFromDescription final : Build {
    std::unique_ptr<ReferenceHost::DeviceDescription> description;

    void prepare() override {
        // The connection first, so that it is there where the description cannot be read.
        description = std::make_unique<ReferenceHost::DeviceDescription>(
            "<Device><connection><address>10.0.0.5</address><port>32769</port></connection>" +
            describedAs(1676, 1266).toXml() + "</Device>");
    }
    std::string operate() override { return buildFrom(description->root(), describedAs(1676, 1266).toXml()); }
};

struct BuildFromTemplate final : Build {
    std::unique_ptr<NativeCameraTemplate> deviceTemplate;

    void prepare() override {
        const PosixEthernetCommunicator communicator(L"10.0.0.5", binaryPort, -1);
        deviceTemplate = std::make_unique<NativeCameraTemplate>(getKorvaCameraType(), describedAs(1676, 1266),
                                                                CommunicatorTemplate(&communicator));
    }
    std::string operate() override { return buildFrom(*deviceTemplate, describedAs(1676, 1266).toXml()); }
};

struct BuildFromConnection final : Build {
    BuildFromConnection() { ownCommunicators = 1; }

    PosixEthernetCommunicator given{L"10.0.0.5", 40000, -1};

    void prepare() override { answerIdentification(5, knownModel); }
    std::string operate() override {
        return buildFrom(static_cast<Communicator*>(&given), identityOf(5, knownModel, {}));
    }
};

struct WholeCapture final : ConnectedScene<binaryPort> {
    explicit WholeCapture(bool inGrey) : grey(inGrey) {}

    bool grey;

    void prepare() override {
        if (grey)
            answerGreyCapture(5);
        else
            World::answerCapture(freshCamera(5, binaryPort), DeviceFixture::greyFile(4, 3));
    }
    std::string operate() override {
        Image* const image = plugin([&] { return Korva::capture(&camera, false, grey, grey, 1, false); });
        if (image == nullptr)
            return "no picture";
        const auto* const bytes = static_cast<const std::uint8_t*>(image->getRawImageData());
        const std::string size = std::to_string(image->getWidth()) + "x" + std::to_string(image->getHeight());
        const Bytes pixels(bytes, bytes + std::size_t{image->getWidth()} * image->getHeight());
        ImagingFactory::getInstance()->releaseImage(image);
        if (size == "0x0")
            return "empty picture";
        const bool isRight =
            grey ? size == "6x5" && pixels == Bytes(30, 0x40) : size == "4x3" && pixels == greyPixels(12);
        return isRight ? "good" : "wrong picture of " + size;
    }
};

struct HeldDevice : CameraScene {
    HeldDevice() {
        ownCommunicators = 1;
        device.setNetworkHealthCallback([this](NetworkHealth health) {
            const OutsidePlugin outside;
            codes.push_back(health.getCode());
            world.calls.enter("health");
        });
    }

    std::vector<int> codes;
    KorvaCamera device{new PosixEthernetCommunicator(L"10.0.0.5", binaryPort, -1), describedAs(4, 3)};

    void prepare() override {
        codes.clear();
        World::answerCapture(freshCamera(5, binaryPort), DeviceFixture::greyFile(4, 3));
    }
    std::string withReport(const std::string& outcome, int code) const {
        return !codes.empty() && codes.back() == code ? outcome : outcome + ", but not reported";
    }
    std::string good(const Bytes& pixels) const {
        return pixels == greyPixels(12) ? withReport("good", NetworkHealth::pictureCaptured)
                                        : "wrong picture";
    }
};

struct Picture final : HeldDevice {
    std::string operate() override {
        auto& imaging = dynamic_cast<ImagingInterface&>(*device.getInterfaces().front());
        const auto* const pixels =
            static_cast<const std::uint8_t*>(plugin([&] { return imaging.getImage(); }));
        return pixels == nullptr ? withReport("no picture", NetworkHealth::captureFailed)
                                 : good(Bytes(pixels, pixels + 12));
    }
};

struct PictureCommand final : HeldDevice {
    std::string operate() override {
        using namespace Tolvane::DeviceFramework2::Device;
        image_t image;
        const auto command = std::make_shared<Capture::FillMonoImage>(image);
        plugin([&] { device.execInternal(command, {}); });
        if (image.pixels == nullptr)
            return "no pixels";
        const Bytes pixels = DeviceFixture::pixelsOf(image);
        return pixels == Bytes(12, 0) ? withReport("black", NetworkHealth::captureFailed) : good(pixels);
    }
};

struct Probe final : HeldDevice {
    std::string operate() override {
        if (plugin([&] { return device.isAlive(); }))
            return codes.empty() ? "good" : "alive, but reported";
        return withReport("not alive", NetworkHealth::connectionCheckFailed);
    }
};

struct Dump final : Scene {
    Korva::Binary::FullArg picture;

    void prepare() override {
        for (const std::string& name : folder.names())
            std::filesystem::remove(folder.file(name));
        picture.header.type = 6;
        picture.header.length = Korva::Binary::bigEndian32(3);
        picture.data.reset(new std::uint8_t[3]{1, 2, 3});
    }
    std::string operate() override {
        plugin([&] { Korva::dumpImage(false, picture); });
        const std::vector<std::string> names = folder.names();
        if (names.empty())
            return "no file";
        const Support::Bytes bytes = Support::readFile(folder.file(names.front()));
        if (names.size() != 1 || !(bytes.empty() || bytes == Support::Bytes{1, 2, 3}))
            return "wrong file";
        return bytes.empty() ? "empty file" : "good";
    }
};

/// What makes a scene that is a `Type` made of `arguments`.
template <class Type, class... Arguments>
auto scene(Arguments... arguments) {
    return [arguments...] { return std::make_unique<Type>(arguments...); };
}

} // namespace

std::vector<Operation> operations() {
    const std::set<std::string> built{"good", "throws bad_alloc"};
    const std::set<std::string> captured{"good", "throws bad_alloc", "no picture", "empty picture"};
    const std::set<std::string> grabbed{
        "good", "throws bad_alloc",
        "throws DeviceException: Found Korva, but couldn't determine its resolution"};
    return {
        {"search", scene<Search>(), {"good", "one found", "none found"}, true},
        {"identification", scene<Identification>(knownModel), {"good", "throws bad_alloc"}},
        {"identification with a grab", scene<Identification>(unknownModel), grabbed},
        {"build from description", scene<BuildFromDescription>(), built},
        {"build from template", scene<BuildFromTemplate>(), built},
        {"build from connection", scene<BuildFromConnection>(), built},
        {"capture of colours", scene<WholeCapture>(false), captured},
        {"capture of grey", scene<WholeCapture>(true), captured},
        {"picture", scene<Picture>(), {"good", "no picture"}, true},
        {"picture command", scene<PictureCommand>(), {"good", "black", "no pixels", "throws bad_alloc"}},
        {"probe", scene<Probe>(), {"good", "not alive"}, true},
        {"dump", scene<Dump>(), {"good", "no file"}},
    };
}

} // namespace Torture
