#pragma once
// A capture of a camera on the world's network.

#include "NativeCameraKorva/KorvaHelper.h"

#include "Communicator/PosixEthernetCommunicator.h"
#include "ImagingLibrary/ImagingFactory.h"
#include "PluginLog.h"
#include "ReferenceHost/HostControl.h"
#include "Support/SamplePictures.h"
#include "Support/TemporaryFolder.h"
#include "World/Stage.h"

#include <string>
#include <vector>

namespace CaptureTests {

using namespace std::chrono_literals;
using namespace PluginLogs;
using TestSupport::pngFile;
using TestSupport::sgiFile;
using TestSupport::uniformSamples;
using World::Bytes;
using World::done;
using World::image;
using World::refusal;

/// What capture is called with.
struct Settings {
    bool forceMode1 = false;
    bool png = false;
    bool monochrome = false;
    int exposure = 100;
    bool delayBeforeTake = false;
};

inline constexpr Settings greyPng{.png = true, .monochrome = true};

/// Two pixels.
inline const TestSupport::Samples colours{2, 1, 3, {0, 64, 16384, 63, 16383, 65535}};

/// The capture logger stands at info unless a test says otherwise. Afterwards no image may be alive but those
/// that the test got.
struct Capture : ::testing::Test {
    TestSupport::TemporaryFolder folder;
    World::Stage world;
    World::Peer& camera = world.at("10.0.0.5", 32769);
    PosixEthernetCommunicator communicator{L"10.0.0.5", 32769, -1};
    PluginLog log{"Plenar.KorvaCamera.KorvaCapture", "KorvaHelper", log4cxx::Level::getInfo()};
    Capture() { ReferenceHost::setImagesSubDirectory(folder.path().wstring()); }
    ~Capture() override {
        world.calls.failNoMore(); // the test's own variables are gone
        for (Image* const each : taken_)
            ImagingFactory::getInstance()->releaseImage(each);
    }

    Image* capture(const Settings& settings = {}) {
        Image* const taken = Korva::capture(&communicator, settings.forceMode1, settings.png,
                                            settings.monochrome, settings.exposure, settings.delayBeforeTake);
        if (taken != nullptr)
            taken_.push_back(taken);
        return taken;
    }

    /// An attempt in which the camera does all it is asked and sends `file`.
    void answerAttempt(const Bytes& file) { World::answerCapture(camera, file); }
    void answerGoodAttempt() { answerAttempt(sgiFile(colours)); }

    std::vector<std::string> imagingCalls() const {
        return world.calls.of({"createImage", "convertToGreyscale", "releaseImage"});
    }

private:
    std::vector<Image*> taken_;
};

} // namespace CaptureTests
