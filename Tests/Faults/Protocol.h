#pragma once
// A camera's languages as Docs/Protocol.md tells of them, over the host's transport as its rules are, in a
// time of the oracle's own.

#include "Oracle.h"

#include "Camera/Bytes.h"
#include "World/Wire.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <numeric>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Faults {

inline constexpr auto quietTime = std::chrono::milliseconds(20);
inline constexpr auto longestDrop = std::chrono::seconds(3);
inline constexpr std::size_t mostDropped = std::size_t{64} << 20;
inline constexpr std::size_t smallRead = 16;

inline constexpr auto messagePatience = std::chrono::seconds(10);
inline constexpr auto checksumPatience = std::chrono::seconds(4);
inline constexpr std::uint64_t mostImageBytes = std::uint64_t{256} << 20;
inline constexpr std::uint64_t mostOtherBytes = 4;
enum : std::uint8_t { doneCode = 0, errorCode = 1, imageCode = 6 };

/// What ends an operation; its message is the host's exception.
struct Failure {
    std::string message;
};

class Connection {
public:
    /// Of an operation, which outlives its connections.
    struct Course {
        World::Wire::Time now{}; ///< moved on by what waits
        int waits = 0;           ///< how often something has
        /// False where an end is met behind unread bytes and later than they: it may not have come by then.
        bool isSure = true;
    };

    /// `place` is what the host calls it.
    Connection(std::unique_ptr<Simulator::Session> session, std::string place, Course& course,
               Time longestRead)
        : wire_(std::move(session), course.now), place_(std::move(place)), course_(course),
          longestRead_(longestRead) {}

    /// Drops what came and was not read, and sends. True where nothing was dropped. Throws Failure.
    bool send(const Bytes& request) {
        requireOpen("send");
        std::array<std::uint8_t, 16384> scratch;
        std::size_t dropped = 0;
        const auto start = course_.now;
        const auto end = start + longestDrop;
        for (auto deadline = start; dropped < mostDropped && await(deadline);) {
            const std::size_t count = wire_.copy(scratch.data(), scratch.size(), course_.now);
            if (count == 0) {
                course_.isSure = course_.isSure && (dropped == 0 || course_.now == start);
                this->end();
                requireOpen("send");
            }
            dropped += count;
            if (course_.now >= end)
                break;
            deadline = std::min(course_.now + quietTime, end);
        }
        wire_.take(request.data(), request.size(), course_.now);
        return dropped == 0;
    }

    /// Up to `count` bytes. Up to 16 are waited for; more end when the line is quiet for 20 ms. Throws
    /// Failure where the connection ended before the first.
    Bytes receive(std::size_t count, Time patience) {
        requireOpen("receive");
        const auto deadline = course_.now + std::min(patience, longestRead_);
        auto pieceDeadline = deadline;
        // Grows with what comes: an announced length is only a claim.
        Bytes bytes;
        while (bytes.size() < count && await(pieceDeadline)) {
            const std::size_t before = bytes.size();
            bytes.resize(before + std::min<std::size_t>(count - before, 65536));
            const std::size_t came = wire_.copy(bytes.data() + before, bytes.size() - before, course_.now);
            bytes.resize(before + came);
            if (came == 0)
                end();
            if (bytes.empty())
                requireOpen("receive");
            if (came == 0 || course_.now >= deadline)
                break;
            if (count > smallRead)
                pieceDeadline = std::min(deadline, course_.now + quietTime);
        }
        return bytes;
    }

private:
    /// True where something comes, or the connection ends, by then.
    bool await(World::Wire::Time deadline) {
        ++course_.waits;
        return wire_.await(deadline, course_.now);
    }

    void requireOpen(const char* operation) const {
        if (!brokenBecause_.empty())
            throw Failure{place_ + ": " + operation + " failed: " + brokenBecause_};
    }

    void end() {
        brokenBecause_ = wire_.isReset() ? "Connection reset by peer" : "Connection closed by the peer";
    }

    World::Wire wire_;
    std::string place_;
    Course& course_;
    Time longestRead_;
    std::string brokenBecause_;
};

/// An answer of the binary protocol.
struct Message {
    struct Argument {
        std::uint8_t code = 0;
        Bytes value = {};
    };
    std::uint8_t command = 0;
    std::vector<Argument> arguments;
};

inline std::string text(std::uint64_t number) {
    return std::to_string(number);
}

inline std::string character(std::size_t byte) {
    return {static_cast<char>(byte)};
}

inline Line protocolLine(const char* level, const std::string& message) {
    return {level, "KorvaInternalsComm", "KorvaBinaryCommunication", message};
}

/// Reads one message from a connection.
class Reader {
public:
    /// Why it cannot be read.
    struct Unread {
        Line line;
    };

    explicit Reader(Connection& connection) : connection_(connection) {}

    Message read() {
        const Bytes header = takeHeader(6, "Header");
        length_ = Simulator::read32(header, 1);
        Message message{header[0], {}};
        while (message.arguments.size() < header[5])
            message.arguments.push_back(readArgument());
        return message;
    }

    /// What is wrong with the checksum behind it, if anything.
    std::optional<Line> checksumLine() {
        Bytes field = connection_.receive(2, checksumPatience);
        field.resize(2);
        if (Simulator::read16(field, 0) == sum_)
            return std::nullopt;
        return protocolLine("WARN", "Korva Response failed chksum: sent " + text(field[1] * 256U + field[0]) +
                                        " : calculated " + text(sum_));
    }

private:
    static void require(bool isRight, const std::string& message) {
        if (!isRight)
            throw Unread{protocolLine("ERROR", message)};
    }

    Bytes take(std::size_t count) {
        Bytes bytes = connection_.receive(count, messagePatience);
        taken_ += bytes.size();
        sum_ = static_cast<std::uint16_t>(std::accumulate(bytes.begin(), bytes.end(), std::uint32_t{sum_}));
        return bytes;
    }

    Bytes takeHeader(std::size_t count, const std::string& name) {
        Bytes header = take(count);
        require(header.size() == count, "Failed to read " + name + ": bytesRead = " + text(header.size()));
        return header;
    }

    Message::Argument readArgument() {
        const Bytes header = takeHeader(5, "ArgHeader");
        Message::Argument argument{header[0]};
        const std::uint64_t count = Simulator::read32(header, 1);
        const bool isImage = argument.code == imageCode;
        require(count + taken_ <= length_,
                "Korva has formulated an inconsistent message: args will exceed expected message length: "
                "argSize " +
                    text(count) + " totalBytesRead " + text(taken_) + "expected message size " +
                    text(length_));
        require(isImage || count <= mostOtherBytes, "Korva has sent an argument that is too large: code " +
                                                        text(argument.code) + " argSize " + text(count) +
                                                        " limit 4");
        imageBytes_ += isImage ? count : 0;
        require(imageBytes_ <= mostImageBytes,
                "Korva has sent an image that is too large: argSize " + text(count) + " limit 268435456");
        while (argument.value.size() < count) { // in any number of pieces
            const std::uint64_t missing = count - argument.value.size();
            const Bytes piece = take(missing);
            require(!piece.empty(), "Error reading ARG value: bytesRead = 0, expected " + text(missing));
            argument.value.insert(argument.value.end(), piece.begin(), piece.end());
        }
        return argument;
    }

    Connection& connection_;
    std::uint64_t length_ = 0;
    std::uint64_t taken_ = 0;
    std::uint64_t imageBytes_ = 0;
    std::uint16_t sum_ = 0;
};

/// None, with a line, where it cannot be read. Throws Failure.
inline std::optional<Message> readMessage(Connection& connection, Lines& lines) {
    try {
        Reader reader(connection);
        Message message = reader.read();
        const std::optional<Line> wrongChecksum = reader.checksumLine();
        if (!wrongChecksum)
            return message;
        lines.push_back(*wrongChecksum);
        // A picture with a flipped byte is better than none.
        if (!message.arguments.empty() && message.arguments.front().code == imageCode)
            return message;
    } catch (const Reader::Unread& unread) {
        lines.push_back(unread.line);
    }
    return std::nullopt;
}

/// Whether it is what was asked for; with a line where it is not.
inline bool isWanted(const Message& message, bool wantsPicture, Lines& lines) {
    const auto refuse = [&lines](const char* level, const std::string& line) {
        lines.push_back(protocolLine(level, line));
        return false;
    };
    const std::vector<Message::Argument>& all = message.arguments;
    if (message.command != 1)
        return refuse("ERROR",
                      "Korva didn't receive our Camera command: returned " + character(message.command));
    if (all.size() > 1)
        refuse("WARN", "Korva returned more arguments than expected: " + character(all.size()));
    if (all.empty())
        return refuse("ERROR", "Korva returned no argument");
    Bytes value = all.front().value;
    value.resize(std::max<std::size_t>(value.size(), mostOtherBytes));
    switch (all.front().code) {
    case doneCode:
        return !wantsPicture || refuse("ERROR", "Expected GetImage response, got Done");
    case imageCode:
        return wantsPicture || refuse("WARN", "Korva returned an unexpected GetImage code: \x06");
    case errorCode:
        return refuse("WARN", "Korva returned an error code: " + text(Simulator::read32(value, 0)));
    default:
        return refuse("WARN",
                      "Korva returned an unexpected response code code: " + character(all.front().code));
    }
}

/// The entries of a text reply, which ends at its first zero byte.
inline std::vector<std::string> entriesOf(const std::string& reply) {
    std::istringstream words(reply.substr(0, reply.find('\0')));
    std::vector<std::string> entries;
    std::string value;
    for (std::string word; words >> word;) {
        const bool isKey = word.starts_with("--");
        if (isKey && !value.empty())
            entries.push_back(std::exchange(value, ""));
        if (isKey)
            entries.push_back(word);
        else if (!entries.empty())
            value += (value.empty() ? "" : " ") + word;
        if (value.ends_with(']')) {
            entries.push_back(value.substr(0, value.size() - 1));
            break;
        }
    }
    return entries;
}

/// What follows the first entry equal to `key`; empty where nothing does.
inline std::string valueOf(const std::vector<std::string>& entries, const std::string& key) {
    const auto found = std::ranges::find(entries, key);
    return found == entries.end() || found + 1 == entries.end() ? "" : *(found + 1);
}

/// True for three dotted numbers, each of its low 8 bits, of 3.2.15 or above.
inline bool isNewEnough(const std::string& firmware) {
    std::istringstream parts(firmware);
    std::vector<int> numbers;
    for (std::string part; std::getline(parts, part, '.');)
        numbers.push_back(std::atoi(part.c_str()) & 0xFF);
    return numbers.size() == 3 && numbers >= std::vector{3, 2, 15};
}

/// A name that is one character shorter than a known one is deliberately taken for it.
inline bool isOf(const std::string& hardware, std::string_view model) {
    return hardware.ends_with(model) || hardware.size() + 1 == model.size();
}

/// Whether the firmware of that hardware must be new enough.
inline bool isM61(const std::string& hardware) {
    return isOf(hardware, "M61");
}

/// The picture size of a known hardware identifier.
inline std::optional<Size> knownSize(const std::string& hardware) {
    if (isM61(hardware))
        return Size(1676, 1266);
    return isOf(hardware, "M615") || isOf(hardware, "M62") ? std::optional(Size(2748, 1836)) : std::nullopt;
}

} // namespace Faults
