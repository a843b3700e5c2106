#pragma once
// Two machines on one wire, in networks of a test's own.

#include "Support/NetworkNamespace.h"

#include <gtest/gtest.h>

namespace TestSupport {

/// This one is 10.77.1.1 and 10.77.1.3, the neighbour 10.77.1.2. There is no way to any other network.
struct TwoMachines : testing::Test {
    TwoMachines() {
        neighbour.run("ip link set lo up");
        machine.run("ip link set lo up;"
                    "ip link add wire0 address 02:00:00:00:00:01 type veth"
                    " peer name wire0 address 02:00:00:00:00:0a netns {other};"
                    "ip addr add 10.77.1.1/24 dev wire0; ip addr add 10.77.1.3/24 dev wire0;"
                    "ip link set wire0 up",
                    &neighbour);
        neighbour.run("ip addr add 10.77.1.2/24 dev wire0; ip link set wire0 up");
        neighbour.awaitLink("wire0");
        machine.awaitLink("wire0");
    }

    NetworkNamespace neighbour;
    NetworkNamespace machine;
};

} // namespace TestSupport
