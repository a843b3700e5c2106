#include "DeviceControl/Device.h"

#include "FakeCamera.h"

#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <sstream>
#include <stdexcept>

using Tests::FakeCamera;
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

} // namespace

TEST(Device, IsNamedByItsDescriptionUntilItGetsAName) {
    BareDevice device(nullptr);
    EXPECT_EQ(device.getName(), L"");
    device.setIdentity(BareDevice::describedAs(L"A device"));
    EXPECT_EQ(device.getName(), L"A device");
    device.setName(L"Left wall");
    EXPECT_EQ(device.getName(), L"Left wall");
    device.setName(L"");
    EXPECT_EQ(device.getName(), L"A device");
}

TEST(Device, HasANumberThatNoOtherLivingOneHas) {
    std::set<int> numbers;
    std::vector<std::unique_ptr<BareDevice>> devices;
    for (int i = 0; i < 100; ++i) {
        devices.push_back(std::make_unique<BareDevice>(nullptr));
        EXPECT_GT(devices.back()->getId(), 0);
        EXPECT_TRUE(numbers.insert(devices.back()->getId()).second);
    }
}

TEST(Device, TakesAnotherNumberUnlessItIsTaken) {
    BareDevice first(nullptr);
    auto second = std::make_unique<BareDevice>(nullptr);
    const int numberOfSecond = second->getId();
    first.updateId(first.getId());
    EXPECT_THROW(first.updateId(numberOfSecond), DeviceException);
    EXPECT_NE(first.getId(), numberOfSecond);
    second.reset();
    first.updateId(numberOfSecond);
    EXPECT_EQ(first.getId(), numberOfSecond);
}

TEST(Device, GivesUpItsOldNumberForAnother) {
    BareDevice first(nullptr);
    BareDevice second(nullptr);
    const int old = first.getId();
    first.updateId(1'000'000);
    second.updateId(old);
    EXPECT_EQ(second.getId(), old);
}

TEST(Device, DoesNotGetANumberThatAnotherOneTookForItself) {
    BareDevice first(nullptr);
    first.updateId(BareDevice(nullptr).getId() + 1);
    const BareDevice second(nullptr);
    EXPECT_EQ(second.getId(), first.getId() + 1);
}

TEST(Device, KeepsModelNumberAndPassword) {
    BareDevice device(nullptr);
    EXPECT_EQ(device.getModelId(), 0);
    device.setModelId(61);
    EXPECT_EQ(device.getModelId(), 61);
    EXPECT_EQ(device.getPassword(), L"");
    device.updatePassword(L"secret");
    EXPECT_EQ(device.getPassword(), L"secret");
}

TEST(Device, SaysNothingOfItselfUnlessItIsTold) {
    const BareDevice device(nullptr);
    EXPECT_EQ(device.getUID(), L"");
    EXPECT_EQ(device.getModel(), L"");
    EXPECT_EQ(device.getDescription(), L"");
    EXPECT_EQ(device.getVersion(), L"");
    EXPECT_EQ(device.getMac(), L"");
}

TEST(Device, OwnsItsCommunicator) {
    int destroyed = 0;
    auto* const communicator = new FakeCommunicator(L"a", 1, -1, &destroyed);
    {
        const BareDevice device(communicator);
        EXPECT_EQ(device.getCommunicator(), communicator);
        EXPECT_FALSE(device.isOffline());
        EXPECT_EQ(destroyed, 0);
    }
    EXPECT_EQ(destroyed, 1);
}

TEST(Device, ReplacesItsCommunicator) {
    int destroyed = 0;
    auto* const second = new FakeCommunicator(L"b", 1);
    BareDevice device(new FakeCommunicator(L"a", 1, -1, &destroyed));
    device.setCommunicator(device.getCommunicator());
    EXPECT_EQ(destroyed, 0) << "the same one stays";
    device.setCommunicator(second);
    EXPECT_EQ(destroyed, 1);
    EXPECT_EQ(device.getCommunicator(), second);
    device.setCommunicator(nullptr);
    EXPECT_TRUE(device.isOffline());
}

TEST(Device, IsAliveWhereItsCommunicatorConnects) {
    auto* const communicator = new FakeCommunicator;
    BareDevice device(communicator);
    EXPECT_TRUE(device.isAlive());
    EXPECT_FALSE(communicator->connected) << "nothing stays open";
    communicator->refuses = true;
    EXPECT_FALSE(device.isAlive());
    EXPECT_FALSE(BareDevice(nullptr).isAlive());
}

TEST(Device, FindsItsInterfacesByName) {
    std::wstring words;
    BareDevice device(nullptr);
    auto* const first = new LastWords(device, L"a", words);
    auto* const second = new LastWords(device, L"b", words);
    auto* const third = new LastWords(device, L"a", words);
    device.addInterface(first);
    device.addInterface(second);
    device.addInterface(third);
    EXPECT_EQ(device.getInterface(L"a"), first) << "the first of that name";
    EXPECT_EQ(device.getInterface(L"b"), second);
    EXPECT_EQ(device.getInternalInterface(L"b"), second);
    EXPECT_EQ(device.getInterface(L"c"), nullptr);
    EXPECT_TRUE(device.containsInterface(L"b"));
    EXPECT_FALSE(device.containsInterface(L"B"));
    EXPECT_EQ(device.getInterfaces(), (std::vector<BaseInterface*>{first, second, third}));
}

TEST(Device, DestroysItsInterfacesFromTheLastToTheFirst) {
    std::wstring words;
    BareDevice device(nullptr);
    for (const wchar_t* type : {L"a", L"b", L"c"})
        device.addInterface(new LastWords(device, type, words));
    device.removeAllInterfaces();
    EXPECT_EQ(words, L"cba") << "none is found any more while it goes";
    EXPECT_TRUE(device.getInterfaces().empty());
    device.removeAllInterfaces();
}

TEST(Device, DestroysItsInterfacesWithItself) {
    std::wstring words;
    {
        BareDevice device(nullptr);
        device.addInterface(new LastWords(device, L"a", words));
    }
    EXPECT_EQ(words, L"a");
}

TEST(Device, RefusesANullInterface) {
    BareDevice device(nullptr);
    EXPECT_THROW(device.addInterface(nullptr), std::invalid_argument);
    EXPECT_TRUE(device.getInterfaces().empty());
}

TEST(Device, ObservesUntilItsInterfacesAreRemoved) {
    std::wstring words;
    BareDevice device(nullptr);
    auto* const interface = new LastWords(device, L"a", words);
    device.addInterface(interface);
    interface->registerObserver2([](const std::wstring&) {});
    EXPECT_TRUE(device.observing());
    device.removeAllInterfaces();
    EXPECT_FALSE(device.observing());

    auto* const next = new LastWords(device, L"b", words);
    device.addInterface(next);
    const int number = next->registerObserver2([](const std::wstring&) {});
    EXPECT_TRUE(device.observing()) << "the observers are counted anew";
    next->deregisterObserver(number);
    EXPECT_FALSE(device.observing());
}

TEST(Device, ObservesAsItIsAskedTo) {
    BareDevice device(nullptr);
    EXPECT_FALSE(device.observing());
    device.startObserving();
    EXPECT_TRUE(device.observing());
    device.stopObserving();
    EXPECT_FALSE(device.observing());
}

TEST(Device, TellsTheObserversOfAnInterfaceWhoseDataAreOutOfDate) {
    std::wstring words;
    std::wstring told;
    BareDevice device(nullptr);
    for (const wchar_t* type : {L"a", L"b"}) {
        auto* const interface = new LastWords(device, type, words);
        interface->registerObserver2([&](const std::wstring& from) { told += from; });
        device.addInterface(interface);
    }
    EXPECT_FALSE(device.isDataWaiting());
    device.interfaceInvalid(*device.getInterface(L"b"));
    EXPECT_EQ(told, L"b");
    EXPECT_TRUE(device.isDataWaiting());
    device.setDataWaiting(false);
    EXPECT_FALSE(device.isDataWaiting());
    device.setDataInvalid();
    EXPECT_EQ(told, L"bab");
    EXPECT_TRUE(device.isDataWaiting());
}

TEST(Device, PollsNothing) {
    BareDevice device(nullptr);
    EXPECT_FALSE(device.startThread());
    device.stopPolling();
    EXPECT_FALSE(device.canDeviceDoTiling());
}

TEST(Device, DescribesItsConnection) {
    EXPECT_EQ(BareDevice(new FakeCommunicator(L"10.0.0.5", 32769)).toXml(),
              "<Device>\n"
              "  <connection>\n"
              "    <address>10.0.0.5</address>\n"
              "    <port>32769</port>\n"
              "  </connection>\n"
              "</Device>\n");
}

TEST(Device, DescribesAConnectsTimeOutThatIsNotTheDefault) {
    EXPECT_NE(BareDevice(new FakeCommunicator(L"a", 1, 250)).toXml().find("<timeout>250</timeout>"),
              std::string::npos);
}

TEST(Device, WithoutAddressHasAnEmptyDescription) {
    EXPECT_EQ(BareDevice(nullptr).toXml(), "<Device>\n</Device>\n");
}

TEST(Device, IndentsItsDescription) {
    std::ostringstream stream;
    BareDevice(nullptr).toXml(stream, 3);
    EXPECT_EQ(stream.str(), "   <Device>\n   </Device>\n");
}

TEST(Device, KeepsItsPasswordOutOfItsDescription) {
    FakeCamera camera(new FakeCommunicator);
    camera.updatePassword(L"secret");
    EXPECT_EQ(camera.toXml().find("secret"), std::string::npos);
}
