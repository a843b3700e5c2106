#include "Camera/Delivery.h"

#include "Camera/Random.h"

#include <algorithm>
#include <utility>

namespace Simulator {

namespace {

using Actions = std::vector<Action>;

constexpr std::size_t garbageBytes = 64;
constexpr std::size_t endlessBlock = 65536;
constexpr std::size_t largestScatteredPart = 9; ///< of the answer: one in so many

Action sendBeginning(const Fault& fault, const SharedBytes& answer) {
    const std::size_t wanted = fault.number ? *fault.number : answer->size() / 2;
    return SendBytes{answer, std::min(wanted, answer->size()), 0, {}};
}

Action sendEndlessly(std::uint8_t byte) {
    const auto block = std::make_shared<const Bytes>(endlessBlock, byte);
    return SendBytes{block, block->size(), 0, {}, true};
}

SharedBytes flipped(const SharedBytes& answer, std::uint32_t bit) {
    Bytes changed = *answer;
    if (bit / 8 < changed.size())
        changed[bit / 8] ^= static_cast<std::uint8_t>(1U << (bit % 8));
    return std::make_shared<const Bytes>(std::move(changed));
}

SharedBytes garbage(std::uint64_t seed) {
    Bytes bytes(garbageBytes);
    for (std::size_t index = 0; index < bytes.size(); ++index)
        bytes[index] = static_cast<std::uint8_t>(randomBits(seed, index));
    bytes.front() = 0xAA; // no answer begins so, whatever the seed
    return std::make_shared<const Bytes>(std::move(bytes));
}

/// In one piece where it can be, lest the client asks again before the second one is there.
Actions twice(const Fault& fault, const SharedBytes& answer) {
    if (fault.place == Place::discovery)
        return {sendWhole(answer), sendWhole(answer)};
    Bytes both = *answer;
    both.insert(both.end(), answer->begin(), answer->end());
    return {sendWhole(std::make_shared<const Bytes>(std::move(both)))};
}

Actions scattered(const Bytes& answer, std::uint32_t longestPauseMs, std::uint64_t seed) {
    Actions actions;
    std::uint64_t draw = 0;
    for (std::size_t at = 0; at < answer.size();) {
        const std::size_t drawn = 1 + randomBits(seed, draw++) % (1 + answer.size() / largestScatteredPart);
        const ByteView piece = ByteView(answer).subspan(at, std::min(drawn, answer.size() - at));
        actions.push_back(sendWhole(std::make_shared<const Bytes>(piece.begin(), piece.end())));
        actions.emplace_back(
            Pause{std::chrono::milliseconds{randomBits(seed, draw++) % (std::uint64_t{longestPauseMs} + 1)}});
        at += piece.size();
    }
    return actions;
}

} // namespace

Action sendWhole(SharedBytes answer) {
    const std::size_t length = answer->size();
    return SendBytes{std::move(answer), length, 0, {}};
}

std::optional<Actions> faultedDelivery(const Fault& fault, const SharedBytes& answer, std::uint64_t seed) {
    const std::chrono::milliseconds pause{fault.pauseMs};
    switch (fault.kind) {
    case FaultKind::truncateClose:
        return Actions{sendBeginning(fault, answer), CloseConnection{}};
    case FaultKind::truncateSilent:
        return Actions{sendBeginning(fault, answer)};
    case FaultKind::reset:
        return Actions{ResetConnection{}};
    case FaultKind::delay:
        return Actions{Pause{pause}, sendWhole(answer)};
    case FaultKind::drip:
        return Actions{SendBytes{answer, answer->size(), fault.number.value_or(1), pause}};
    case FaultKind::close:
        return Actions{CloseConnection{}};
    case FaultKind::flip:
        return Actions{sendWhole(flipped(answer, fault.number.value_or(0)))};
    case FaultKind::garbage:
        return Actions{sendWhole(garbage(seed))};
    case FaultKind::twice:
        return twice(fault, answer);
    case FaultKind::scatter:
        return scattered(*answer, fault.pauseMs, seed);
    case FaultKind::endless:
        return Actions{sendEndlessly('U')};
    case FaultKind::trail:
        return Actions{sendWhole(answer), sendEndlessly(0)};
    case FaultKind::silent:
        return Actions{};
    default:
        return std::nullopt;
    }
}

bool endsConnection(const Action& action) {
    return std::holds_alternative<CloseConnection>(action) || std::holds_alternative<ResetConnection>(action);
}

} // namespace Simulator
