#pragma once
// A transport whose answers are written down beforehand and whose every call is recorded.

#include "Communicator/Communicator.h"
#include "Support/OutsidePlugin.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <iterator>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace TestSupport {

using Bytes = std::vector<std::uint8_t>;

/// Each read takes from the front of the script: as many bytes as it asks for, but never beyond the end of
/// the piece that stands there. A read that finds no piece gets 0 bytes, as after a time-out. One thread.
class ScriptedCommunicator final : public Communicator {
public:
    enum class Kind { connect, disconnect, write, read };

    /// One call, with its arguments as they came.
    struct Call {
        Kind kind = Kind::read;
        unsigned int count = 0;
        bool discardUnread = false; ///< writes only
        int reserved = 0;
        unsigned int timeoutMs = 0;  ///< reads only
        Bytes written = {};          ///< writes only: the bytes
        void* destination = nullptr; ///< reads only

        bool operator==(const Call&) const = default;
    };

    /// The calls that a test expects, to be compared with reads() and writes().
    static Call readCall(unsigned int count, unsigned int timeoutMs) {
        return {.kind = Kind::read, .count = count, .reserved = 1, .timeoutMs = timeoutMs};
    }
    static Call writeCall(Bytes written) {
        const auto count = static_cast<unsigned int>(written.size());
        return {Kind::write, count, true, 1, 0, std::move(written)};
    }

    // The script.

    /// A piece of the byte stream.
    ScriptedCommunicator& deliver(Bytes piece) {
        add({.owned = std::move(piece)});
        script_.back().view = script_.back().owned;
        return *this;
    }
    /// The same bytes as pieces of at most `pieceBytes`.
    ScriptedCommunicator& deliverInPieces(const Bytes& bytes, std::size_t pieceBytes) {
        for (auto at = bytes.begin(); at != bytes.end();) {
            const auto length = std::min(static_cast<std::ptrdiff_t>(pieceBytes), bytes.end() - at);
            const auto start = std::exchange(at, at + length);
            deliver(Bytes(start, at));
        }
        return *this;
    }
    /// A piece that belongs to the caller and outlives the script; for large ones.
    ScriptedCommunicator& deliverView(std::span<const std::uint8_t> piece) { return add({.view = piece}); }
    /// One read that returns `result` and stores nothing.
    ScriptedCommunicator& answerReadWith(int result) { return add({.result = result}); }
    /// One read that throws 42.
    ScriptedCommunicator& throwOnRead() { return add({.isThrow = true}); }
    /// What follows is not read before the next write. That write drops what then stands before it.
    ScriptedCommunicator& afterNextWrite() { return add({.isNextWrite = true}); }
    /// Called at the beginning of every write, with the number of writes before it; may throw, as the write.
    ScriptedCommunicator& onWrite(std::function<void(std::size_t)> observer) {
        writeObserver_ = std::move(observer);
        return *this;
    }

    // What happened.

    const std::vector<Call>& calls() const { return calls_; }
    /// The reads alone, without their destinations.
    std::vector<Call> reads() const {
        std::vector<Call> found = of(Kind::read);
        for (Call& call : found)
            call.destination = nullptr;
        return found;
    }
    std::vector<Call> writes() const { return of(Kind::write); }
    /// True where no piece is left to be read.
    bool isExhausted() const { return script_.empty(); }

    void writeBytes(const void* data, unsigned int count, bool discardUnread, int reserved) override {
        const OutsidePlugin outside;
        const auto* const bytes = static_cast<const std::uint8_t*>(data);
        const auto before = std::ranges::count(calls_, Kind::write, &Call::kind);
        calls_.push_back({Kind::write, count, discardUnread, reserved, 0, Bytes(bytes, bytes + count)});
        if (writeObserver_)
            writeObserver_(static_cast<std::size_t>(before));
        const auto next = std::ranges::find_if(script_, &Step::isNextWrite);
        if (next != script_.end())
            script_.erase(script_.begin(), std::next(next));
    }

    int readBytes(void* data, unsigned int count, int reserved, unsigned int timeoutMs) override {
        const OutsidePlugin outside;
        calls_.push_back({Kind::read, count, false, reserved, timeoutMs, {}, data});
        if (script_.empty() || script_.front().isNextWrite)
            return 0;
        Step& step = script_.front();
        if (step.isThrow)
            throw 42;
        const std::size_t taken = std::min<std::size_t>(count, step.view.size());
        const int read = step.result.value_or(static_cast<int>(taken));
        std::copy_n(step.view.begin(), taken, static_cast<std::uint8_t*>(data));
        step.view = step.view.subspan(taken);
        if (step.view.empty())
            script_.pop_front();
        return read;
    }

    bool isConnected() const override { return connected_; }

protected:
    void connect() override { setConnected(true); }
    void disconnect() noexcept override { setConnected(false); }

private:
    /// A piece, unless it is something else.
    struct Step {
        Bytes owned = {};
        std::span<const std::uint8_t> view = {};
        std::optional<int> result = {};
        bool isNextWrite = false;
        bool isThrow = false;
    };

    ScriptedCommunicator& add(Step step) {
        script_.push_back(std::move(step));
        return *this;
    }

    std::vector<Call> of(Kind kind) const {
        std::vector<Call> found;
        std::ranges::copy_if(calls_, std::back_inserter(found),
                             [kind](const Call& call) { return call.kind == kind; });
        return found;
    }

    void setConnected(bool isConnected) {
        const OutsidePlugin outside;
        calls_.push_back({isConnected ? Kind::connect : Kind::disconnect});
        connected_ = isConnected;
    }

    std::deque<Step> script_;
    std::function<void(std::size_t)> writeObserver_;
    std::vector<Call> calls_;
    bool connected_ = false;
};

} // namespace TestSupport
