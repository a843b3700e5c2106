// The registration where memory is short and where the host throws: nothing is registered, and the next call
// makes the type and registers it.

#include "Allocations.h"

#include "Communicator/DeviceException.h"
#include "NativeCameraKorva/PluginFixture.h"
#include "Support/LogCapture.h"
#include "Support/OutsidePlugin.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <functional>
#include <new>

namespace {

using namespace Torture;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::function<void()> onAdd;

/// The built plug-in, loaded for this one registration.
struct Registration {
    TestSupport::LogCapture log{"Plenar.NativeCameraKorva.KorvaCameraLoader"};
    PluginTests::Plugin plugin;

    void initialize() const {
        const PluginAtWork scope;
        plugin.initialize(1);
    }

    /// It registers the one type that there is.
    void expectToSucceed() const {
        initialize();
        EXPECT_THAT(PluginTests::registeredTypes(), ElementsAre(&plugin.cameraType()));
    }
};

struct RegistrationTorture : ::testing::Test {
    ~RegistrationTorture() override { onAdd = nullptr; }

    int thrown = 0;

    /// False where the registration does not ask for so many.
    bool failOne(long number) {
        SCOPED_TRACE("allocation " + std::to_string(number));
        const Registration registration;
        bool threw = false;
        bool wasReached = false;
        {
            const AllocationFailure failure(number);
            try {
                registration.initialize();
            } catch (const std::bad_alloc&) {
                threw = true;
            }
            wasReached = failure.wasReached();
        }
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
        onAdd = [this, &exception] {
            ++thrown;
            throw exception;
        };
        EXPECT_THROW(registration.initialize(), Exception);
        EXPECT_THAT(PluginTests::registeredTypes(), IsEmpty());
        onAdd = nullptr;
        registration.expectToSucceed();
    }
};

TEST_F(RegistrationTorture, OfEachAllocationThrowsAndSucceedsAfterwards) {
    failOne(0);
    long number = 1;
    while (failOne(number)) {
        EXPECT_EQ(leakOf([&] { failOne(number); }), 0) << "allocation " << number;
        ++number;
        ASSERT_LT(number, 1000);
    }
    EXPECT_GT(thrown, number);
    std::printf("figure: allocations failed once in turn, registration: %ld\n", number - 1);
}

TEST_F(RegistrationTorture, PassesOnWhatTheHostsRegistryThrows) {
    throwOne(DeviceException(L"torture"));
    throwOne(TolvaneException(L"torture"));
    throwOne(std::bad_alloc());
    throwOne(42);
    std::printf("figure: host calls that threw at the registration: %d\n", thrown);
}

} // namespace

// In the reference host's place.
void DeviceTypeManager::addDeviceType(const DeviceType& type) {
    if (onAdd) {
        const TestSupport::OutsidePlugin outside;
        onAdd();
    }
    const std::scoped_lock lock(mutex_);
    types_.push_back(&type);
}
