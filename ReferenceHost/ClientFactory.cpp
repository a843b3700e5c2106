#include "Communicator/ClientFactory.h"

#include "Communicator/DeviceException.h"
#include "Communicator/PosixEthernetCommunicator.h"
#include "XmlText.h"

#include <algorithm>
#include <optional>

namespace {

constexpr int highestPort = 65535;
constexpr int defaultTimeout = -1;

/// A description may shorten a connect's time, and not hold the host by a longer one.
int boundedTimeout(int timeoutMs) {
    return timeoutMs < 0 ? defaultTimeout
                         : std::min(timeoutMs, PosixEthernetCommunicator::defaultConnectTimeoutMs);
}

} // namespace

EthernetCommunicator* ClientFactory::createEthernetCommunicator(const std::wstring& address, int port,
                                                                int timeoutMs) {
    return new PosixEthernetCommunicator(address, port, timeoutMs);
}

Communicator* ClientFactory::buildCommunicator(xercesc::DOMNode* element) {
    if (element == nullptr)
        throw DeviceException(L"A connection needs an element to be read from");

    std::wstring address;
    std::optional<int> port;
    int timeoutMs = defaultTimeout;
    ReferenceHost::forEachChildElement(*element, [&](const std::wstring& name, const std::wstring& text) {
        if (name == L"address")
            address = text;
        else if (name == L"port")
            port = ReferenceHost::numberOfElement(name, text);
        else if (name == L"timeout")
            timeoutMs = boundedTimeout(ReferenceHost::numberOfElement(name, text));
    });
    if (address.empty())
        throw DeviceException(L"The description's connection has no address");
    if (!port)
        throw DeviceException(L"The description's connection has no port");
    if (*port < 1 || *port > highestPort)
        throw DeviceException(L"The description's connection has no possible port: " +
                              std::to_wstring(*port));
    return createEthernetCommunicator(address, *port, timeoutMs);
}
