#pragma once
// A capture against a scripted camera, platform and host.

#include "NativeCameraKorva/KorvaHelper.h"

#include "Support/LogCapture.h"
#include "Support/LogLocation.h"
#include "Support/SamplePictures.h"
#include "Support/ScriptedCommunicator.h"
#include "Support/ScriptedHost.h"
#include "Support/ScriptedPlatform.h"
#include "Support/TemporaryFolder.h"
#include "Support/WireMessages.h"

#include <gmock/gmock.h>

namespace CaptureTests {

using TestSupport::Bytes;
using TestSupport::LogText;
using TestSupport::pngFile;
using TestSupport::sgiFile;

inline constexpr char loggerName[] = "Plenar.KorvaCamera.KorvaCapture";

inline Bytes doneMessage() {
    return TestSupport::wireMessage({{0, {}}});
}
inline Bytes errorMessage() {
    return TestSupport::wireMessage({{1, {0, 0, 0, 5}}});
}
inline Bytes imageMessage(const Bytes& file) {
    return TestSupport::wireMessage({{6, file}});
}

/// What capture is called with.
struct Settings {
    bool forceMode1 = false;
    bool png = false;
    bool monochrome = false;
    int exposure = 100;
    bool delayBeforeTake = false;
};

inline constexpr Settings greyPng{.png = true, .monochrome = true};

/// The capture logger stands at info unless a test says otherwise. Afterwards no image may be alive that the
/// test did not get.
struct Capture : ::testing::Test {
    TestSupport::TemporaryFolder folder;
    TestSupport::ScriptedHost host;
    TestSupport::ScriptedCommunicator communicator;
    TestSupport::LogCapture log{loggerName, log4cxx::Level::getInfo()};
    // Two pixels: (0, 64, 16384) and (63, 16383, 65535).
    const TestSupport::Samples colours{2, 1, 3, {0, 64, 16384, 63, 16383, 65535}};
    const Bytes reducedColours{0, 1, 255, 0, 255, 255};

    Capture() {
        TestSupport::PlatformScript::current() = {};
        TestSupport::PlatformScript::current().frequency = 1000;
        host.imagesFolder = folder.path().wstring();
    }
    ~Capture() override { TestSupport::expectFrom(log, "KorvaHelper"); }

    Image* capture(const Settings& settings = {}) {
        return Korva::capture(&communicator, settings.forceMode1, settings.png, settings.monochrome,
                              settings.exposure, settings.delayBeforeTake);
    }

    /// The next request is answered with that message.
    void answer(const Bytes& message) { communicator.afterNextWrite().deliver(message); }
    /// The next request is not answered.
    void answerNothing() { communicator.afterNextWrite(); }

    /// An attempt in which the camera does all it is asked and sends `file`.
    void answerAttempt(const Bytes& file) {
        answer(doneMessage());
        answer(doneMessage());
        answer(imageMessage(file));
    }
    void answerGoodAttempt() { answerAttempt(sgiFile(colours)); }

    const TestSupport::ScriptedImaging& imaging() const { return host.imaging; }
    bool isAlive(Image* image) const { return imaging().alive.contains(image); }
};

} // namespace CaptureTests
