#include "Communicator/Connector.h"

#include "Communicator/Communicator.h"

Connector::Connector(Communicator& communicator) : communicator_(communicator) {
    // Asked of the connection, not of the count: it may have broken under an outer hold.
    if (!communicator_.isConnected())
        communicator_.connect();
    ++communicator_.holds_;
}

Connector::~Connector() {
    if (--communicator_.holds_ == 0)
        communicator_.disconnect();
}
