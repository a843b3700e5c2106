#include "Scene.h"

#include "Communicator/PosixEthernetCommunicator.h"
#include "Device/CaptureCmds.h"
#include "ImagingLibrary/ImagingFactory.h"
#include "NativeCameraControl/ImagingInterface.h"
#include "NativeCameraKorva/DeviceFixture.h"
#include "NativeCameraKorva/KorvaHelper.h"
#include "NativeCameraKorva/KorvaImageDump.h"
#include "Support/OutsidePlugin.h"
#include "Support/PictureFiles.h"

#include <filesystem>

namespace Torture {
namespace {

using TestSupport::Bytes;
using TestSupport::OutsidePlugin;

// Capture.

struct WholeCapture final : Scene {
    explicit WholeCapture(bool inGrey) : grey(inGrey) { ownCommunicators = 1; }

    bool grey;
    PosixEthernetCommunicator camera{L"10.0.0.5", 32769, -1};

    void prepare() override {
        if (grey)
            answerGrab(5);
        else
            World::answerCapture(freshCamera(5, 32769), DeviceFixture::greyFile(4, 3));
    }
    std::string operate() override {
        Image* const image = plugin([&] { return Korva::capture(&camera, false, grey, grey, 1, false); });
        if (image == nullptr)
            return "no picture";
        const unsigned width = image->getWidth();
        const unsigned height = image->getHeight();
        const auto* const bytes = static_cast<const std::uint8_t*>(image->getRawImageData());
        const Bytes pixels(bytes, bytes + std::size_t{width} * height);
        ImagingFactory::getInstance()->releaseImage(image);
        const std::string size = std::to_string(width) + "x" + std::to_string(height);
        const bool isRight = grey ? size == "6x5" && pixels == Bytes(30, 0x40)
                                  : size == "4x3" && pixels == DeviceFixture::greyPixels(12);
        if (size == "0x0")
            return "empty picture";
        return isRight ? "good" : "wrong picture of " + size;
    }
};

// What a device does.

struct HeldDevice : Scene {
    HeldDevice() {
        ownCommunicators = 1;
        device.setNetworkHealthCallback([this](NetworkHealth health) {
            const OutsidePlugin outside;
            codes.push_back(health.getCode());
            world.calls.enter("health");
        });
    }

    std::vector<int> codes;
    KorvaCamera device{new PosixEthernetCommunicator(L"10.0.0.5", 32769, -1),
                       DeviceFixture::describedAs(4, 3)};

    void prepare() override {
        codes.clear();
        World::answerCapture(freshCamera(5, 32769), DeviceFixture::greyFile(4, 3));
    }
    std::string withReport(const std::string& outcome, int code) const {
        return !codes.empty() && codes.back() == code ? outcome : outcome + ", but not reported";
    }
};

struct Picture final : HeldDevice {
    std::string operate() override {
        auto& imaging = dynamic_cast<ImagingInterface&>(*device.getInterfaces().front());
        void* const pixels = plugin([&] { return imaging.getImage(); });
        if (pixels == nullptr)
            return withReport("no picture", NetworkHealth::captureFailed);
        const auto* const bytes = static_cast<const std::uint8_t*>(pixels);
        if (Bytes(bytes, bytes + 12) != DeviceFixture::greyPixels(12))
            return "wrong picture";
        return withReport("good", NetworkHealth::pictureCaptured);
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
        if (pixels == Bytes(12, 0))
            return withReport("black", NetworkHealth::captureFailed);
        return pixels == DeviceFixture::greyPixels(12) ? withReport("good", NetworkHealth::pictureCaptured)
                                                       : "wrong picture";
    }
};

struct Probe final : HeldDevice {
    std::string operate() override {
        if (plugin([&] { return device.isAlive(); }))
            return codes.empty() ? "good" : "alive, but reported";
        return withReport("not alive", NetworkHealth::connectionCheckFailed);
    }
};

// Dump.

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

} // namespace

std::vector<Operation> pictureOperations() {
    return {
        operationOf<WholeCapture>("capture of colours", false),
        operationOf<WholeCapture>("capture of grey", true),
        operationOf<Picture>("picture"),
        operationOf<PictureCommand>("picture command"),
        operationOf<Probe>("probe"),
        operationOf<Dump>("dump"),
    };
}

} // namespace Torture
