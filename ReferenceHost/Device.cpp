#include "DeviceControl/Device.h"

#include "Communicator/Connector.h"
#include "Communicator/DeviceException.h"
#include "Communicator/EthernetCommunicator.h"
#include "DeviceControl/BaseInterface.h"
#include "DeviceControl/Device2Bridge.h"
#include "XmlText.h"

#include <algorithm>
#include <limits>
#include <mutex>
#include <set>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace {

/// The numbers of the living devices.
class DeviceNumbers {
public:
    /// A number that none has; one that was given back does not come again soon.
    int take() {
        const std::scoped_lock lock(mutex_);
        while (!taken_.insert(next_).second)
            advance();
        const int number = next_;
        advance();
        return number;
    }

    /// False if another device has it.
    bool change(int from, int to) {
        const std::scoped_lock lock(mutex_);
        if (from == to)
            return true;
        if (!taken_.insert(to).second)
            return false;
        taken_.erase(from);
        return true;
    }

    void giveBack(int number) {
        const std::scoped_lock lock(mutex_);
        taken_.erase(number);
    }

private:
    void advance() { next_ = next_ == std::numeric_limits<int>::max() ? 1 : next_ + 1; }

    std::mutex mutex_;
    std::set<int> taken_;
    int next_ = 1;
};

DeviceNumbers& deviceNumbers() {
    static DeviceNumbers instance;
    return instance;
}

} // namespace

struct Device::State {
    explicit State(std::unique_ptr<Communicator> own) : communicator(std::move(own)) {}
    State(const State&) = delete;
    State& operator=(const State&) = delete;
    ~State() { deviceNumbers().giveBack(id); }

    std::unique_ptr<Communicator> communicator;
    int id = deviceNumbers().take();
    Identity identity;
    std::wstring name;
    std::wstring password;
    int modelId = 0;
    int observers = 0;
    bool isObserving = false;
    bool isDataWaiting = false;
    std::vector<std::unique_ptr<BaseInterface>> interfaces;
};

Device::Device(Communicator* communicator)
    : state_([communicator] {
          std::unique_ptr<Communicator> own(communicator);
          return std::make_unique<State>(std::move(own));
      }()) {}

Device::~Device() {
    removeAllInterfaces();
}

std::wstring Device::getName() const {
    return state_->name.empty() ? getDescription() : state_->name;
}

void Device::setName(const std::wstring& name) {
    state_->name = name;
}

int Device::getId() const {
    return state_->id;
}

void Device::updateId(int id) {
    if (!deviceNumbers().change(state_->id, id))
        throw DeviceException(L"Another device has the number " + std::to_wstring(id));
    state_->id = id;
}

std::wstring Device::getUID() const {
    return state_->identity.uid;
}

std::wstring Device::getModel() const {
    return state_->identity.model;
}

int Device::getModelId() const {
    return state_->modelId;
}

void Device::setModelId(int modelId) {
    state_->modelId = modelId;
}

std::wstring Device::getDescription() const {
    return state_->identity.description;
}

std::wstring Device::getVersion() const {
    return state_->identity.version;
}

std::wstring Device::getMac() const {
    return state_->identity.mac;
}

Communicator* Device::getCommunicator() const {
    return state_->communicator.get();
}

void Device::setCommunicator(Communicator* communicator) {
    if (communicator != state_->communicator.get())
        state_->communicator.reset(communicator);
}

bool Device::containsInterface(const std::wstring& interfaceType) const {
    return getInterface(interfaceType) != nullptr;
}

bool Device::isAlive() {
    if (state_->communicator == nullptr)
        return false;
    try {
        const Connector hold(*state_->communicator);
        return true;
    } catch (const DeviceException&) {
        return false;
    }
}

bool Device::isOffline() const {
    return state_->communicator == nullptr;
}

bool Device::canDeviceDoTiling() const {
    return false;
}

std::string Device::toXml() const {
    std::ostringstream stream;
    toXml(stream, 0);
    return stream.str();
}

void Device::toXml(std::ostream& stream, int indent) const {
    ReferenceHost::writeTag(stream, indent, "Device");
    toXmlInternal(stream, indent + 2);
    ReferenceHost::writeTag(stream, indent, "/Device");
}

void Device::updatePassword(const std::wstring& password) {
    state_->password = password;
}

std::wstring Device::getPassword() const {
    return state_->password;
}

void Device::observerRegistered(BaseInterface& /*source*/) {
    if (state_->observers++ == 0)
        startObserving();
}

void Device::observerDeregistered(BaseInterface& /*source*/) {
    if (state_->observers > 0 && --state_->observers == 0)
        stopObserving();
}

void Device::interfaceInvalid(BaseInterface& source) {
    setDataWaiting(true);
    source.updateObservers();
}

void Device::setDataWaiting(bool waiting) {
    state_->isDataWaiting = waiting;
}

void Device::setDataInvalid() {
    setDataWaiting(true);
    for (BaseInterface* const each : getInterfaces())
        each->updateObservers();
}

void Device::startObserving() {
    state_->isObserving = true;
}

void Device::stopObserving() {
    state_->isObserving = false;
}

bool Device::observing() const {
    return state_->isObserving;
}

void Device::stopPolling() {}

BaseInterface* Device::getInternalInterface(const std::wstring& interfaceType) const {
    return getInterface(interfaceType);
}

void Device::toXmlInternal(std::ostream& stream, int indent) const {
    if (state_->identity.writeXml)
        state_->identity.writeXml(stream, indent);

    const auto* const ethernet = dynamic_cast<const EthernetCommunicator*>(getCommunicator());
    if (ethernet == nullptr)
        return;
    ReferenceHost::writeTag(stream, indent, "connection");
    ReferenceHost::writeElement(stream, indent + 2, "address", ethernet->getAddress());
    ReferenceHost::writeElement(stream, indent + 2, "port", std::to_wstring(ethernet->getPort()));
    if (ethernet->getConnectTimeoutMs() != -1)
        ReferenceHost::writeElement(stream, indent + 2, "timeout",
                                    std::to_wstring(ethernet->getConnectTimeoutMs()));
    ReferenceHost::writeTag(stream, indent, "/connection");
}

bool Device::startThread() {
    return false;
}

bool Device::isDataWaiting() const {
    return state_->isDataWaiting;
}

void Device::addInterface(BaseInterface* added) {
    std::unique_ptr<BaseInterface> own(added);
    if (own == nullptr)
        throw std::invalid_argument("A device's interface must not be null");
    state_->interfaces.push_back(std::move(own));
}

void Device::removeAllInterfaces() noexcept {
    if (observing())
        stopObserving();
    state_->observers = 0;
    while (!state_->interfaces.empty()) {
        // Out of the list before it goes, so that nobody finds it while it does.
        const std::unique_ptr<BaseInterface> last = std::move(state_->interfaces.back());
        state_->interfaces.pop_back();
    }
}

BaseInterface* Device::getInterface(const std::wstring& interfaceType) const {
    const auto found = std::ranges::find_if(
        state_->interfaces, [&](const auto& each) { return each->getInterfaceType() == interfaceType; });
    return found == state_->interfaces.end() ? nullptr : found->get();
}

std::vector<BaseInterface*> Device::getInterfaces() const {
    std::vector<BaseInterface*> all;
    for (const auto& each : state_->interfaces)
        all.push_back(each.get());
    return all;
}

void Device::setIdentity(Identity identity) {
    state_->identity = std::move(identity);
}

Device2Bridge::Device2Bridge(Communicator* communicator) : Device(communicator) {}

Device2Bridge::~Device2Bridge() = default;
