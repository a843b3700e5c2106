#pragma once
// The first-generation device: identity, connection, interfaces, description.

#include "Device/BaseDevice.h"
#include "DeviceControl/OverloadOrder.h"
#include "HostFrameworkExport.h"

#include <functional>
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
    /// Takes the communicator over, also if it throws; null for a device without a connection.
    explicit Device(Communicator* communicator);

    virtual std::wstring getName() const;           // slot 0: as set, else the description
    virtual void setName(const std::wstring& name); // slot 1
    /// Slot 2: a number that no other living device of the process has; positive, unless updateId gave
    /// another.
    virtual int getId() const;
    /// Slot 3: takes another number. Throws DeviceException if another living device has it.
    virtual void updateId(int id);
    virtual const DeviceType& getType() const = 0; // slot 4
    /// Slot 5: the same in every session and unlike any other device's; empty if it is not known.
    virtual std::wstring getUID() const;
    virtual std::wstring getModel() const;         // slot 6
    virtual int getModelId() const;                // slot 7: as set, 0 at first
    virtual void setModelId(int modelId);          // slot 8
    virtual std::wstring getDescription() const;   // slot 9: one line for people
    virtual std::wstring getVersion() const;       // slot 10: the device's firmware
    virtual std::wstring getMac() const;           // slot 11
    virtual Communicator* getCommunicator() const; // slot 12: the device's own, or null
    /// Slot 13: takes the communicator over and destroys the one before, unless it is the same. Nobody may
    /// hold that one's connection.
    virtual void setCommunicator(Communicator* communicator);
    virtual bool containsInterface(const std::wstring& interfaceType) const; // slot 14
    /// Slot 15: asks the device whether it answers. Here: true if its communicator connects. Never
    /// throws for what the device or its connection does.
    virtual bool isAlive();
    virtual bool isOffline() const;         // slot 16: true if it has no communicator
    virtual bool canDeviceDoTiling() const; // slot 17: here false
    /// Slot 18: the stored description, UTF-8: what toXml(stream, 0) writes.
    /// Slot 19: writes the stored description, from which the family's builder builds the device again: an
    /// element "Device" with the children that toXmlInternal writes, `indent` blanks before each line. It
    /// holds no password.
    IN_SLOT_ORDER_2(virtual std::string toXml() const,
                    virtual void toXml(std::ostream& stream, int indent) const);
    virtual void updatePassword(const std::wstring& password); // slot 20: notes what the device asks for
    virtual std::wstring getPassword() const;                  // slot 21: as noted, empty at first
    /// Slot 22: told by an interface of its new observer; the first one leads to startObserving().
    virtual void observerRegistered(BaseInterface& source);
    /// Slot 23: told by an interface of the observer that it forgot; the last one leads to stopObserving().
    virtual void observerDeregistered(BaseInterface& source);
    /// Slot 24: the interface's data are out of date: marks data as waiting and tells its observers.
    virtual void interfaceInvalid(BaseInterface& source);
    /// Slot 25: marks whether there are data that nobody fetched yet; see isDataWaiting().
    virtual void setDataWaiting(bool waiting);
    /// Slot 26: all data are out of date: marks data as waiting and tells every interface's observers.
    virtual void setDataInvalid();
    virtual void startObserving();  // slot 27: observing() is true from now on
    virtual void stopObserving();   // slot 28: observing() is false from now on. Must not throw
    virtual bool observing() const; // slot 29: false at first
    virtual void stopPolling();     // slot 30: here nothing, as nothing is polled
    /// Slot 31: an interface by its type name, or null; here the same as getInterface.
    virtual BaseInterface* getInternalInterface(const std::wstring& interfaceType) const;
    /// Slot 32: writes the children of the description, `indent` blanks before each line: what setIdentity
    /// was given, and an element "connection" if the device has a network address.
    virtual void toXmlInternal(std::ostream& stream, int indent) const;
    virtual bool startThread(); // slot 33: false if the device polls nothing, as here
    ~Device() override;

    /// True if data wait for somebody to fetch them, as setDataWaiting and its kin have marked.
    bool isDataWaiting() const;

    /// Adds an interface, which the device owns from then on, even if this throws. Throws
    /// std::invalid_argument for null.
    void addInterface(BaseInterface* added);

    /// Ends observing, then destroys every interface, the last one first. Never throws.
    void removeAllInterfaces() noexcept;

    /// The first interface of that type name, or null. The device owns it.
    BaseInterface* getInterface(const std::wstring& interfaceType) const;

    /// All interfaces, in the order in which they were added.
    std::vector<BaseInterface*> getInterfaces() const;

protected:
    /// What a device says of itself. A device that knows more than the base does tells it here rather than
    /// by overriding, so that it adds no virtual operations before those of its own families.
    struct Identity {
        std::wstring uid;
        std::wstring model;
        std::wstring description;
        std::wstring version;
        std::wstring mac;
        /// Writes the device's own elements of the stored description; may be empty.
        std::function<void(std::ostream& stream, int indent)> writeXml;
    };

    void setIdentity(Identity identity);

private:
    struct State;
    std::unique_ptr<State> state_;
};
