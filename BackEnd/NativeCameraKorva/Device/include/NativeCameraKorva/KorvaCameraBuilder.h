#pragma once
// Makes camera devices.

#include "DeviceControl/DeviceBuilder.h"

/// Three ways to a device. It holds no state, so several threads may build at a time. The order of the
/// virtual operations is the host's.
///
/// Each returns a new camera, as its Device part, which the caller owns, or null. Whatever was made on the
/// way to a null or an exception is destroyed, communicators included.
class KorvaCameraBuilder final : public DeviceBuilder {
public:
    KorvaCameraBuilder();
    ~KorvaCameraBuilder() override;

    /// From a stored description: an element with a "CameraInfo" and a "connection" among its children. The
    /// names are compared exactly; of several children of one name the last one counts. Null if one is
    /// missing, where the description is not of this camera family, and for a null element. What the host
    /// throws while it reads them passes to the caller.
    Device* build(xercesc::DOMNode* element) const override;

    /// From what a search found. Null, without a log line, if the template is no NativeCameraTemplate or
    /// not of this camera family, and if the host throws its older layer's DeviceException; what else it
    /// throws passes.
    Device* build(const DeviceTemplate& deviceTemplate) const override;

    /// From a connection to the camera, whatever its port; only its address is used. Identifies the camera,
    /// see determineCameraInfoByAddress, so it blocks for seconds; the MAC address of the description stays
    /// empty. Null after a warn line where `communicator` is no PosixEthernetCommunicator, null included,
    /// and after two error lines where the camera cannot be identified (DeviceException of the older
    /// layer); what else is thrown passes.
    Device* build(Communicator* communicator) const override;
};
