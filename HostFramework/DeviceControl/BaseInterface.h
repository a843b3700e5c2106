#pragma once
// A device's face for one kind of work.

#include "HostFrameworkExport.h"

#include <functional>
#include <memory>
#include <string>

class Device;

/// The order of the virtual operations is the interface. Belongs to its device, and is used by one thread at
/// a time.
class HOSTFRAMEWORK_EXPORT BaseInterface {
public:
    /// Told the interface's type name at every updateObservers().
    using Observer = std::function<void(const std::wstring& interfaceType)>;

    /// `device` outlives the interface. `interfaceType` is the name under which the device finds it.
    BaseInterface(Device& device, std::wstring interfaceType);
    BaseInterface(const BaseInterface&) = delete;
    BaseInterface& operator=(const BaseInterface&) = delete;

    virtual ~BaseInterface();                             // slot 0
    virtual const std::wstring& getInterfaceType() const; // slot 1
    /// Slot 2: forgets an observer by the number that registration gave, and tells the device so. An unknown
    /// number is ignored.
    virtual void deregisterObserver(int number);
    /// Slot 3: calls every observer, in the order of registration. Observers may register and deregister
    /// meanwhile, themselves included: one that was forgotten is not called any more, a new one not yet. What
    /// an observer throws passes to the caller, and the observers behind it are not called.
    virtual void updateObservers();
    /// Slot 4: adds an observer, tells the device so, and returns its number, which no other observer of
    /// this interface ever gets. Throws std::invalid_argument for an empty one.
    virtual int registerObserver2(Observer observer);

    Device& getDevice() const { return device_; }

private:
    struct Observers;
    Device& device_;
    std::wstring interfaceType_;
    std::unique_ptr<Observers> observers_;
};
