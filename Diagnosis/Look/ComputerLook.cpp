#include "AddressText.h"
#include "Look/NetworkLook.h"
#include "View.h"

#include "Platform/NetworkCommands.h"

namespace Diagnosis {

void lookAtComputer(Facts& facts) {
    const View view = View::now();
    facts.adaptersKnown = view.adapters.has_value();
    facts.adapters = view.adapterFacts();
    facts.neighbours = view.neighbourFacts();
    facts.commands =
        Platform::networkCommand == Platform::NetworkCommand::netsh ? CommandSet::netsh : CommandSet::ip;
    const std::optional<std::uint32_t> gateway = Platform::defaultGateway();
    facts.defaultGateway = gateway ? dottedText(*gateway) : std::string();
}

} // namespace Diagnosis
