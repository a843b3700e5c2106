#include "NativeCameraKorva/KorvaCamera.h"

#include "Communicator/DeviceException.h"
#include "Device/CaptureCmds.h"
#include "Device/Exceptions.h"
#include "NativeCameraControl/Imaging2Interface.h"
#include "NativeCameraKorva/KorvaCameraHandlers.h"
#include "NativeCameraKorva/KorvaCameraLoader.h"
#include "NativeCameraKorva/KorvaImaging2Interface.h"
#include "NativeCameraKorva/KorvaImagingInterface.h"
#include "NativeCameraKorva/WrappedD1Exception.h"
#include "PluginLog.h"
#include "StagedDevice.h"
#include "Support/Thrown.h"
#include "Support/VirtualTable.h"

#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>

using namespace Tolvane::DeviceFramework2::Device;
using namespace DeviceFixture;
using namespace PluginLogs;
using TestSupport::entryOf;
using TestSupport::functionAt;

namespace {

struct ADevice : StagedTest {
    World::Peer& camera = staged.camera;
    KorvaCamera& device = *staged.device;
    Codes& codes = staged.reports;
    int done = 0; ///< as the device says that a command is over
    int failed = 0;

    void execute(const std::shared_ptr<Cmd>& command) {
        CmdResultCallbacks callbacks;
        callbacks.done = [this] { ++done; };
        callbacks.failed = [this](const std::exception_ptr&) { ++failed; };
        device.execInternal(command, callbacks);
    }
    template <class Command = Capture::FillMonoImage>
    image_t filled() {
        image_t image;
        execute(std::make_shared<Command>(image, "some key"));
        return image;
    }
};

/// The pixels, if the image is a grey one of 4 x 3.
Bytes greyPixelsOf(const image_t& image) {
    EXPECT_EQ(image.format, 3u);
    EXPECT_EQ(image.width, 4);
    EXPECT_EQ(image.height, 3u);
    return pixelsOf(image);
}

} // namespace

TEST_F(ADevice, HasTheHostsTreeAndItsOwnOperationsDirectlyBehindTheDestructor) {
    static_assert(std::is_base_of_v<NativeCamera, KorvaCamera>);
    static_assert(std::is_convertible_v<NativeCamera*, Device2Bridge*>);
    static_assert(std::is_convertible_v<Device2Bridge*, Device*>);
    static_assert(std::is_convertible_v<BaseDevice*, AbstractDevice*>);
    // Slots 0 to 9 are INativeCamera's, slot 10 is the destructor with its entries 10 and 11.
    EXPECT_EQ(entryOf(&KorvaCamera::setNetworkHealthCallback), 12);
    INativeCamera* const native = &device;
    EXPECT_EQ(dynamic_cast<BaseDevice*>(native), static_cast<BaseDevice*>(&device));
    Codes later;
    functionAt<void(INativeCamera*, NetworkHealthCallback)>(native, 12)(native, into(later));
    Device* const part = &device;
    EXPECT_EQ(&functionAt<const DeviceType&(const Device*)>(part, 4)(part), &getKorvaCameraType());
    EXPECT_FALSE(functionAt<bool(Device*)>(part, 15)(part));
    EXPECT_THAT(later, ElementsAre(2056));
}

TEST_F(ADevice, HasItsPartsFromTheBeginning) {
    EXPECT_THAT(world.calls.of("connect"), IsEmpty()) << "building a device asks the camera nothing";
    EXPECT_TRUE(world.communicators.contains(device.getCommunicator()));
    EXPECT_EQ(device.getCameraInfo().getSerialNumber(), L"4711");
    EXPECT_EQ(device.getResolution(), (Point<int, 2>(4, 3)));
    const std::vector<BaseInterface*> interfaces = device.getInterfaces();
    ASSERT_EQ(interfaces.size(), 2u);
    EXPECT_NE(dynamic_cast<KorvaImagingInterface*>(interfaces[0]), nullptr);
    EXPECT_NE(dynamic_cast<KorvaImaging2Interface*>(interfaces[1]), nullptr);
    EXPECT_EQ(&interfaces[0]->getDevice(), &device);
    EXPECT_EQ(&interfaces[1]->getDevice(), &device);
    EXPECT_EQ(log.linesOf("Korva Internals created").size(), 1u) << "one object for both";
    image_t image;
    EXPECT_TRUE(device.supports(Capture::FillMonoImage(image)));
    EXPECT_TRUE(device.supports(Capture::FillNativeImage(image)));
    EXPECT_TRUE(device.supports(SetNetworkHealthCallback({})));
    EXPECT_FALSE(device.supports(Cmd()));
    EXPECT_FALSE(device.supports(SetCmd<image_t&>(image)));
}

TEST_F(ADevice, HasAnImagingInterfaceOfEightBitsAndASecondThatAnswersZero) {
    ImagingInterface& imaging = staged.imaging();
    EXPECT_EQ(imaging.getInterfaceType(), ImagingInterface::interfaceTypeName);
    EXPECT_EQ(imaging.getResolution(), (Point<int, 2>(4, 3)));
    EXPECT_EQ(imaging.getBitDepth(), 8);
    struct OtherCamera final : NativeCamera {
        OtherCamera() : NativeCamera(nullptr, describedAs(4, 3)) {}
        const DeviceType& getType() const override { throw std::bad_cast(); }
    } other; // no KorvaCamera
    EXPECT_THROW(KorvaImagingInterface(other, nullptr).getResolution(), std::bad_cast);
    auto* const second =
        dynamic_cast<Imaging2Interface*>(device.getInterface(Imaging2Interface::interfaceTypeName));
    ASSERT_NE(second, nullptr);
    second->setBinning(4);
    second->setGamma(2.2);
    EXPECT_EQ(second->getBinning(), 0);
    EXPECT_EQ(second->getGamma(), 0.0);
    EXPECT_EQ(second->getFrameCount(), 0);
    EXPECT_EQ(second->getFrameRate(), 0);
    EXPECT_THAT(camera.requests(), IsEmpty());
}

TEST_F(ADevice, FillsMonoAndNativeImagesAlikeEachWithItsOwnPixelsAndABlackOneWhereTheCaptureFails) {
    answerCapture(camera, greyFile(4, 3));
    const image_t mono = filled();
    answerCapture(camera, greyFile(4, 3, 90));
    const image_t native = filled<Capture::FillNativeImage>();
    EXPECT_EQ(greyPixelsOf(filled()), Bytes(12, 0));
    EXPECT_THAT(codes, ElementsAre(2, 2, 1032));
    EXPECT_EQ(done, 3) << "whoever commands is told once";
    EXPECT_EQ(failed, 0);
    staged.device.reset(); // which a picture outlives
    EXPECT_EQ(greyPixelsOf(mono), greyPixels(12));
    EXPECT_EQ(greyPixelsOf(native), greyPixels(12, 90));
}

TEST_F(ADevice, ReplacesWhatTheImageHeld) {
    answerCapture(camera, greyFile(4, 3));
    int released = 0;
    unsigned char former[6] = {};
    image_t image(image_t::layoutRgb, 2, 1, former, static_cast<int>(PixelBufferMode::borrow));
    image.pixels = image_t::Pixels(former, [&released](unsigned char*) { ++released; });
    execute(std::make_shared<Capture::FillMonoImage>(image));
    EXPECT_EQ(released, 1);
    EXPECT_EQ(greyPixelsOf(image), greyPixels(12));
}

TEST_F(ADevice, FillsAnEmptyImageWhereItsResolutionIsNone) {
    for (const auto& [width, height] : {std::pair{-4, 3}, {4, -3}, {-4, -3}, {2000000, 2000000}}) {
        const StagedDevice odd(width, height);
        image_t image(image_t::layoutGrey, 1, 1, nullptr, 0);
        odd.device->execInternal(std::make_shared<Capture::FillMonoImage>(image), {});
        EXPECT_EQ(image.pixels, nullptr);
        EXPECT_EQ(image.width, 0);
    }
}

TEST_F(ADevice, RefusesACommandThatIsNotWhatItsNameSays) {
    struct Impostor final : Cmd {
        explicit Impostor(std::string itsName) : name(std::move(itsName)) {}
        std::string getTypeName() const override { return name; }
        std::string name;
    };
    for (const std::type_info* const type :
         {&typeid(Capture::FillMonoImage), &typeid(Capture::FillNativeImage),
          &typeid(SetNetworkHealthCallback)})
        EXPECT_THROW(execute(std::make_shared<Impostor>(type->name())),
                     Exceptions::IncorrectCommandTypeException);
    EXPECT_EQ(failed, 3);
    EXPECT_EQ(done, 0);
    EXPECT_THAT(camera.requests(), IsEmpty());
}

TEST_F(ADevice, KeepsOnlyTheLaterNetworkHealthCallback) {
    Codes later;
    execute(std::make_shared<SetNetworkHealthCallback>(into(later)));
    EXPECT_FALSE(device.isAlive());
    EXPECT_THAT(codes, IsEmpty());
    EXPECT_THAT(later, ElementsAre(2056));
    execute(std::make_shared<SetNetworkHealthCallback>(nullptr));
    EXPECT_FALSE(device.isAlive());
    EXPECT_THAT(later, ElementsAre(2056));
}

TEST_F(ADevice, GoesOnWithoutItsInterfaces) {
    Codes later;
    device.removeAllInterfaces();
    EXPECT_FALSE(device.isAlive());
    device.setNetworkHealthCallback(into(later));
    EXPECT_EQ(pixelsOf(filled()), Bytes(12, 0));
    answerCapture(camera, greyFile(4, 3));
    EXPECT_EQ(pixelsOf(filled()), greyPixels(12));
    EXPECT_THAT(codes, ElementsAre(2056));
    EXPECT_THAT(later, ElementsAre(1032, 2));
}

TEST_F(ADevice, LetsAHealthCallbackRemoveTheInterfaces) {
    for (const bool throughInterface : {false, true}) {
        StagedDevice own;
        answerCapture(camera, greyFile(4, 3));
        KorvaCamera& its = *own.device;
        its.setNetworkHealthCallback([&its](NetworkHealth) { its.removeAllInterfaces(); });
        image_t image;
        if (throughInterface) {
            own.capture();
        } else {
            its.execInternal(std::make_shared<Capture::FillMonoImage>(image), {});
            EXPECT_EQ(pixelsOf(image), greyPixels(12));
        }
        EXPECT_THAT(its.getInterfaces(), IsEmpty());
    }
}

TEST_F(ADevice, TakesEverythingAlongWhenItGoesItsInterfacesFirst) {
    const Device& part = device;
    std::vector<bool> isCamera; // still one, when its internals go
    {
        const std::shared_ptr<void> token(
            nullptr, [&](void*) { isCamera.push_back(typeid(part) == typeid(KorvaCamera)); });
        device.setNetworkHealthCallback([token](NetworkHealth) {});
    }
    answerCapture(camera, greyFile(4, 3));
    filled();
    int notices = 0;
    device.getInterfaces().front()->registerObserver2([&notices](const std::wstring&) { ++notices; });
    EXPECT_TRUE(device.observing());
    EXPECT_THAT(isCamera, IsEmpty());
    EXPECT_NO_THROW(staged.device.reset());
    EXPECT_THAT(isCamera, ElementsAre(true));
    EXPECT_THAT(world.communicators, IsEmpty());
    EXPECT_EQ(notices, 0) << "whoever observes it hears nothing of its end";
}

TEST_F(ADevice, MayBeDestroyedThroughEveryPart) {
    delete static_cast<INativeCamera*>(StagedDevice().device.release());
    delete static_cast<Device*>(StagedDevice().device.release());
    delete static_cast<BaseDevice*>(StagedDevice().device.release());
    EXPECT_EQ(world.communicators.size(), 1u); // that of the fixture's own
}

// The handlers of commands, by themselves.

namespace {

using ImageCmd = SetCmd<image_t&>;

/// What a handler whose work throws `inner` throws as an `Outer`.
template <class Outer, class Inner>
std::string thrownFor(const Inner& inner) {
    image_t image;
    const auto handler = Korva::makeCmdHandler<ImageCmd>([&inner](const ImageCmd&) { throw inner; });
    const std::shared_ptr<Cmd> command = std::make_shared<Capture::FillMonoImage>(image, "key");
    const std::string text = TestSupport::thrownBy<Outer>([&] { handler(command, {}); });
    EXPECT_EQ(command.use_count(), 1);
    return text;
}

} // namespace

TEST(CmdHandlers, GiveTheWorkTheCommandAndRefuseNoneAndOneOfAnotherKindWhichTheyName) {
    image_t image;
    const std::shared_ptr<Cmd> command = std::make_shared<Capture::FillMonoImage>(image, "key");
    const std::shared_ptr<Cmd> other = std::make_shared<SetNetworkHealthCallback>(nullptr);
    const ImageCmd* got = nullptr;
    const auto handler = Korva::makeCmdHandler<ImageCmd>([&got](const ImageCmd& given) { got = &given; });
    for (const std::shared_ptr<Cmd>& refused : {other, std::shared_ptr<Cmd>()}) {
        try {
            handler(refused, {});
            FAIL() << "the handler took the command";
        } catch (const Exceptions::IncorrectCommandTypeException& failure) {
            EXPECT_EQ(failure.getCommand(), refused);
        }
    }
    EXPECT_EQ(got, nullptr);
    handler(command, {});
    EXPECT_EQ(got, command.get());
    EXPECT_EQ(command.use_count(), 1);
    EXPECT_EQ(other.use_count(), 1);
}

TEST(CmdHandlers, WrapExceptionsOfTheOlderLayerAndLetEveryOtherPass) {
    using Exceptions::WrappedD1Exception;
    const std::string prefix = "A Device1 layer exception caught: ";
    EXPECT_EQ(thrownFor<WrappedD1Exception>(TolvaneException(L"K\u00E4mera weg", L"File.cpp", 7)),
              prefix + "[K\xC3\xA4mera weg]");
    EXPECT_EQ(thrownFor<WrappedD1Exception>(DeviceException(L"gone")), prefix + "[gone]");
    EXPECT_EQ(thrownFor<std::runtime_error>(std::runtime_error("plain")), "plain");
    EXPECT_EQ(thrownFor<TolvaneExceptionBase>(TolvaneExceptionBase(L"root")), "root");
}

TEST_F(ADevice, WrapsAnExceptionOfTheOlderLayerThatACommandMeets) {
    struct Uncopied {
        const bool& isArmed;
        Uncopied(const bool& armed) : isArmed(armed) {}
        Uncopied(const Uncopied& other) : isArmed(other.isArmed) {
            if (isArmed)
                throw TolvaneException(L"not copied");
        }
        void operator()(NetworkHealth) const {}
    };
    bool isArmed = false;
    const auto command = std::make_shared<SetNetworkHealthCallback>(Uncopied(isArmed));
    isArmed = true;
    EXPECT_THROW(execute(command), Exceptions::WrappedD1Exception);
    EXPECT_EQ(failed, 1);
}

TEST(WrappedD1Exception, IsADeviceExceptionOfTheNewerLayerThatWrapsTheMessageInUtf8) {
    static_assert(std::is_base_of_v<Exceptions::DeviceException, Exceptions::WrappedD1Exception>);
    const auto textOf = [](const wchar_t* message) {
        const Exceptions::WrappedD1Exception failure(message);
        return std::string(static_cast<const Exceptions::DeviceException&>(failure).what());
    };
    EXPECT_EQ(textOf(L"\U0001F4F7"), "A Device1 layer exception caught: [\xF0\x9F\x93\xB7]");
    EXPECT_EQ(textOf(L""), "A Device1 layer exception caught: []");
    World::Calls::current().failAlways("WideCharToMultiByte", 0);
    EXPECT_EQ(textOf(L"it broke"), "A Device1 layer exception caught: []");
    World::Calls::current().failNoMore();
}
