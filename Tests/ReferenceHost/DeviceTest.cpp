#include "DeviceControl/Device.h"

#include "FakeCamera.h"

#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <sstream>
#include <stdexcept>

using Tests::FakeCommunicator;

namespace {

/// A device that says nothing of itself.
class BareDevice : public Device2Bridge {
public:
    using Device2Bridge::Device2Bridge;
    const DeviceType& getType() const override {
        static const Tests::FakeType type;
        return type;
    }
    using Device::setIdentity;
    static Identity describedAs(const std::wstring& description) {
        Identity identity;
        identity.description = description;
        return identity;
    }
};

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

    std::wstring words;
    std::unique_ptr<BareDevice> device = std::make_unique<BareDevice>(nullptr);
};

} // namespace

TEST_F(ADevice, IsNamedByItsDescriptionUntilItGetsAName) {
    EXPECT_EQ(device->getName(), L"");
    device->setIdentity(BareDevice::describedAs(L"A device"));
    EXPECT_EQ(device->getName(), L"A device");
    device->setName(L"Left wall");
    EXPECT_EQ(device->getName(), L"Left wall");
    device->setName(L"");
    EXPECT_EQ(device->getName(), L"A device");
}

TEST_F(ADevice, HasANumberThatNoOtherLivingOneHas) {
    std::set<int> numbers;
    std::vector<std::unique_ptr<BareDevice>> devices;
    for (int i = 0; i < 100; ++i) {
        devices.push_back(std::make_unique<BareDevice>(nullptr));
        EXPECT_GT(devices.back()->getId(), 0);
        EXPECT_TRUE(numbers.insert(devices.back()->getId()).second);
    }
}

TEST_F(ADevice, TakesAnotherNumberUnlessItIsTakenAndGivesUpItsOwn) {
    auto second = std::make_unique<BareDevice>(nullptr);
    const int numberOfFirst = device->getId();
    const int numberOfSecond = second->getId();
    device->updateId(numberOfFirst);
    EXPECT_THROW(device->updateId(numberOfSecond), DeviceException);
    EXPECT_EQ(device->getId(), numberOfFirst);
    second.reset();
    device->updateId(numberOfSecond);
    EXPECT_EQ(device->getId(), numberOfSecond);
    BareDevice third(nullptr);
    third.updateId(numberOfFirst);
    EXPECT_EQ(third.getId(), numberOfFirst);
}

TEST_F(ADevice, DoesNotGetANumberThatAnotherOneTookForItself) {
    device->updateId(BareDevice(nullptr).getId() + 1);
    EXPECT_EQ(BareDevice(nullptr).getId(), device->getId() + 1);
}

TEST_F(ADevice, SaysAndDoesNothingByItselfUnlessItIsTold) {
    for (const std::wstring& text : {device->getUID(), device->getModel(), device->getDescription(),
                                     device->getVersion(), device->getMac(), device->getPassword()})
        EXPECT_EQ(text, L"");
    EXPECT_EQ(device->getModelId(), 0);
    device->setModelId(61);
    EXPECT_EQ(device->getModelId(), 61);
    device->updatePassword(L"secret");
    EXPECT_EQ(device->getPassword(), L"secret");
    EXPECT_FALSE(device->startThread());
    device->stopPolling();
    EXPECT_FALSE(device->canDeviceDoTiling());
}

TEST_F(ADevice, OwnsItsCommunicatorAndReplacesIt) {
    const auto token = std::make_shared<int>();
    auto* const first = new FakeCommunicator(L"a", 1, -1, token);
    auto* const second = new FakeCommunicator(L"b", 1, -1);
    device->setCommunicator(first);
    EXPECT_EQ(device->getCommunicator(), first);
    EXPECT_FALSE(device->isOffline());
    device->setCommunicator(first);
    EXPECT_EQ(token.use_count(), 2) << "the same one stays";
    device->setCommunicator(second);
    EXPECT_EQ(token.use_count(), 1);
    EXPECT_EQ(device->getCommunicator(), second);
    device->setCommunicator(nullptr);
    EXPECT_TRUE(device->isOffline());
    device = std::make_unique<BareDevice>(new FakeCommunicator(L"c", 1, -1, token));
    EXPECT_EQ(token.use_count(), 2);
    device.reset();
    EXPECT_EQ(token.use_count(), 1);
}

TEST_F(ADevice, IsAliveWhereItsCommunicatorConnects) {
    EXPECT_FALSE(device->isAlive());
    auto* const communicator = new FakeCommunicator;
    device->setCommunicator(communicator);
    EXPECT_TRUE(device->isAlive());
    EXPECT_FALSE(communicator->connected) << "nothing stays open";
    communicator->refuses = true;
    EXPECT_FALSE(device->isAlive());
}

TEST_F(ADevice, FindsItsInterfacesByName) {
    EXPECT_THROW(device->addInterface(nullptr), std::invalid_argument);
    BaseInterface* const first = add(L"a");
    BaseInterface* const second = add(L"b");
    BaseInterface* const third = add(L"a");
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
    device->removeAllInterfaces();
    add(L"d");
    device.reset();
    EXPECT_EQ(words, L"cbad") << "and with itself";
}

TEST_F(ADevice, ObservesUntilItsInterfacesAreRemovedAndAsItIsAskedTo) {
    add(L"a")->registerObserver2([](const std::wstring&) {});
    EXPECT_TRUE(device->observing());
    device->removeAllInterfaces();
    EXPECT_FALSE(device->observing());
    BaseInterface* const next = add(L"b");
    const int number = next->registerObserver2([](const std::wstring&) {});
    EXPECT_TRUE(device->observing()) << "the observers are counted anew";
    next->deregisterObserver(number);
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

TEST_F(ADevice, DescribesItsConnectionAndATimeOutThatIsNotTheDefault) {
    EXPECT_EQ(device->toXml(), "<Device>\n</Device>\n");
    std::ostringstream stream;
    device->toXml(stream, 3);
    EXPECT_EQ(stream.str(), "   <Device>\n   </Device>\n");
    device->setCommunicator(new FakeCommunicator(L"10.0.0.5", 32769));
    device->updatePassword(L"secret"); // which is nobody's business
    EXPECT_EQ(device->toXml(), "<Device>\n"
                               "  <connection>\n"
                               "    <address>10.0.0.5</address>\n"
                               "    <port>32769</port>\n"
                               "  </connection>\n"
                               "</Device>\n");
    device->setCommunicator(new FakeCommunicator(L"a", 1, 250));
    EXPECT_NE(device->toXml().find("<timeout>250</timeout>"), std::string::npos);
}

TEST_F(ADevice, KeepsItsPasswordOutOfACamerasDescription) {
    Tests::FakeCamera camera(new FakeCommunicator);
    camera.updatePassword(L"secret");
    EXPECT_EQ(camera.toXml().find("secret"), std::string::npos);
}
