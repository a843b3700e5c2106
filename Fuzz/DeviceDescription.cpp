// The reader of stored descriptions on any bytes, and what the host makes of their elements.

#include "ReferenceHost/DeviceDescription.h"

#include "Communicator/ClientFactory.h"
#include "Communicator/Communicator.h"
#include "Communicator/DeviceException.h"
#include "VantrelCommon/CameraInfo.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

namespace {

using ReferenceHost::DeviceDescription;

/// What was read and written again must say the same.
void readCameraInfo(xercesc::DOMNode* element) try {
    const std::string written = CameraInfo(element).toXml();
    if (written.size() > DeviceDescription::mostBytes)
        return;
    const DeviceDescription again(written);
    if (CameraInfo(again.root()).toXml() != written)
        std::abort();
} catch (const DeviceException&) {
}

void buildCommunicator(xercesc::DOMNode* element) try {
    const std::unique_ptr<Communicator> communicator(ClientFactory::buildCommunicator(element));
    if (communicator == nullptr || communicator->isConnected())
        std::abort();
} catch (const DeviceException&) {
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) try {
    const DeviceDescription description(std::string_view(reinterpret_cast<const char*>(data), size));
    readCameraInfo(description.root());
    buildCommunicator(description.root());
    return 0;
} catch (const DeviceException&) {
    return 0;
}
