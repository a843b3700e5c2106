#include "Communicator/Communicator.h"

#include "Communicator/EthernetCommunicator.h"

Communicator::~Communicator() = default;

EthernetCommunicator::~EthernetCommunicator() = default;
