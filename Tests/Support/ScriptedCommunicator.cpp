#include "Support/ScriptedCommunicator.h"

#include "Support/OutsidePlugin.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace TestSupport {

ScriptedCommunicator::Call ScriptedCommunicator::readCall(unsigned int count, unsigned int timeoutMs) {
    Call call;
    call.kind = Kind::read;
    call.count = count;
    call.reserved = 1;
    call.timeoutMs = timeoutMs;
    return call;
}

ScriptedCommunicator::Call ScriptedCommunicator::writeCall(Bytes written) {
    Call call;
    call.kind = Kind::write;
    call.count = static_cast<unsigned int>(written.size());
    call.discardUnread = true;
    call.reserved = 1;
    call.written = std::move(written);
    return call;
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
    Step& step = script_.emplace_back();
    step.what = Step::What::result;
    step.result = result;
    return *this;
}

ScriptedCommunicator& ScriptedCommunicator::throwOnRead(std::exception_ptr exception) {
    Step& step = script_.emplace_back();
    step.what = Step::What::exception;
    step.exception = std::move(exception);
    return *this;
}

ScriptedCommunicator& ScriptedCommunicator::afterNextWrite() {
    script_.emplace_back().what = Step::What::nextWrite;
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

std::vector<ScriptedCommunicator::Call> ScriptedCommunicator::reads() const {
    std::vector<Call> found;
    for (const Call& call : calls_) {
        if (call.kind == Kind::read) {
            found.push_back(call);
            found.back().destination = nullptr;
        }
    }
    return found;
}

std::vector<ScriptedCommunicator::Call> ScriptedCommunicator::writes() const {
    std::vector<Call> found;
    std::copy_if(calls_.begin(), calls_.end(), std::back_inserter(found),
                 [](const Call& call) { return call.kind == Kind::write; });
    return found;
}

std::vector<ScriptedCommunicator::Kind> ScriptedCommunicator::kinds() const {
    std::vector<Kind> found;
    for (const Call& call : calls_)
        found.push_back(call.kind);
    return found;
}

void ScriptedCommunicator::writeBytes(const void* data, unsigned int count, bool discardUnread,
                                      int reserved) {
    const OutsidePlugin outside;
    const auto* const bytes = static_cast<const std::uint8_t*>(data);
    Call call;
    call.kind = Kind::write;
    call.count = count;
    call.discardUnread = discardUnread;
    call.reserved = reserved;
    call.written.assign(bytes, bytes + count);
    calls_.push_back(std::move(call));

    const std::size_t index = writeCount_++;
    if (writeObserver_)
        writeObserver_(index);
    if (const auto found = writeExceptions_.find(index); found != writeExceptions_.end())
        std::rethrow_exception(found->second);
    openNextExchange();
}

void ScriptedCommunicator::openNextExchange() {
    const auto next = std::find_if(script_.begin(), script_.end(),
                                   [](const Step& step) { return step.what == Step::What::nextWrite; });
    if (next != script_.end())
        script_.erase(script_.begin(), std::next(next));
}

int ScriptedCommunicator::readBytes(void* data, unsigned int count, int reserved, unsigned int timeoutMs) {
    const OutsidePlugin outside;
    Call call;
    call.kind = Kind::read;
    call.count = count;
    call.reserved = reserved;
    call.timeoutMs = timeoutMs;
    call.destination = data;
    calls_.push_back(std::move(call));

    if (script_.empty() || script_.front().what == Step::What::nextWrite)
        return 0;
    Step& step = script_.front();
    if (step.what == Step::What::exception) {
        const std::exception_ptr exception = step.exception;
        script_.pop_front();
        std::rethrow_exception(exception);
    }
    if (step.what == Step::What::result) {
        const int result = step.result;
        script_.pop_front();
        return result;
    }
    const std::size_t taken = std::min<std::size_t>(count, step.view.size());
    if (taken != 0)
        std::memcpy(data, step.view.data(), taken);
    step.view = step.view.subspan(taken);
    if (step.view.empty())
        script_.pop_front();
    return static_cast<int>(taken);
}

void ScriptedCommunicator::connect() {
    const OutsidePlugin outside;
    Call call;
    call.kind = Kind::connect;
    calls_.push_back(std::move(call));
    if (connectException_)
        std::rethrow_exception(connectException_);
    connected_ = true;
}

void ScriptedCommunicator::disconnect() noexcept {
    const OutsidePlugin outside;
    Call call;
    call.kind = Kind::disconnect;
    calls_.push_back(std::move(call));
    connected_ = false;
}

} // namespace TestSupport
