// The registration where memory is short and where the host throws: nothing is registered, and the next call
// makes the type and registers it.

#include "Allocations.h"

#include "Communicator/DeviceException.h"
#include "NativeCameraKorva/PluginFixture.h"
#include "Support/LogCapture.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <new>

namespace {

using namespace Torture;

/// The built plug-in, loaded for one registration that fails and another that does not.
struct Registration {
    TestSupport::LogCapture log{"Plenar.NativeCameraKorva.KorvaCameraLoader"};
    PluginTests::Plugin plugin;

    /// Whether it throws that. If so, nothing is registered.
    template <class Exception>
    bool throws() const {
        bool threw = false;
        try {
            plugin.initialize(1);
        } catch (const Exception&) {
            threw = true;
        }
        const TestSupport::OutsidePlugin outside;
        EXPECT_EQ(PluginTests::registeredTypes().empty(), threw);
        return threw;
    }

    /// It registers the one type that there is.
    ~Registration() {
        DeviceTypeManager::getInstance().clear();
        plugin.initialize(1);
        EXPECT_THAT(PluginTests::registeredTypes(), ::testing::ElementsAre(&plugin.cameraType()));
    }
};

template <class Exception>
bool passesOn(const Exception& exception) {
    const Registration registration;
    World::Calls::current().throwFrom("addDeviceType", exception);
    return registration.throws<Exception>();
}

TEST(RegistrationTorture, OfEachAllocationThrowsAndSucceedsAfterwards) {
    int thrown = 0;
    const auto failOne = [&thrown](int number) {
        const Registration registration;
        bool threw = false;
        const bool wasReached =
            failAllocation(number, [&] { threw = registration.throws<std::bad_alloc>(); });
        // Else it was for a log line, which is then cut short.
        EXPECT_TRUE(wasReached || !threw);
        thrown += threw ? 1 : 0;
        return wasReached;
    };
    failOne(0);
    int number = 1;
    for (; failOne(number); ++number) {
        EXPECT_EQ(leakOf([&] { failOne(number); }), 0) << "allocation " << number;
        ASSERT_LT(number, 1000);
    }
    EXPECT_GT(thrown, number);
    std::printf("figure: allocations failed once in turn, registration: %d\n", number - 1);
}

TEST(RegistrationTorture, PassesOnWhatTheHostsRegistryThrows) {
    const int thrown = passesOn(DeviceException(L"torture")) + passesOn(TolvaneException(L"torture")) +
                       passesOn(std::bad_alloc()) + passesOn(42);
    EXPECT_EQ(thrown, 4);
    std::printf("figure: host calls that threw at the registration: %d\n", thrown);
}

} // namespace

// In the reference host's place.
void DeviceTypeManager::addDeviceType(const DeviceType& type) {
    World::Calls::current().enter("addDeviceType");
    const std::scoped_lock lock(mutex_);
    types_.push_back(&type);
}
