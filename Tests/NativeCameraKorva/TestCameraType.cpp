// Stands in for the camera family, of which devices only say that they are of it.

#include "DeviceControl/DeviceBuilder.h"
#include "DeviceControl/DeviceFramework1Locator.h"
#include "NativeCameraControl/NativeCameraType.h"
#include "NativeCameraKorva/KorvaCameraLoader.h"

namespace {

class TestCameraType final : public NativeCameraType {
public:
    TestCameraType() : NativeCameraType(L"TST", L"1.0", L"Test", nullptr, nullptr) {}
    std::vector<std::wstring> getVariants() const override { return {}; }
    bool isSameType(const DeviceType* other) const override { return other == this; }
};

} // namespace

const DeviceType& getKorvaCameraType() {
    static const TestCameraType type;
    return type;
}
