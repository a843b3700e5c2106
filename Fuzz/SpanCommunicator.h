#pragma once
// A transport made for speed: it reads from memory that belongs to the fuzz target, and records nothing.

#include "FuzzInput.h"

#include "Communicator/Communicator.h"
#include "Communicator/DeviceException.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>
#include <vector>

namespace Fuzz {

/// Bytes that can be read, and how they arrive. Those that are there no more are a time-out.
struct Answer {
    View bytes;
    std::size_t pieceBytes = std::numeric_limits<std::size_t>::max(); ///< at least 1
    bool hasWholeShortReads = false; ///< pieces end nowhere within a short read
    bool isClosedBehind = false;     ///< instead of the time-out the connection is lost
};

/// Gives one answer after the other, the next one with every write; then none.
class SpanCommunicator final : public Communicator {
public:
    SpanCommunicator() = default;
    /// Can be read without a request.
    explicit SpanCommunicator(const Answer& answer) : answers_(1, answer) {}

    /// Begins anew: the first answer is to the first request.
    void startWithRequest(const std::vector<Answer>& answers) {
        answers_.assign(1, {});
        answers_.insert(answers_.end(), answers.begin(), answers.end());
        index_ = 0;
        at_ = 0;
    }

    bool isExhausted() const { return index_ >= answers_.size() || at_ == answers_[index_].bytes.size(); }

    void writeBytes(const void* /*data*/, unsigned int /*count*/, bool /*discardUnread*/,
                    int /*reserved*/) override {
        ++index_;
        at_ = 0;
    }

    int readBytes(void* data, unsigned int count, int /*reserved*/, unsigned int /*timeoutMs*/) override {
        if (isExhausted()) {
            if (index_ < answers_.size() && answers_[index_].isClosedBehind)
                throw DeviceException(L"closed");
            return 0;
        }
        const Answer& answer = answers_[index_];
        const std::size_t piece = answer.hasWholeShortReads && count <= shortReadBytes
                                      ? shortReadBytes
                                      : answer.pieceBytes - at_ % answer.pieceBytes;
        const std::size_t taken = std::min({std::size_t{count}, piece, answer.bytes.size() - at_});
        std::memcpy(data, answer.bytes.data() + at_, taken);
        at_ += taken;
        return static_cast<int>(taken);
    }

    bool isConnected() const override { return connected_; }

protected:
    void connect() override { connected_ = true; }
    void disconnect() noexcept override { connected_ = false; }

private:
    static constexpr std::size_t shortReadBytes = 16;

    std::vector<Answer> answers_;
    std::size_t index_ = 0;
    std::size_t at_ = 0;
    bool connected_ = false;
};

} // namespace Fuzz
