// Who has an address, on a network with two machines that share one of this computer's.

#include "Platform/ArpProbe.h"

#include "Support/NetworkNamespace.h"

#include <arpa/inet.h>
#include <cstdlib>
#include <gmock/gmock.h>
#include <linux/capability.h>
#include <net/if.h>
#include <string>
#include <sys/syscall.h>
#include <unistd.h>

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using TestSupport::NetworkNamespace;

namespace {

using Mac = std::vector<unsigned char>;

const Mac own{2, 0, 0, 0, 0, 1};
const Mac first{2, 0, 0, 0, 0, 0xA};
const Mac second{2, 0, 0, 0, 0, 0xB};

class ArpProbe : public testing::Test {
protected:
    ArpProbe() {
        machine_.run(
            "ip link add wires address 02:00:00:00:00:01 type bridge; ip addr add 10.77.1.1/24 dev wires;"
            "ip link set wires up");
        wire(first_, "a", "10.77.1.1 10.77.1.2");
        wire(second_, "b", "10.77.1.1");
        machine_.awaitLink("wires");
    }

    /// Who answers for each of these addresses.
    std::vector<std::vector<Mac>> whoHas(const std::vector<const char*>& addresses,
                                         const Mac& from = own) const {
        machine_.enter();
        std::vector<Platform::ArpQuestion> questions;
        for (const char* address : addresses)
            questions.push_back({if_nametoindex("wires"), from, inet_addr(address)});
        return Platform::askByArp(questions, Platform::Clock::now() + 500ms).value();
    }

    NetworkNamespace first_;
    NetworkNamespace second_;
    NetworkNamespace machine_;

private:
    void wire(const NetworkNamespace& neighbour, const std::string& name, const std::string& addresses) {
        machine_.run("ip link add port-" + name +
                         " master wires type veth peer name wire0 address 02:00:00:00:00:0" + name +
                         " netns {other}; ip link set port-" + name + " up",
                     &neighbour);
        neighbour.run("for each in " + addresses +
                      "; do ip addr add $each/24 dev wire0; done; ip link set wire0 up");
        neighbour.awaitLink("wire0");
    }
};

/// The process has only a plain user's rights from then on.
void giveUpRights() {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct none[2]{};
    syscall(SYS_capset, &header, none);
}

} // namespace

TEST_F(ArpProbe, TellsAllOthersWhoHaveEachAddressAndLeavesNoTraceOfTheQuestion) {
    EXPECT_THAT(whoHas({"10.77.1.1", "10.77.1.2", "10.77.1.99"}),
                ElementsAre(UnorderedElementsAre(first, second), ElementsAre(first), IsEmpty()));
    for (const NetworkNamespace* each : {&first_, &second_, &machine_})
        each->run("test -z \"$(ip neigh show)\"");
}

TEST_F(ArpProbe, AsksNobodyOnAnAdapterWithoutAnEthernetAddress) {
    EXPECT_THAT(whoHas({"10.77.1.1"}, {}), ElementsAre(IsEmpty()));
}

TEST_F(ArpProbe, SaysThatAPlainUserMayNotAsk) {
    const auto asked = [] { return Platform::askByArp({}, Platform::Clock::now()).has_value(); };
    EXPECT_TRUE(asked());
    EXPECT_EXIT(
        {
            giveUpRights();
            std::_Exit(asked() ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
}
