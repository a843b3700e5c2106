#include "NativeCameraKorva/KorvaCamera.h"

#include "Communicator/DeviceException.h"
#include "Device/CaptureCmds.h"
#include "Device/Exceptions.h"
#include "DeviceFixture.h"
#include "NativeCameraKorva/KorvaCameraLoader.h"
#include "NativeCameraKorva/KorvaImaging2Interface.h"
#include "NativeCameraKorva/KorvaImagingInterface.h"
#include "NativeCameraKorva/WrappedD1Exception.h"
#include "ReferenceHost/HostControl.h"
#include "Support/LogCapture.h"
#include "Support/VirtualTable.h"

#include <gmock/gmock.h>

#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>

using namespace Tolvane::DeviceFramework2::Device;
using namespace DeviceFixture;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::entryOf;
using TestSupport::functionAt;
using TestSupport::LogCapture;
using TestSupport::LogText;

namespace {

constexpr const char* internalsLogger = "Plenar.KorvaCamera.KorvaInternals";

/// How the device says that a command is over.
struct Outcome {
    CmdResultCallbacks callbacks() {
        CmdResultCallbacks both;
        both.done = [this] { ++done; };
        both.failed = [this](const std::exception_ptr&) { ++failed; };
        return both;
    }

    int done = 0;
    int failed = 0;
};

template <class Command>
image_t filledBy(KorvaCamera& camera) {
    image_t image;
    camera.execInternal(std::make_shared<Command>(image, "some key"), {});
    return image;
}

/// A command that says it is another one.
class Impostor final : public Cmd {
public:
    explicit Impostor(std::string name) : name_(std::move(name)) {}
    std::string getTypeName() const override { return name_; }

private:
    std::string name_;
};

} // namespace

TEST(KorvaCameraClass, HasTheHostsTree) {
    static_assert(std::is_base_of_v<NativeCamera, KorvaCamera>);
    static_assert(std::is_convertible_v<NativeCamera*, INativeCamera*>);
    static_assert(std::is_convertible_v<NativeCamera*, Device2Bridge*>);
    static_assert(std::is_convertible_v<Device2Bridge*, Device*>);
    static_assert(std::is_convertible_v<Device*, BaseDevice*>);
    static_assert(std::is_convertible_v<BaseDevice*, AbstractDevice*>);
    const HeldCamera camera;
    INativeCamera* const part = camera.device.get();
    EXPECT_EQ(dynamic_cast<BaseDevice*>(part), static_cast<BaseDevice*>(camera.device.get()));
}

TEST(KorvaCameraClass, HasItsOwnOperationDirectlyBehindTheDestructor) {
    // Slots 0 to 9 are INativeCamera's, slot 10 is the destructor with its entries 10 and 11.
    EXPECT_EQ(entryOf(&KorvaCamera::setNetworkHealthCallback), 12);
}

TEST(KorvaCameraClass, SetsTheCallbackThroughTheTable) {
    HeldCamera camera;
    Codes codes;
    INativeCamera* const part = camera.device.get();
    functionAt<void(INativeCamera*, NetworkHealthCallback)>(part, 12)(part, into(codes));
    EXPECT_FALSE(camera.device->isAlive());
    EXPECT_THAT(codes, ElementsAre(2056));
}

TEST(KorvaCameraClass, OverridesTypeAndAliveOfTheDevicePart) {
    HeldCamera camera;
    camera.transport->afterNextWrite().deliver(doneMessage());
    Device* const part = camera.device.get();
    EXPECT_EQ(&functionAt<const DeviceType&(const Device*)>(part, 4)(part), &getKorvaCameraType());
    EXPECT_TRUE(functionAt<bool(Device*)>(part, 15)(part));
    EXPECT_EQ(camera.transport->writes().size(), 1u);
}

TEST(KorvaCamera, HasTwoInterfacesTheImagingInterfaceFirst) {
    const HeldCamera camera;
    const std::vector<BaseInterface*> interfaces = camera.device->getInterfaces();
    ASSERT_EQ(interfaces.size(), 2u);
    EXPECT_NE(dynamic_cast<KorvaImagingInterface*>(interfaces[0]), nullptr);
    EXPECT_NE(dynamic_cast<KorvaImaging2Interface*>(interfaces[1]), nullptr);
    EXPECT_EQ(&interfaces[0]->getDevice(), camera.device.get());
    EXPECT_EQ(&interfaces[1]->getDevice(), camera.device.get());
}

TEST(KorvaCamera, IsOfTheOneKorvaType) {
    const HeldCamera camera;
    const HeldCamera other;
    EXPECT_EQ(&static_cast<Device&>(*camera.device).getType(), &getKorvaCameraType());
    EXPECT_EQ(&other.device->getType(), &getKorvaCameraType());
}

TEST(KorvaCamera, OwnsItsCommunicatorAndKeepsItsDescription) {
    const HeldCamera camera(1676, 1266);
    EXPECT_EQ(camera.device->getCommunicator(), camera.transport);
    EXPECT_EQ(camera.device->getCameraInfo().getSerialNumber(), L"4711");
    EXPECT_EQ(camera.device->getResolution(), (Point<int, 2>(1676, 1266)));
    EXPECT_TRUE(camera.transport->calls().empty()) << "building a device asks the camera nothing";
}

TEST(KorvaCamera, MakesOneInternalsObjectForBothInterfaces) {
    const LogCapture log(internalsLogger);
    const HeldCamera camera;
    EXPECT_THAT(log.texts(),
                ElementsAre(LogText{"INFO", "Korva Internals created for Korva Camera: Korva Meridian M61, "
                                            "10.0.0.5, serial number 4711"},
                            LogText{"INFO", "Setting korva exposure to 15 x100 ms"}));
    camera.device->setExposureTime(300000);
    EXPECT_EQ(camera.device->getExposureTime(), 300000);
    EXPECT_EQ(camera.device->getBitDepth(), 8);
}

TEST(KorvaCamera, SupportsItsThreeCommandsFromTheBeginning) {
    const HeldCamera camera;
    image_t image;
    EXPECT_TRUE(camera.device->supports(Capture::FillMonoImage(image)));
    EXPECT_TRUE(camera.device->supports(Capture::FillNativeImage(image)));
    EXPECT_TRUE(camera.device->supports(SetNetworkHealthCallback({})));
    EXPECT_FALSE(camera.device->supports(Cmd()));
    EXPECT_FALSE(camera.device->supports(SetCmd<image_t&>(image)));
}

TEST(KorvaCamera, FillsMonoAndNativeImagesAlike) {
    HeldCamera camera;
    answerCapture(*camera.transport, greyFile(4, 3));
    const image_t mono = filledBy<Capture::FillMonoImage>(*camera.device);
    answerCapture(*camera.transport, greyFile(4, 3));
    const image_t native = filledBy<Capture::FillNativeImage>(*camera.device);
    for (const image_t* const image : {&mono, &native}) {
        EXPECT_EQ(image->format, 3u);
        EXPECT_EQ(image->width, 4);
        EXPECT_EQ(image->height, 3u);
        EXPECT_EQ(pixelsOf(*image), greyPixels(12));
    }
}

TEST(KorvaCamera, GivesAPictureItsOwnPixels) {
    HeldCamera camera;
    answerCapture(*camera.transport, greyFile(4, 3));
    const image_t first = filledBy<Capture::FillMonoImage>(*camera.device);
    answerCapture(*camera.transport, greyFile(4, 3, 90));
    const image_t second = filledBy<Capture::FillMonoImage>(*camera.device);
    EXPECT_EQ(pixelsOf(first), greyPixels(12));
    EXPECT_EQ(pixelsOf(second), greyPixels(12, 90));
    camera.device.reset();
    EXPECT_EQ(pixelsOf(first), greyPixels(12)) << "a picture outlives its camera";
}

TEST(KorvaCamera, ReplacesWhatTheImageHeld) {
    HeldCamera camera;
    answerCapture(*camera.transport, greyFile(4, 3));
    int released = 0;
    unsigned char former[6] = {};
    image_t image(image_t::layoutRgb, 2, 1, former, static_cast<int>(PixelBufferMode::borrow));
    image.pixels = image_t::Pixels(former, [&released](unsigned char*) { ++released; });
    camera.device->execInternal(std::make_shared<Capture::FillMonoImage>(image), {});
    EXPECT_EQ(released, 1);
    EXPECT_EQ(pixelsOf(image), greyPixels(12));
}

TEST(KorvaCamera, FillsABlackImageOfItsSizeWhereTheCaptureFails) {
    HeldCamera camera(40, 30);
    Codes codes;
    camera.device->setNetworkHealthCallback(into(codes));
    Outcome outcome;
    image_t image;
    camera.device->execInternal(std::make_shared<Capture::FillMonoImage>(image), outcome.callbacks());
    EXPECT_EQ(image.format, 3u);
    EXPECT_EQ(image.width, 40);
    EXPECT_EQ(image.height, 30u);
    EXPECT_EQ(pixelsOf(image), Bytes(1200, 0));
    EXPECT_THAT(codes, ElementsAre(1032));
    EXPECT_EQ(outcome.done, 1);
    EXPECT_EQ(outcome.failed, 0);
}

TEST(KorvaCamera, FillsAnEmptyImageWhereItsResolutionIsNone) {
    for (const auto& [width, height] : {std::pair{-4, 3}, {4, -3}, {-4, -3}, {2000000, 2000000}}) {
        HeldCamera camera(width, height);
        const image_t image = filledBy<Capture::FillMonoImage>(*camera.device);
        EXPECT_EQ(image.pixels, nullptr);
        EXPECT_EQ(image.width, 0);
    }
}

TEST(KorvaCamera, TellsWhoeverCommandsOnceThatItIsDone) {
    HeldCamera camera;
    answerCapture(*camera.transport, greyFile(4, 3));
    image_t image;
    Outcome outcome;
    const std::shared_ptr<Cmd> command = std::make_shared<Capture::FillNativeImage>(image);
    camera.device->execInternal(command, outcome.callbacks());
    EXPECT_EQ(outcome.done, 1);
    EXPECT_EQ(outcome.failed, 0);
    EXPECT_EQ(command.use_count(), 1);
}

TEST(KorvaCamera, ExecutesCommandsOnAThreadOfTheHost) {
    HeldCamera camera;
    answerCapture(*camera.transport, greyFile(4, 3));
    image_t image;
    Outcome outcome;
    camera.device->execAsync(std::make_shared<Capture::FillMonoImage>(image), outcome.callbacks()).get();
    EXPECT_EQ(pixelsOf(image), greyPixels(12));
    EXPECT_EQ(outcome.done, 1);
}

TEST(KorvaCamera, RefusesACommandThatIsNotWhatItsNameSays) {
    HeldCamera camera;
    for (const char* const name :
         {typeid(Capture::FillMonoImage).name(), typeid(Capture::FillNativeImage).name(),
          typeid(SetNetworkHealthCallback).name()}) {
        const std::shared_ptr<Cmd> command = std::make_shared<Impostor>(name);
        Outcome outcome;
        try {
            camera.device->execInternal(command, outcome.callbacks());
            ADD_FAILURE() << name << " was taken";
        } catch (const Exceptions::IncorrectCommandTypeException& failure) {
            EXPECT_EQ(failure.getCommand(), command);
        }
        EXPECT_EQ(command.use_count(), 1);
        EXPECT_EQ(outcome.failed, 1);
        EXPECT_EQ(outcome.done, 0);
    }
    EXPECT_THAT(camera.transport->calls(), IsEmpty());
}

TEST(KorvaCamera, KeepsOnlyTheLaterNetworkHealthCallback) {
    HeldCamera camera;
    Codes first;
    Codes second;
    Codes third;
    camera.device->execInternal(std::make_shared<SetNetworkHealthCallback>(into(first)), {});
    camera.device->execInternal(std::make_shared<SetNetworkHealthCallback>(into(second)), {});
    EXPECT_FALSE(camera.device->isAlive());
    camera.device->setNetworkHealthCallback(into(third));
    EXPECT_FALSE(camera.device->isAlive());
    camera.device->execInternal(std::make_shared<SetNetworkHealthCallback>(nullptr), {});
    EXPECT_FALSE(camera.device->isAlive());
    EXPECT_THAT(first, IsEmpty());
    EXPECT_THAT(second, ElementsAre(2056));
    EXPECT_THAT(third, ElementsAre(2056));
}

namespace {

/// A callable that fails as the older layer does when it is copied, once it is armed.
struct FailingCallable {
    FailingCallable(bool& isArmed) : armed(isArmed) {}
    FailingCallable(const FailingCallable& other) : armed(other.armed) {
        if (armed)
            throw TolvaneException(L"no copy", L"Host.cpp", 5);
    }
    FailingCallable(FailingCallable&&) = default;
    void operator()(NetworkHealth) const {}
    bool& armed;
};

} // namespace

TEST(KorvaCamera, WrapsAnExceptionOfTheOlderLayerThatACommandMeets) {
    HeldCamera camera;
    bool armed = false;
    const std::shared_ptr<Cmd> command = std::make_shared<SetNetworkHealthCallback>(FailingCallable(armed));
    armed = true;
    Outcome outcome;
    try {
        camera.device->execInternal(command, outcome.callbacks());
        FAIL() << "the callable was copied";
    } catch (const Exceptions::WrappedD1Exception& failure) {
        EXPECT_STREQ(failure.what(), "A Device1 layer exception caught: [no copy]");
    }
    EXPECT_EQ(outcome.failed, 1);
    EXPECT_EQ(command.use_count(), 1);
}

TEST(KorvaCamera, IsAliveWhereTheCameraAnswers) {
    HeldCamera camera;
    Codes codes;
    camera.device->setNetworkHealthCallback(into(codes));
    camera.transport->afterNextWrite().deliver(doneMessage());
    EXPECT_TRUE(camera.device->isAlive());
    EXPECT_NO_THROW(EXPECT_FALSE(camera.device->isAlive()));
    camera.transport->throwOnConnect(std::make_exception_ptr(DeviceException(L"gone")));
    EXPECT_NO_THROW(EXPECT_FALSE(camera.device->isAlive()));
    EXPECT_THAT(codes, ElementsAre(2056, 2056));
}

TEST(KorvaCamera, WorksWithoutACommunicator) {
    KorvaCamera camera(nullptr, describedAs(4, 3));
    Codes codes;
    camera.setNetworkHealthCallback(into(codes));
    EXPECT_EQ(pixelsOf(filledBy<Capture::FillMonoImage>(camera)), Bytes(12, 0));
    EXPECT_FALSE(camera.isAlive());
    EXPECT_THAT(codes, ElementsAre(1032, 2056));
}

TEST(KorvaCamera, OutlivesTheRemovalOfItsInterfaces) {
    HeldCamera camera;
    Codes codes;
    camera.device->setNetworkHealthCallback(into(codes));
    camera.device->removeAllInterfaces();
    EXPECT_FALSE(camera.device->isAlive());
    camera.device->setNetworkHealthCallback(into(codes));
    EXPECT_EQ(pixelsOf(filledBy<Capture::FillMonoImage>(*camera.device)), Bytes(12, 0));
    EXPECT_THAT(codes, IsEmpty());
    EXPECT_THAT(camera.transport->calls(), IsEmpty());
}

TEST(KorvaCamera, LetsAHealthCallbackRemoveTheInterfaces) {
    for (const bool throughInterface : {false, true}) {
        HeldCamera camera;
        answerCapture(*camera.transport, greyFile(4, 3));
        KorvaCamera& device = *camera.device;
        device.setNetworkHealthCallback([&device](NetworkHealth) { device.removeAllInterfaces(); });
        if (throughInterface)
            dynamic_cast<ImagingInterface&>(*device.getInterfaces().front()).getImage();
        else
            EXPECT_EQ(pixelsOf(filledBy<Capture::FillMonoImage>(device)), greyPixels(12));
        EXPECT_THAT(device.getInterfaces(), IsEmpty());
    }
}

TEST(KorvaCamera, TakesEverythingAlongWhenItGoes) {
    const auto token = std::make_shared<int>(0);
    for (int i = 0; i < 1000; ++i) {
        HeldCamera camera;
        camera.device->setNetworkHealthCallback([token](NetworkHealth) {});
        camera.transport->onWrite([token](std::size_t) {});
        answerCapture(*camera.transport, greyFile(4, 3));
        image_t image;
        camera.device->execInternal(std::make_shared<Capture::FillMonoImage>(image), {});
        ASSERT_NE(image.pixels, nullptr);
        ASSERT_GE(token.use_count(), 3) << "the internals hold one, the transport the other";
        const std::unique_ptr<Device> asTheHostHoldsIt = std::move(camera.device);
    }
    EXPECT_EQ(token.use_count(), 1);
    EXPECT_EQ(ReferenceHost::liveImageCount(), 0u);
}

TEST(KorvaCamera, GoesWhileSomebodyObservesIt) {
    HeldCamera camera;
    int notices = 0;
    camera.device->getInterfaces().front()->registerObserver2([&notices](const std::wstring&) { ++notices; });
    EXPECT_TRUE(camera.device->observing());
    EXPECT_NO_THROW(camera.device.reset());
    EXPECT_EQ(notices, 0);
}

TEST(KorvaCamera, MayBeDestroyedThroughEveryPart) {
    delete static_cast<INativeCamera*>(HeldCamera().device.release());
    delete static_cast<Device*>(HeldCamera().device.release());
    delete static_cast<BaseDevice*>(HeldCamera().device.release());
}
