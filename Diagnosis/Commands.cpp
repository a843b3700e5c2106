#include "Commands.h"

#include "Ipv4.h"
#include "Printable.h"

namespace Diagnosis {

namespace {

constexpr auto netsh = "as administrator: netsh interface ";

std::string quoted(const std::string& adapter) {
    return '"' + printable(adapter) + '"';
}

} // namespace

/// By itself an added address ends DHCP: what that gave the adapter would be gone.
std::string commandToAdd(CommandSet commands, const std::string& adapter, const OwnAddress& address) {
    if (commands == CommandSet::netsh)
        return netsh + ("ipv4 set interface " + quoted(adapter)) +
               " dhcpstaticipcoexistence=enabled; netsh interface ipv4 add address " + quoted(adapter) + " " +
               printable(address.address) + " " + printable(address.mask);
    return "sudo ip addr add " + printable(withMask(address)) + " dev " + printable(adapter);
}

std::string commandToRemove(CommandSet commands, const std::string& adapter, const OwnAddress& address) {
    if (commands == CommandSet::netsh)
        return netsh + ("ipv4 delete address " + quoted(adapter)) + " " + printable(address.address);
    return "sudo ip addr del " + printable(withMask(address)) + " dev " + printable(adapter);
}

std::string commandToSwitchOn(CommandSet commands, const std::string& adapter) {
    if (commands == CommandSet::netsh)
        return netsh + ("set interface " + quoted(adapter)) + " enabled";
    return "sudo ip link set " + printable(adapter) + " up";
}

std::string commandToSwitchOff(CommandSet commands, const std::string& adapter) {
    if (commands == CommandSet::netsh)
        return netsh + ("set interface " + quoted(adapter)) + " disabled";
    return "sudo ip link set " + printable(adapter) + " down";
}

} // namespace Diagnosis
