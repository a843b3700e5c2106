#include "DeviceControl/BaseInterface.h"

#include "DeviceControl/Device.h"

#include <map>
#include <stdexcept>
#include <utility>
#include <vector>

struct BaseInterface::Observers {
    std::map<int, Observer> byNumber;
    int lastNumber = 0;
};

BaseInterface::BaseInterface(Device& device, std::wstring interfaceType)
    : device_(device), interfaceType_(std::move(interfaceType)), observers_(std::make_unique<Observers>()) {}

BaseInterface::~BaseInterface() = default;

const std::wstring& BaseInterface::getInterfaceType() const {
    return interfaceType_;
}

void BaseInterface::deregisterObserver(int number) {
    if (observers_->byNumber.erase(number) != 0)
        device_.observerDeregistered(*this);
}

void BaseInterface::updateObservers() {
    std::vector<int> numbers;
    for (const auto& [number, observer] : observers_->byNumber)
        numbers.push_back(number);
    for (const int number : numbers) {
        const auto found = observers_->byNumber.find(number);
        if (found == observers_->byNumber.end())
            continue;
        // A copy, as it may deregister itself while it runs.
        const Observer observer = found->second;
        observer(interfaceType_);
    }
}

int BaseInterface::registerObserver2(Observer observer) {
    if (!observer)
        throw std::invalid_argument("An interface's observer must not be empty");
    const int number = ++observers_->lastNumber;
    observers_->byNumber.emplace(number, std::move(observer));
    device_.observerRegistered(*this);
    return number;
}
