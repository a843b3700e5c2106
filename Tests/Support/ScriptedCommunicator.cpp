#include "Support/ScriptedCommunicator.h"

#include "Support/OutsidePlugin.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace TestSupport {

ScriptedCommunicator::Call ScriptedCommunicator::readCall(unsigned int count, unsigned int timeoutMs) {
    return {.kind = Kind::read, .count = count, .reserved = 1, .timeoutMs = timeoutMs};
}

ScriptedCommunicator::Call ScriptedCommunicator::writeCall(Bytes written) {
    const auto count = static_cast<unsigned int>(written.size());
    return {Kind::write, count, true, 1, 0, std::move(written)};
}

ScriptedCommunicator& ScriptedCommunicator::deliver(Bytes piece) {
    Step& step = script_.emplace_back();
    step.owned = std::move(piece);
    step.view = step.owned;
    return *this;
}

ScriptedCommunicator& ScriptedCommunicator::deliverInPieces(const Bytes& bytes, std::size_t pieceBytes) {
    const std::span<const std::uint8_t> all(bytes);
    for (std::size_t at = 0; at < all.size(); at += pieceBytes) {
        const auto piece = all.subspan(at, std::min(pieceBytes, all.size() - at));
        deliver(Bytes(piece.begin(), piece.end()));
    }
    return *this;
}

ScriptedCommunicator& ScriptedCommunicator::deliverView(std::span<const std::uint8_t> piece) {
    script_.emplace_back().view = piece;
    return *this;
}

ScriptedCommunicator& ScriptedCommunicator::answerReadWith(int result) {
    script_.emplace_back().result = result;
    return *this;
}

ScriptedCommunicator& ScriptedCommunicator::throwOnRead(std::exception_ptr exception) {
    script_.emplace_back().exception = std::move(exception);
    return *this;
}

ScriptedCommunicator& ScriptedCommunicator::afterNextWrite() {
    script_.emplace_back().isNextWrite = true;
    return *this;
}

ScriptedCommunicator& ScriptedCommunicator::throwOnWrite(std::size_t index, std::exception_ptr exception) {
    writeExceptions_[index] = std::move(exception);
    return *this;
}

ScriptedCommunicator& ScriptedCommunicator::throwOnConnect(std::exception_ptr exception) {
    connectException_ = std::move(exception);
    return *this;
}

ScriptedCommunicator& ScriptedCommunicator::onWrite(std::function<void(std::size_t)> observer) {
    writeObserver_ = std::move(observer);
    return *this;
}

std::vector<ScriptedCommunicator::Call> ScriptedCommunicator::of(Kind kind) const {
    std::vector<Call> found;
    std::ranges::copy_if(calls_, std::back_inserter(found), [kind](auto& call) { return call.kind == kind; });
    return found;
}

std::vector<ScriptedCommunicator::Call> ScriptedCommunicator::reads() const {
    std::vector<Call> found = of(Kind::read);
    for (Call& call : found)
        call.destination = nullptr;
    return found;
}

std::vector<ScriptedCommunicator::Call> ScriptedCommunicator::writes() const {
    return of(Kind::write);
}

void ScriptedCommunicator::writeBytes(const void* data, unsigned int count, bool discardUnread,
                                      int reserved) {
    const OutsidePlugin outside;
    const auto* const bytes = static_cast<const std::uint8_t*>(data);
    calls_.push_back({Kind::write, count, discardUnread, reserved, 0, Bytes(bytes, bytes + count)});
    const std::size_t index = writeCount_++;
    if (writeObserver_)
        writeObserver_(index);
    if (const auto found = writeExceptions_.find(index); found != writeExceptions_.end())
        std::rethrow_exception(found->second);
    const auto next = std::ranges::find_if(script_, &Step::isNextWrite);
    if (next != script_.end())
        script_.erase(script_.begin(), std::next(next));
}

int ScriptedCommunicator::readBytes(void* data, unsigned int count, int reserved, unsigned int timeoutMs) {
    const OutsidePlugin outside;
    calls_.push_back({Kind::read, count, false, reserved, timeoutMs, {}, data});
    if (script_.empty() || script_.front().isNextWrite)
        return 0;
    Step& step = script_.front();
    const std::exception_ptr exception = step.exception;
    int read = step.result.value_or(0);
    if (exception == nullptr && !step.result) {
        const std::size_t taken = std::min<std::size_t>(count, step.view.size());
        std::copy_n(step.view.begin(), taken, static_cast<std::uint8_t*>(data));
        step.view = step.view.subspan(taken);
        read = static_cast<int>(taken);
    }
    if (step.view.empty())
        script_.pop_front();
    if (exception != nullptr)
        std::rethrow_exception(exception);
    return read;
}

void ScriptedCommunicator::connect() {
    const OutsidePlugin outside;
    calls_.push_back({Kind::connect});
    if (connectException_)
        std::rethrow_exception(connectException_);
    connected_ = true;
}

void ScriptedCommunicator::disconnect() noexcept {
    const OutsidePlugin outside;
    calls_.push_back({Kind::disconnect});
    connected_ = false;
}

} // namespace TestSupport
