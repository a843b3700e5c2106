#include "NativeCameraKorva/KorvaCameraType.h"

#include "NativeCameraKorva/KorvaCameraBuilder.h"
#include "NativeCameraKorva/KorvaCameraLocator.h"

#include <memory>
#include <string>

// Whatever may throw is made here, in this order, before the host's base class takes the factories over.
struct KorvaCameraType::Parts {
    std::wstring code = L"KRV";
    std::wstring version = L"1.0";
    std::wstring name = L"Korva";
    std::unique_ptr<DeviceBuilder> builder = std::make_unique<KorvaCameraBuilder>();
    std::unique_ptr<DeviceFramework1Locator> locator = std::make_unique<KorvaCameraLocator>();
};

KorvaCameraType::KorvaCameraType() : KorvaCameraType(Parts()) {}

KorvaCameraType::KorvaCameraType(Parts&& parts)
    : NativeCameraType(parts.code, parts.version, parts.name, parts.locator.release(),
                       parts.builder.release()) {}

KorvaCameraType::~KorvaCameraType() = default;

std::vector<std::wstring> KorvaCameraType::getVariants() const {
    return {};
}

bool KorvaCameraType::isSameType(const DeviceType* other) const {
    return dynamic_cast<const KorvaCameraType*>(other) != nullptr;
}
