#pragma once
// The camera family, as the host's registry knows it.

#include "NativeCameraControl/NativeCameraType.h"

#include <string>
#include <vector>

/// "KRV", version "1.0", "Korva", with a locator and a builder. The order of the virtual operations is the
/// host's. Immutable, so any thread may use it; getKorvaCameraType() gives the one that the host registers.
class KorvaCameraType final : public NativeCameraType {
public:
    /// What the host's constructors throw passes to the caller; nothing is leaked.
    KorvaCameraType();
    ~KorvaCameraType() override;

    /// Empty: the family distinguishes no variants.
    std::vector<std::wstring> getVariants() const override;
    bool isSameType(const DeviceType* other) const override;

private:
    struct Parts;
    explicit KorvaCameraType(Parts&& parts);
};
