#pragma once
// What a search knows of a device before it is built.

#include "Communicator/CommunicatorTemplate.h"
#include "HostFrameworkExport.h"

class Communicator;
class DeviceType;

class HOSTFRAMEWORK_EXPORT DeviceTemplate {
public:
    /// `type` must outlive the template.
    DeviceTemplate(const DeviceType& type, const CommunicatorTemplate& communicator);
    DeviceTemplate(const DeviceTemplate&) = delete;
    DeviceTemplate& operator=(const DeviceTemplate&) = delete;
    virtual ~DeviceTemplate();

    const DeviceType& getType() const { return type_; }

    /// A new, unconnected communicator to the device; the caller owns it.
    virtual Communicator* createCommunicator() const;

private:
    const DeviceType& type_;
    CommunicatorTemplate communicator_;
};
