#include "Scene.h"

#include "Communicator/PosixEthernetCommunicator.h"
#include "DeviceControl/BroadcastWorkerObserver.h"
#include "NativeCameraControl/NativeCameraTemplate.h"
#include "NativeCameraKorva/DeviceFixture.h"
#include "NativeCameraKorva/KorvaCameraBuilder.h"
#include "NativeCameraKorva/KorvaCameraLoader.h"
#include "NativeCameraKorva/KorvaCameraLocator.h"
#include "NativeCameraKorva/KorvaHelper.h"
#include "ReferenceHost/DeviceDescription.h"
#include "Support/OutsidePlugin.h"

#include <algorithm>
#include <optional>

namespace Torture {
namespace {

using TestSupport::OutsidePlugin;
using DevicePointer = std::unique_ptr<Device>;

constexpr char knownModel[] = "XM61";
constexpr char unknownModel[] = "Unknown-Model-1";
constexpr char noMac[] = "00-00-00-00-00-00";

/// What the scene's camera says of itself, as textOf gives it.
std::string cameraText(int host, const std::string& mac, const std::string& model, const std::string& size) {
    const std::string number = std::to_string(host);
    return "6|10.0.0." + number + "|SW-3.2.0000000000000000015_API-7|" + mac + "|Korva Meridian " + model +
           "|K-" + number + "|10.0.0.1|255.255.255.0|" + size;
}

/// "good" for what was expected, else what came.
std::string judged(const std::string& text, const std::string& expected) {
    return text == expected ? "good" : text;
}

// Search.

struct Observer final : BroadcastWorkerObserver {
    std::vector<std::unique_ptr<DeviceTemplate>> found;

    void deviceFound(DeviceTemplate* deviceTemplate, int /*reserved*/) override {
        const OutsidePlugin outside;
        found.emplace_back(deviceTemplate);
        World::Calls::current().enter("deviceFound");
    }
};

struct Search final : Scene {
    KorvaCameraLocator locator;

    void prepare() override {
        world.network.adapters = {{"eth0", {{"10.0.0.1", "255.255.255.0"}}},
                                  {"eth1", {{"10.0.1.1", "255.255.255.0"}}}};
        world.network.arp["10.0.0.5"].hardwareAddress = std::string("\x00\x1a\x2b\x3c\x4d\x5e", 6);
        world.network.arp["10.0.0.6"].hardwareAddress = std::string("\x00\x1a\x2b\x3c\x4d\x5f", 6);
        const std::string room = "a room whose name is long enough";
        world.network.datagrams = {"[Korva --Room " + room + " --IP 10.0.0.5]",
                                   "neither this nor that, but long", "[Korva --Room Lab --IP 10.0.0.6]",
                                   "[Korva --Room " + room + " --IP 10.0.0.5]"};
        answerIdentification(5, knownModel);
        answerIdentification(6, unknownModel);
        answerGrab(6);
    }

    std::string operate() override {
        Observer observer;
        plugin([&] { locator.broadcastObserverSearch(&observer, 0); });
        const std::string first = cameraText(5, "00-1a-2b-3c-4d-5e", knownModel, "1676x1266");
        const std::string second = cameraText(6, "00-1a-2b-3c-4d-5f", unknownModel, "6x5");
        std::string others;
        int good = 0;
        for (const auto& each : observer.found) {
            const std::string text = textOf(dynamic_cast<const NativeCameraTemplate&>(*each).getCameraInfo());
            if (text == first || text == second)
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

// Identification.

struct Identification final : Scene {
    explicit Identification(const char* camerasModel) : model(camerasModel) { ownCommunicators = 1; }

    const char* model;
    PosixEthernetCommunicator camera{L"10.0.0.5", 32768, -1};

    void prepare() override {
        world.network.arp["10.0.0.5"].hardwareAddress = std::string("\x00\x1a\x2b\x3c\x4d\x5e", 6);
        answerIdentification(5, model);
        answerGrab(5);
    }
    std::string operate() override {
        std::optional<CameraInfo> info;
        plugin([&] { info = Korva::determineCameraInfo(&camera, {}); });
        return judged(textOf(*info), cameraText(5, {}, model, model == knownModel ? "1676x1266" : "6x5"));
    }
};

// Build.

struct Build : Scene {
    KorvaCameraBuilder korvaBuilder;
    const DeviceBuilder& builder = korvaBuilder;

    template <class Source>
    std::string buildFrom(const Source& source) {
        const DevicePointer device(plugin([&] { return builder.build(source); }));
        if (device == nullptr)
            return "nothing";
        const auto& communicator = dynamic_cast<const EthernetCommunicator&>(*device->getCommunicator());
        const std::string place = std::to_string(communicator.getPort()) + " " +
                                  (communicator.getAddress() == L"10.0.0.5" ? "10.0.0.5" : "elsewhere");
        const std::string said = textOf(dynamic_cast<const KorvaCamera&>(*device).getCameraInfo());
        return judged(said + " " + place + " " + std::to_string(device->getInterfaces().size()),
                      expected + " 32769 10.0.0.5 2");
    }

    std::string expected;
};

struct BuildFromDescription final : Build {
    std::unique_ptr<ReferenceHost::DeviceDescription> description;

    void prepare() override {
        const CameraInfo info = DeviceFixture::describedAs(1676, 1266);
        expected = textOf(info);
        // The connection first, so that it is there where the description cannot be read.
        description = std::make_unique<ReferenceHost::DeviceDescription>(
            "<Device><connection><address>10.0.0.5</address><port>32769</port></connection>" + info.toXml() +
            "</Device>");
    }
    std::string operate() override { return buildFrom(description->root()); }
};

struct BuildFromTemplate final : Build {
    std::unique_ptr<NativeCameraTemplate> deviceTemplate;

    void prepare() override {
        const CameraInfo info = DeviceFixture::describedAs(1676, 1266);
        expected = textOf(info);
        const PosixEthernetCommunicator communicator(L"10.0.0.5", 32769, -1);
        deviceTemplate = std::make_unique<NativeCameraTemplate>(getKorvaCameraType(), info,
                                                                CommunicatorTemplate(&communicator));
    }
    std::string operate() override { return buildFrom(*deviceTemplate); }
};

struct BuildFromConnection final : Build {
    BuildFromConnection() { ownCommunicators = 1; }

    PosixEthernetCommunicator given{L"10.0.0.5", 40000, -1};

    void prepare() override {
        world.network.arp["10.0.0.5"].hardwareAddress = std::string("\x00\x1a\x2b\x3c\x4d\x5e", 6);
        answerIdentification(5, knownModel);
        expected = cameraText(5, {}, knownModel, "1676x1266");
    }
    std::string operate() override { return buildFrom(static_cast<Communicator*>(&given)); }
};

} // namespace

std::vector<Operation> findingOperations() {
    return {
        operationOf<Search>("search"),
        operationOf<Identification>("identification", knownModel),
        operationOf<Identification>("identification with a grab", unknownModel),
        operationOf<BuildFromDescription>("build from description"),
        operationOf<BuildFromTemplate>("build from template"),
        operationOf<BuildFromConnection>("build from connection"),
    };
}

} // namespace Torture
