#include "DeviceControl/BroadcastWorkerObserver.h"
#include "DeviceControl/DeviceBuilder.h"
#include "DeviceControl/DeviceFramework1Locator.h"

BroadcastWorkerObserver::~BroadcastWorkerObserver() = default;

DeviceBuilder::DeviceBuilder() = default;
DeviceBuilder::~DeviceBuilder() = default;

DeviceFramework1Locator::DeviceFramework1Locator() = default;
DeviceFramework1Locator::~DeviceFramework1Locator() = default;
