#pragma once
// Makes devices of one family.

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

    virtual ~DeviceBuilder();                                   // slot 0
    virtual Device* build(xercesc::DOMNode* element) const = 0; // slot 1: from a stored description
    virtual Device* build(const DeviceTemplate& deviceTemplate) const = 0; // slot 2: from a search's result
    virtual Device* build(Communicator* communicator) const = 0; // slot 3: from a connection, not taken over
};
