#include "NativeCameraKorva/KorvaImaging2Interface.h"

#include <utility>

KorvaImaging2Interface::KorvaImaging2Interface(Device& device, std::shared_ptr<KorvaInternals> internals)
    : Imaging2Interface(device), internals_(std::move(internals)) {}

KorvaImaging2Interface::~KorvaImaging2Interface() = default;

int KorvaImaging2Interface::getBinning() {
    return 0;
}

void KorvaImaging2Interface::setBinning(int /*factor*/) {}

double KorvaImaging2Interface::getGamma() {
    return 0.0;
}

void KorvaImaging2Interface::setGamma(double /*gamma*/) {}

int KorvaImaging2Interface::getFrameCount() {
    return 0;
}

int KorvaImaging2Interface::getFrameRate() {
    return 0;
}
