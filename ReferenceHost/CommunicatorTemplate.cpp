#include "Communicator/CommunicatorTemplate.h"

#include "Communicator/ClientFactory.h"
#include "Communicator/DeviceException.h"
#include "Communicator/EthernetCommunicator.h"

CommunicatorTemplate::CommunicatorTemplate(const Communicator* communicator) {
    const auto* const ethernet = dynamic_cast<const EthernetCommunicator*>(communicator);
    if (ethernet == nullptr)
        throw DeviceException(L"A communicator template needs an Ethernet communicator");
    address_ = ethernet->getAddress();
    port_ = ethernet->getPort();
    timeoutMs_ = ethernet->getConnectTimeoutMs();
}

Communicator* CommunicatorTemplate::createCommunicator() const {
    return ClientFactory::createEthernetCommunicator(address_, port_, timeoutMs_);
}
