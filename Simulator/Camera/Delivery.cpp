#include "Camera/Delivery.h"

#include <algorithm>

namespace Simulator {

namespace {

using Actions = std::vector<Action>;

Action sendBeginning(const Fault& fault, const SharedBytes& answer) {
    const std::size_t wanted = fault.number ? *fault.number : answer->size() / 2;
    return SendBytes{answer, std::min(wanted, answer->size()), 0, {}};
}

} // namespace

Action sendWhole(SharedBytes answer) {
    const std::size_t length = answer->size();
    return SendBytes{std::move(answer), length, 0, {}};
}

std::optional<Actions> faultedDelivery(const Fault& fault, const SharedBytes& answer) {
    const std::chrono::milliseconds pause{fault.pauseMs};
    switch (fault.kind) {
    case FaultKind::TruncateClose:
        return Actions{sendBeginning(fault, answer), CloseConnection{}};
    case FaultKind::TruncateSilent:
        return Actions{sendBeginning(fault, answer)};
    case FaultKind::Reset:
        return Actions{ResetConnection{}};
    case FaultKind::Delay:
        return Actions{Pause{pause}, sendWhole(answer)};
    case FaultKind::Drip:
        return Actions{SendBytes{answer, answer->size(), fault.number.value_or(1), pause}};
    case FaultKind::Close:
        return Actions{CloseConnection{}};
    case FaultKind::Silent:
        return Actions{};
    default:
        return std::nullopt;
    }
}

bool endsConnection(const Action& action) {
    return std::holds_alternative<CloseConnection>(action) || std::holds_alternative<ResetConnection>(action);
}

} // namespace Simulator
