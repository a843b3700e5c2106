// What a device, a camera, their interfaces and their types do by themselves, before a family adds its own.

#include "FakeCamera.h"

#include "Communicator/DeviceException.h"
#include "Device/CaptureCmds.h"
#include "DeviceControl/DeviceTypeManager.h"
#include "VantrelCommon/NetworkHealth.h"

#include <gtest/gtest.h>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <tuple>

using namespace Tolvane::DeviceFramework2::Device;
using Tests::FakeCamera;
using Tests::FakeCommunicator;
using Tests::FakeType;
using Tests::filledInfo;

namespace {

/// Notes its letter when it goes, and whether its device still found it then.
class LastWords : public BaseInterface {
public:
    LastWords(Device& device, const std::wstring& type, std::wstring& words)
        : BaseInterface(device, type), words_(words) {}
    LastWords(const LastWords&) = delete;
    LastWords& operator=(const LastWords&) = delete;
    ~LastWords() override {
        words_ += getInterfaceType();
        if (getDevice().containsInterface(getInterfaceType()))
            words_ += L'!';
    }

private:
    std::wstring& words_;
};

struct ADevice : testing::Test {
    /// An interface of that name that the device now owns.
    BaseInterface* add(const wchar_t* type) {
        device->addInterface(new LastWords(*device, type, words));
        return device->getInterfaces().back();
    }

    /// An observer of the weather that notes its letter.
    BaseInterface::Observer note(wchar_t letter) {
        return [this, letter](const std::wstring& type) {
            EXPECT_EQ(type, L"Weather");
            words += letter;
        };
    }

    std::wstring words;
    std::unique_ptr<FakeCamera> device = std::make_unique<FakeCamera>(filledInfo());
    BaseInterface weather{*device, L"Weather"};
};

using AnInterface = ADevice;

} // namespace

TEST_F(ADevice, TellsWhoItIs) {
    EXPECT_EQ(device->getUID(), L"serial");
    EXPECT_EQ(device->getModel(), L"model");
    EXPECT_EQ(device->getVersion(), L"fw");
    EXPECT_EQ(device->getMac(), L"mac");
    EXPECT_EQ(device->getResolution(), (Point<int, 2>(-3, 2147483647)));
    EXPECT_EQ(device->getCameraInfo().toXml(), filledInfo().toXml());
    EXPECT_EQ(device->getEmbeddedIntrinsics(), L"");
}

TEST_F(ADevice, IsDescribedInOneLineByWhatIsKnownAndWithoutSerialNumberKnownByItsMacAddress) {
    for (const auto& [model, ip, serial, description, uid] : {
             std::tuple(L"M61", L"10.0.0.5", L"K-1", L"M61, 10.0.0.5, serial number K-1", L"K-1"),
             std::tuple(L"M61", L"10.0.0.5", L"", L"M61, 10.0.0.5", L"mac"),
             std::tuple(L"", L"", L"K-1", L"serial number K-1", L"K-1"),
             std::tuple(L"", L"", L"", L"", L"mac"),
             std::tuple(L"Meri\ndian\x1b[31m\x7f\x85", L"\U0001F600", L"",
                        L"Meri\uFFFDdian\uFFFD[31m\uFFFD\uFFFD, \U0001F600", L"mac"),
         }) {
        CameraInfo info = filledInfo();
        info.setModel(model);
        info.setIpAddress(ip);
        info.setSerialNumber(serial);
        EXPECT_EQ(FakeCamera(info).getDescription(), description);
        EXPECT_EQ(FakeCamera(info).getUID(), uid);
    }
}

TEST_F(ADevice, IsNamedByItsDescriptionUntilItGetsAName) {
    for (const wchar_t* name : {L"", L"Left wall", L""}) {
        device->setName(name);
        EXPECT_EQ(device->getName(), *name == L'\0' ? device->getDescription() : name);
    }
}

TEST_F(ADevice, TakesAnotherNumberUnlessItIsTakenAndGivesUpItsOwn) {
    auto second = std::make_unique<FakeCamera>();
    const int numberOfFirst = device->getId();
    const int numberOfSecond = second->getId();
    device->updateId(numberOfFirst);
    EXPECT_THROW(device->updateId(numberOfSecond), DeviceException);
    EXPECT_EQ(device->getId(), numberOfFirst);
    second.reset();
    device->updateId(numberOfSecond);
    EXPECT_EQ(device->getId(), numberOfSecond);
    FakeCamera third;
    third.updateId(numberOfFirst);
    EXPECT_EQ(third.getId(), numberOfFirst);
    third.updateId(FakeCamera().getId() + 1);
    EXPECT_EQ(FakeCamera().getId(), third.getId() + 1) << "it is taken before it comes";
}

TEST_F(ADevice, DoesNothingByItselfAndNotesWhatItIsTold) {
    EXPECT_EQ(device->getModelId(), 0);
    device->setModelId(61);
    EXPECT_EQ(device->getModelId(), 61);
    EXPECT_EQ(device->getPassword(), L"");
    device->updatePassword(L"secret");
    EXPECT_EQ(device->getPassword(), L"secret");
    EXPECT_FALSE(device->startThread());
    device->stopPolling();
    EXPECT_FALSE(device->canDeviceDoTiling());
}

TEST_F(ADevice, OwnsItsCommunicatorAndReplacesIt) {
    const auto token = std::make_shared<int>();
    using WatchedCommunicator = Tests::Watched<FakeCommunicator>;
    auto* const first = new WatchedCommunicator(token);
    for (int time = 0; time < 2; ++time) {
        device->setCommunicator(first);
        EXPECT_EQ(device->getCommunicator(), first);
        EXPECT_EQ(token.use_count(), 2) << "the same one stays";
    }
    EXPECT_FALSE(device->isOffline());
    device->setCommunicator(nullptr);
    EXPECT_EQ(token.use_count(), 1);
    EXPECT_TRUE(device->isOffline());
    { const FakeCamera owner({}, new WatchedCommunicator(token)); }
    EXPECT_EQ(token.use_count(), 1);
}

TEST_F(ADevice, FindsItsInterfacesByName) {
    EXPECT_THROW(device->addInterface(nullptr), std::invalid_argument);
    BaseInterface* const first = add(L"a");
    BaseInterface* const second = add(L"b");
    BaseInterface* const third = add(L"a");
    EXPECT_EQ(first->getInterfaceType(), L"a");
    EXPECT_EQ(device->getInterface(L"a"), first) << "the first of that name";
    EXPECT_EQ(device->getInterface(L"b"), second);
    EXPECT_EQ(device->getInternalInterface(L"b"), second);
    EXPECT_EQ(device->getInterface(L"c"), nullptr);
    EXPECT_TRUE(device->containsInterface(L"b"));
    EXPECT_FALSE(device->containsInterface(L"B"));
    EXPECT_EQ(device->getInterfaces(), (std::vector<BaseInterface*>{first, second, third}));
}

TEST_F(ADevice, DestroysItsInterfacesFromTheLastToTheFirst) {
    for (const wchar_t* type : {L"a", L"b", L"c"})
        add(type);
    device->removeAllInterfaces();
    EXPECT_EQ(words, L"cba") << "none is found any more while it goes";
    EXPECT_TRUE(device->getInterfaces().empty());
    add(L"d");
    add(L"e");
    device.reset();
    EXPECT_EQ(words, L"cbaed") << "and with itself";
}

TEST_F(ADevice, ObservesFromItsFirstObserverToItsLastOrToItsInterfacesEndAndAsItIsAskedTo) {
    EXPECT_THROW(weather.registerObserver2({}), std::invalid_argument);
    EXPECT_FALSE(device->observing());
    const int a = weather.registerObserver2(note(L'a'));
    const int b = add(L"b")->registerObserver2(note(L'b'));
    weather.deregisterObserver(a);
    EXPECT_TRUE(device->observing());
    device->getInterface(L"b")->deregisterObserver(b);
    EXPECT_FALSE(device->observing());
    weather.registerObserver2(note(L'c'));
    device->removeAllInterfaces();
    EXPECT_FALSE(device->observing());
    const int d = weather.registerObserver2(note(L'd'));
    EXPECT_TRUE(device->observing()) << "the observers are counted anew";
    weather.deregisterObserver(d);
    EXPECT_FALSE(device->observing());
    device->startObserving();
    EXPECT_TRUE(device->observing());
    device->stopObserving();
    EXPECT_FALSE(device->observing());
}

TEST_F(ADevice, TellsTheObserversOfAnInterfaceWhoseDataAreOutOfDate) {
    std::wstring told;
    for (const wchar_t* type : {L"a", L"b"})
        add(type)->registerObserver2([&](const std::wstring& from) { told += from; });
    EXPECT_FALSE(device->isDataWaiting());
    device->interfaceInvalid(*device->getInterface(L"b"));
    EXPECT_EQ(told, L"b");
    EXPECT_TRUE(device->isDataWaiting());
    device->setDataWaiting(false);
    EXPECT_FALSE(device->isDataWaiting());
    device->setDataInvalid();
    EXPECT_EQ(told, L"bab");
    EXPECT_TRUE(device->isDataWaiting());
}

TEST_F(ADevice, IsWrittenWithItsConnectionAndATimeOutThatIsNotTheDefaultAndWithoutItsPassword) {
    const std::string info = filledInfo().toXml(2);
    const std::string connection = "  <connection>\n"
                                   "    <address>10.0.0.5</address>\n"
                                   "    <port>32769</port>\n";
    device->updatePassword(L"secret");
    EXPECT_EQ(device->toXml(), "<Device>\n" + info + "</Device>\n");
    device->setCommunicator(new FakeCommunicator);
    EXPECT_EQ(device->toXml(), "<Device>\n" + info + connection + "  </connection>\n</Device>\n");
    device->setCommunicator(new FakeCommunicator(L"10.0.0.5", 250));
    EXPECT_EQ(device->toXml(),
              "<Device>\n" + info + connection + "    <timeout>250</timeout>\n  </connection>\n</Device>\n");
    std::ostringstream stream;
    FakeCamera().toXml(stream, 3);
    EXPECT_EQ(stream.str(), "   <Device>\n" + CameraInfo().toXml(5) + "   </Device>\n");
}

TEST_F(ADevice, TakesDepthAndExposureFromItsImagingInterfaceAndHasNoGain) {
    EXPECT_EQ(device->getBitDepth(), 8);
    EXPECT_EQ(device->getExposureTime(), 0);
    EXPECT_THROW(device->setExposureTime(1), DeviceException);
    device->addInterface(new Tests::FakeImaging(*device));
    EXPECT_EQ(device->getExposureTime(), 150000);
    device->setExposureTime(-5);
    EXPECT_EQ(device->getExposureTime(), -5);
    EXPECT_EQ(device->getBitDepth(), 12);
    EXPECT_NO_THROW(device->setBitDepth(12));
    EXPECT_THROW(device->setBitDepth(8), DeviceException);
    EXPECT_FALSE(device->hasGainControl());
    EXPECT_EQ(device->getGain(), 1.0);
    EXPECT_NO_THROW(device->setGain(1.0));
    EXPECT_THROW(device->setGain(2.0), DeviceException);
}

TEST_F(AnInterface, TellsItsObserversInTheOrderOfRegistrationUntilOneThrows) {
    for (const wchar_t letter : {L'a', L'b', L'c'})
        weather.registerObserver2(note(letter));
    weather.updateObservers();
    EXPECT_EQ(words, L"abc");
    weather.registerObserver2([](const std::wstring&) { throw std::runtime_error("broken"); });
    weather.registerObserver2(note(L'd'));
    EXPECT_THROW(weather.updateObservers(), std::runtime_error);
    EXPECT_EQ(words, L"abcabc");
}

TEST_F(AnInterface, ForgetsAnObserverByItsNumberWhichIsNeverGivenTwice) {
    const int a = weather.registerObserver2(note(L'a'));
    weather.deregisterObserver(a);
    EXPECT_NE(weather.registerObserver2(note(L'b')), a);
    for (const int unknown : {a, 4711}) {
        weather.deregisterObserver(unknown);
        EXPECT_TRUE(device->observing());
    }
    weather.updateObservers();
    EXPECT_EQ(words, L"b");
}

TEST_F(AnInterface, MayLoseAndGainObserversWhileItTellsThem) {
    int a = 0;
    int c = 0;
    a = weather.registerObserver2([&, held = std::make_shared<wchar_t>(L'a')](const std::wstring&) {
        weather.deregisterObserver(a);
        weather.registerObserver2(note(L'd'));
        words += *held;
    });
    weather.registerObserver2([&](const std::wstring&) { weather.deregisterObserver(c); });
    c = weather.registerObserver2(note(L'c'));
    weather.updateObservers();
    EXPECT_EQ(words, L"a") << "the lost one is not told, the new one not yet";
    weather.updateObservers();
    EXPECT_EQ(words, L"ad");
}

TEST(NetworkHealth, HasATextForEveryCode) {
    for (const auto& [code, text] : {std::pair(2, L"picture captured"), std::pair(1032, L"capture failed"),
                                     std::pair(2056, L"connection check failed"),
                                     std::pair(0, L"unknown status"), std::pair(-1, L"unknown status")})
        EXPECT_EQ(NetworkHealth(code).getText(), text);
}

TEST(DeviceType, OwnsItsFactoriesAlsoIfItsConstructionFails) {
    struct FailingType : FakeType {
        FailingType(DeviceFramework1Locator* locator, DeviceBuilder* builder) : FakeType(locator, builder) {
            EXPECT_EQ(&getLocator(), locator);
            EXPECT_EQ(&getBuilder(), builder);
            throw std::runtime_error("broken");
        }
    };
    using Locator = Tests::Watched<Tests::FakeLocator>;
    using Builder = Tests::Watched<Tests::FakeBuilder>;
    const auto token = std::make_shared<int>();
    EXPECT_THROW(FailingType(new Locator(token), new Builder(token)), std::runtime_error);
    EXPECT_EQ(token.use_count(), 1);
    { const FakeType type(new Locator(token), new Builder(token)); }
    EXPECT_EQ(token.use_count(), 1);
}

TEST(DeviceType, SupportsTheHostsThreeCommands) {
    image_t image;
    const FakeType type;
    EXPECT_TRUE(type.supports(Capture::FillMonoImage(image)));
    EXPECT_TRUE(type.supports(Capture::FillNativeImage(image)));
    EXPECT_TRUE(type.supports(SetNetworkHealthCallback({})));
    EXPECT_FALSE(type.supports(SetCmd<image_t&>(image)));
    EXPECT_FALSE(type.supports(Cmd("FillMonoImage")));
}

TEST(TypeManager, KeepsTypesInTheOrderOfTheirAdditionAndForgetsTheLatestOfATypeOrAll) {
    using Types = std::vector<const DeviceType*>;
    DeviceTypeManager& manager = DeviceTypeManager::getInstance();
    const FakeType first;
    const FakeType second;
    for (const FakeType* type : {&first, &second, &first})
        manager.addDeviceType(*type);
    EXPECT_EQ(manager.getDeviceTypes(), (Types{&first, &second, &first}));
    manager.removeDeviceType(first);
    EXPECT_EQ(manager.getDeviceTypes(), (Types{&first, &second}));
    manager.removeDeviceType(first);
    manager.removeDeviceType(first);
    EXPECT_EQ(manager.getDeviceTypes(), (Types{&second})) << "what is not there is ignored";
    manager.addDeviceType(first);
    DeviceTypeManager::getInstance().clear();
    EXPECT_EQ(manager.getDeviceTypes(), Types{});
}
