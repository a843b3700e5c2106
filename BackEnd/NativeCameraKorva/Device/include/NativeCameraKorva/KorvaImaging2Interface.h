#pragma once
// The second-generation imaging interface, which these cameras offer only as a placeholder.

#include "NativeCameraControl/Imaging2Interface.h"

#include <memory>

class KorvaInternals;

/// Deliberately empty: what returns a value returns zero, all else does nothing.
class KorvaImaging2Interface final : public Imaging2Interface {
public:
    /// `device` outlives the interface. The internals are only kept alive.
    KorvaImaging2Interface(Device& device, std::shared_ptr<KorvaInternals> internals);
    ~KorvaImaging2Interface() override;

    int getBinning() override;
    void setBinning(int factor) override;
    double getGamma() override;
    void setGamma(double gamma) override;
    int getFrameCount() override;
    int getFrameRate() override;

private:
    std::shared_ptr<KorvaInternals> internals_;
};
