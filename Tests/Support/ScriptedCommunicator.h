#pragma once
// A transport whose answers are written down beforehand and whose every call is recorded.

#include "Communicator/Communicator.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <map>
#include <optional>
#include <span>
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
    static Call readCall(unsigned int count, unsigned int timeoutMs);
    static Call writeCall(Bytes written);

    // The script.

    /// A piece of the byte stream.
    ScriptedCommunicator& deliver(Bytes piece);
    /// The same bytes as pieces of at most `pieceBytes`.
    ScriptedCommunicator& deliverInPieces(const Bytes& bytes, std::size_t pieceBytes);
    /// A piece that belongs to the caller and outlives the script; for large ones.
    ScriptedCommunicator& deliverView(std::span<const std::uint8_t> piece);
    /// One read that returns `result` and stores nothing.
    ScriptedCommunicator& answerReadWith(int result);
    /// One read that throws.
    ScriptedCommunicator& throwOnRead(std::exception_ptr exception);
    /// What follows is not read before the next write. That write drops what then stands before it.
    ScriptedCommunicator& afterNextWrite();
    /// Write number `index`, from 0, throws instead of being taken; it is recorded.
    ScriptedCommunicator& throwOnWrite(std::size_t index, std::exception_ptr exception);
    ScriptedCommunicator& throwOnConnect(std::exception_ptr exception);
    /// Called at the beginning of every write, with the number of writes before it.
    ScriptedCommunicator& onWrite(std::function<void(std::size_t)> observer);

    // What happened.

    const std::vector<Call>& calls() const { return calls_; }
    /// The reads alone, without their destinations.
    std::vector<Call> reads() const;
    /// The writes alone.
    std::vector<Call> writes() const;
    /// True where no piece is left to be read.
    bool isExhausted() const { return script_.empty(); }

    void writeBytes(const void* data, unsigned int count, bool discardUnread, int reserved) override;
    int readBytes(void* data, unsigned int count, int reserved, unsigned int timeoutMs) override;
    bool isConnected() const override { return connected_; }

protected:
    void connect() override;
    void disconnect() noexcept override;

private:
    /// A piece, unless it is something else.
    struct Step {
        Bytes owned = {};
        std::span<const std::uint8_t> view = {};
        std::optional<int> result = {};
        std::exception_ptr exception = {};
        bool isNextWrite = false;
    };

    std::vector<Call> of(Kind kind) const;

    std::deque<Step> script_;
    std::map<std::size_t, std::exception_ptr> writeExceptions_;
    std::exception_ptr connectException_;
    std::function<void(std::size_t)> writeObserver_;
    std::vector<Call> calls_;
    std::size_t writeCount_ = 0;
    bool connected_ = false;
};

} // namespace TestSupport
