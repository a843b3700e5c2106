#pragma once
// Makes devices of one family.

#include "DeviceControl/OverloadOrder.h"
#include "HostFrameworkExport.h"

#include <xercesc/dom/DOMNode.hpp>

class Communicator;
class Device;
class DeviceTemplate;

/// The order of the virtual operations is the interface. Each returns a new device that the caller owns, or
/// null.
class HOSTFRAMEWORK_EXPORT DeviceBuilder {
public:
    DeviceBuilder();
    DeviceBuilder(const DeviceBuilder&) = delete;
    DeviceBuilder& operator=(const DeviceBuilder&) = delete;

    virtual ~DeviceBuilder(); // slot 0
    /// Slots 1 to 3: from a stored description; from a search's result; from a connection, which is not taken
    /// over.
    IN_SLOT_ORDER_3(virtual Device* build(xercesc::DOMNode* element) const = 0,
                    virtual Device* build(const DeviceTemplate& deviceTemplate) const = 0,
                    virtual Device* build(Communicator* communicator) const = 0);
};
