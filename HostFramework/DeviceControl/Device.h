#pragma once
// The first-generation device: identity, connection, interfaces, description.

#include "Device/BaseDevice.h"
#include "HostFrameworkExport.h"

#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

class BaseInterface;
class Communicator;
class DeviceType;

/// The order of the virtual operations is the interface. One thread at a time, but for the command table of
/// its base.
class HOSTFRAMEWORK_EXPORT Device : public virtual Tolvane::DeviceFramework2::Device::BaseDevice {
public:
    /// Takes the communicator over; null for a device without a connection.
    explicit Device(Communicator* communicator);

    virtual std::wstring getName() const;           // slot 0: as set, else the description
    virtual void setName(const std::wstring& name); // slot 1
    virtual int getId() const;                      // slot 2: unique within the process
    virtual void updateId(int id);                  // slot 3
    virtual const DeviceType& getType() const = 0;  // slot 4
    virtual std::wstring getUID() const;            // slot 5: the same in every session; empty if unknown
    virtual std::wstring getModel() const;          // slot 6
    virtual int getModelId() const;                 // slot 7
    virtual void setModelId(int modelId);           // slot 8
    virtual std::wstring getDescription() const;    // slot 9: one line for people
    virtual std::wstring getVersion() const;        // slot 10: the device's firmware
    virtual std::wstring getMac() const;            // slot 11
    virtual Communicator* getCommunicator() const;  // slot 12: the device's own, or null
    virtual void setCommunicator(Communicator* communicator); // slot 13: takes it over, destroys the old one
    virtual bool containsInterface(const std::wstring& interfaceType) const; // slot 14
    virtual bool isAlive();                                                  // slot 15: asks the device
    virtual bool isOffline() const;                             // slot 16: true where it has no communicator
    virtual bool canDeviceDoTiling() const;                     // slot 17
    virtual std::string toXml() const;                          // slot 18: the stored description, UTF-8
    virtual void toXml(std::ostream& stream, int indent) const; // slot 19
    virtual void updatePassword(const std::wstring& password);  // slot 20
    virtual std::wstring getPassword() const;                   // slot 21
    virtual void observerRegistered(BaseInterface& source);     // slot 22: told by an interface
    virtual void observerDeregistered(BaseInterface& source);   // slot 23: told by an interface
    virtual void interfaceInvalid(BaseInterface& source);       // slot 24: its data are out of date
    virtual void setDataWaiting(bool waiting);                  // slot 25
    virtual void setDataInvalid();                              // slot 26
    virtual void startObserving();                              // slot 27
    virtual void stopObserving();                               // slot 28
    virtual bool observing() const;                             // slot 29
    virtual void stopPolling();                                 // slot 30
    virtual BaseInterface* getInternalInterface(const std::wstring& interfaceType) const; // slot 31
    virtual void toXmlInternal(std::ostream& stream,
                               int indent) const; // slot 32: the children of the description
    virtual bool startThread();                   // slot 33: false where the device polls nothing
    ~Device() override;

    /// Adds an interface, which the device owns from then on.
    void addInterface(BaseInterface* added);

    /// Destroys every interface, the last one first. Never throws.
    void removeAllInterfaces() noexcept;

    /// The first interface of that type name, or null. The device owns it.
    BaseInterface* getInterface(const std::wstring& interfaceType) const;

    /// All interfaces, in the order in which they were added.
    std::vector<BaseInterface*> getInterfaces() const;

private:
    struct State;
    std::unique_ptr<State> state_;
};
