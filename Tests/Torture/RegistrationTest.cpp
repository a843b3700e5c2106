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
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The built plug-in, loaded for this one registration.
struct Registration {
    TestSupport::LogCapture log{"Plenar.NativeCameraKorva.KorvaCameraLoader"};
    PluginTests::Plugin plugin;

    /// It registers the one type that there is.
    void expectToSucceed() const {
        plugin.initialize(1);
        EXPECT_THAT(PluginTests::registeredTypes(), ElementsAre(&plugin.cameraType()));
    }
};

int thrown = 0;

/// False where the registration does not ask for so many.
bool failOne(int number) {
    SCOPED_TRACE("allocation " + std::to_string(number));
    const Registration registration;
    bool threw = false;
    const bool wasReached = failAllocation(number, [&] {
        try {
            registration.plugin.initialize(1);
        } catch (const std::bad_alloc&) {
            threw = true;
        }
    });
    // Else it was for a log line, which is then cut short.
    EXPECT_TRUE(wasReached || !threw);
    thrown += threw ? 1 : 0;
    EXPECT_EQ(PluginTests::registeredTypes().empty(), threw);
    DeviceTypeManager::getInstance().clear();
    registration.expectToSucceed();
    return wasReached;
}

template <class Exception>
void throwOne(const Exception& exception) {
    const Registration registration;
    World::Calls::current().throwFrom("addDeviceType", exception);
    EXPECT_THROW(registration.plugin.initialize(1), Exception);
    EXPECT_THAT(PluginTests::registeredTypes(), IsEmpty());
    ++thrown;
    registration.expectToSucceed();
}

TEST(RegistrationTorture, OfEachAllocationThrowsAndSucceedsAfterwards) {
    thrown = 0;
    failOne(0);
    int number = 1;
    while (failOne(number)) {
        EXPECT_EQ(leakOf([&] { failOne(number); }), 0) << "allocation " << number;
        ++number;
        ASSERT_LT(number, 1000);
    }
    EXPECT_GT(thrown, number);
    std::printf("figure: allocations failed once in turn, registration: %d\n", number - 1);
}

TEST(RegistrationTorture, PassesOnWhatTheHostsRegistryThrows) {
    thrown = 0;
    throwOne(DeviceException(L"torture"));
    throwOne(TolvaneException(L"torture"));
    throwOne(std::bad_alloc());
    throwOne(42);
    std::printf("figure: host calls that threw at the registration: %d\n", thrown);
}

} // namespace

// In the reference host's place.
void DeviceTypeManager::addDeviceType(const DeviceType& type) {
    World::Calls::current().enter("addDeviceType");
    const std::scoped_lock lock(mutex_);
    types_.push_back(&type);
}
