#include "NativeCameraKorva/KorvaCameraLoader.h"

#include "DeviceControl/DeviceTypeManager.h"
#include "NativeCameraKorva/KorvaCameraType.h"
#include "NativeCameraKorva/KorvaLog.h"

namespace {

constexpr int interfaceVersion = 1;
constexpr int accepted = 0;
constexpr int refused = -1;

} // namespace

int pnx_initialize_device_plugin(int version) {
    if (version != interfaceVersion)
        return refused;
    initializeKorvaCamera();
    return accepted;
}

void pnx_uninitialize_device_plugin(...) {}

void initializeKorvaCamera() {
    // Deliberately obtained on each call and under another prefix than the other loggers.
    const log4cxx::LoggerPtr logger =
        log4cxx::Logger::getLogger("Plenar.NativeCameraKorva.KorvaCameraLoader");
    KORVA_LOG_AT_LINE(logger, Info, "KorvaCameraLoader", 49, "Initializing KRV camera support...");
    DeviceTypeManager::getInstance().addDeviceType(getKorvaCameraType());
}

const DeviceType& getKorvaCameraType() {
    static const KorvaCameraType type;
    return type;
}
