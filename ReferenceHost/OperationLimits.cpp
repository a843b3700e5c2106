#include "ReferenceHost/OperationLimits.h"

#include "TransferWatch.h"

#include <algorithm>
#include <mutex>

namespace ReferenceHost {

namespace {

std::mutex defaultMutex;
TransportLimits defaultLimits;

} // namespace

/// What holds on one thread, and what held there before.
struct OperationLimits::Scope {
    std::optional<OperationEnd> end;
    std::optional<TransportLimits> each;
    Scope* outer = nullptr;
    std::weak_ptr<const TransferClock::time_point> hold; ///< while a connection is held under `each`
};

struct CurrentOperation {
    // A plain pointer: nothing of it is left to destroy where a thread ends.
    static thread_local OperationLimits::Scope* scope;
};

thread_local OperationLimits::Scope* CurrentOperation::scope = nullptr;

OperationLimits::OperationLimits(std::chrono::milliseconds time, const std::optional<TransportLimits>& each)
    : scope_(std::make_unique<Scope>()) {
    Scope* const outer = CurrentOperation::scope;
    if (time > time.zero())
        scope_->end = OperationEnd{TransferClock::now(), std::min(time, longestTime)};
    if (outer != nullptr && outer->end && (!scope_->end || outer->end->end() < scope_->end->end()))
        scope_->end = outer->end;
    scope_->each = !each && outer != nullptr ? outer->each : each;
    scope_->outer = outer;
    CurrentOperation::scope = scope_.get();
}

OperationLimits::~OperationLimits() {
    CurrentOperation::scope = scope_->outer;
}

std::optional<OperationEnd> currentOperationEnd() {
    return CurrentOperation::scope == nullptr ? std::nullopt : CurrentOperation::scope->end;
}

TransportLimits currentTransportLimits() {
    const auto* const scope = CurrentOperation::scope;
    return scope != nullptr && scope->each ? *scope->each : defaultTransportLimits();
}

std::shared_ptr<const TransferClock::time_point> beginHold(TransferClock::time_point now) {
    auto* const scope = CurrentOperation::scope;
    if (scope == nullptr || !scope->each)
        return std::make_shared<const TransferClock::time_point>(now);
    auto begin = scope->hold.lock();
    if (begin == nullptr)
        begin = std::make_shared<const TransferClock::time_point>(now);
    scope->hold = begin;
    return begin;
}

void setDefaultTransportLimits(const TransportLimits& limits) {
    const std::lock_guard lock(defaultMutex);
    defaultLimits = limits;
}

TransportLimits defaultTransportLimits() {
    const std::lock_guard lock(defaultMutex);
    return defaultLimits;
}

} // namespace ReferenceHost
