#include "DeviceControl/BaseInterface.h"

#include "FakeCamera.h"
#include "NativeCameraControl/Imaging2Interface.h"

#include <gtest/gtest.h>
#include <stdexcept>

namespace {

class Interface : public testing::Test {
protected:
    /// An observer that notes its letter.
    BaseInterface::Observer note(char letter) {
        return [this, letter](const std::wstring& type) {
            EXPECT_EQ(type, L"Weather");
            notes += letter;
        };
    }

    Tests::FakeCamera camera;
    BaseInterface weather{camera, L"Weather"};
    std::string notes;
};

} // namespace

TEST_F(Interface, TellsItsObserversInTheOrderOfRegistration) {
    for (const char letter : {'a', 'b', 'c'})
        weather.registerObserver2(note(letter));
    weather.updateObservers();
    weather.updateObservers();
    EXPECT_EQ(notes, "abcabc");
}

TEST_F(Interface, ForgetsAnObserverByItsNumberWhichIsNeverGivenTwice) {
    const int a = weather.registerObserver2(note('a'));
    weather.deregisterObserver(a);
    const int b = weather.registerObserver2(note('b'));
    EXPECT_NE(a, b);
    for (const int unknown : {a, 4711}) {
        weather.deregisterObserver(unknown);
        EXPECT_TRUE(camera.observing());
    }
    weather.updateObservers();
    EXPECT_EQ(notes, "b");
}

TEST_F(Interface, LetsAnObserverDeregisterItselfWhileItIsTold) {
    int own = 0;
    auto held = std::make_shared<std::string>("held");
    own = weather.registerObserver2([&, held = std::move(held)](const std::wstring&) {
        weather.deregisterObserver(own);
        notes += *held;
    });
    weather.registerObserver2(note('b'));
    weather.updateObservers();
    weather.updateObservers();
    EXPECT_EQ(notes, "heldbb");
}

TEST_F(Interface, DoesNotTellAnObserverThatAnotherOneDeregistered) {
    int b = 0;
    weather.registerObserver2([&](const std::wstring&) { weather.deregisterObserver(b); });
    b = weather.registerObserver2(note('b'));
    weather.registerObserver2(note('c'));
    weather.updateObservers();
    EXPECT_EQ(notes, "c");
}

TEST_F(Interface, TellsAnObserverThatCameMeanwhileOnlyNextTime) {
    bool registered = false;
    weather.registerObserver2([&](const std::wstring&) {
        if (!std::exchange(registered, true))
            weather.registerObserver2(note('b'));
    });
    weather.updateObservers();
    EXPECT_EQ(notes, "");
    weather.updateObservers();
    EXPECT_EQ(notes, "b");
}

TEST_F(Interface, PassesAnObserversExceptionOn) {
    weather.registerObserver2(note('a'));
    weather.registerObserver2([](const std::wstring&) { throw std::runtime_error("broken"); });
    weather.registerObserver2(note('c'));
    EXPECT_THROW(weather.updateObservers(), std::runtime_error);
    EXPECT_EQ(notes, "a");
}

TEST_F(Interface, TellsItsDeviceOfTheFirstAndTheLastObserver) {
    EXPECT_THROW(weather.registerObserver2({}), std::invalid_argument);
    EXPECT_FALSE(camera.observing());
    const int a = weather.registerObserver2(note('a'));
    const int b = weather.registerObserver2(note('b'));
    weather.deregisterObserver(a);
    EXPECT_TRUE(camera.observing());
    weather.deregisterObserver(b);
    EXPECT_FALSE(camera.observing());
}

TEST_F(Interface, KnowsItsDeviceAndHasItsGenerationsName) {
    EXPECT_EQ(&weather.getDevice(), &camera);
    EXPECT_EQ(weather.getInterfaceType(), L"Weather");
    class Second : public Imaging2Interface {
    public:
        using Imaging2Interface::Imaging2Interface;
        int getBinning() override { return 0; }
        void setBinning(int) override {}
        double getGamma() override { return 0; }
        void setGamma(double) override {}
        int getFrameCount() override { return 0; }
        int getFrameRate() override { return 0; }
    };
    EXPECT_EQ(Tests::FakeImaging(camera).getInterfaceType(), ImagingInterface::interfaceTypeName);
    EXPECT_EQ(Second(camera).getInterfaceType(), Imaging2Interface::interfaceTypeName);
    EXPECT_NE(ImagingInterface::interfaceTypeName, Imaging2Interface::interfaceTypeName);
}
