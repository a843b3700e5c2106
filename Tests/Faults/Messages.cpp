#include "Messages.h"

#include "Camera/Bytes.h"

#include <numeric>

using namespace std::chrono_literals;

namespace Faults {
namespace {

constexpr std::size_t headerBytes = 6;
constexpr std::size_t argumentHeaderBytes = 5;
constexpr std::size_t checksumBytes = 2;
constexpr auto patience = 10s;
constexpr auto checksumPatience = 4s;
constexpr std::uint64_t mostImageBytes = std::uint64_t{256} << 20;
constexpr std::uint64_t mostOtherBytes = 4;
enum : std::uint8_t { doneCode = 0, errorCode = 1, imageCode = 6 };

std::string text(std::uint64_t number) {
    return std::to_string(number);
}

std::string character(std::uint8_t byte) {
    return {static_cast<char>(byte)};
}

Line protocolLine(const char* level, const std::string& message) {
    return lineOf(level, "KorvaInternalsComm", "KorvaBinaryCommunication", message);
}

/// Reads one message from a connection.
class Reader {
public:
    Reader(Connection& connection, Lines& lines) : connection_(connection), lines_(lines) {}

    std::optional<Message> read() {
        const Bytes header = take(headerBytes);
        if (header.size() < headerBytes)
            return unread("Failed to read Header: bytesRead = " + text(header.size()));
        length_ = Simulator::read32(header, 1);
        Message message{header[0], {}};
        while (message.arguments.size() < header[5]) {
            auto argument = readArgument();
            if (!argument)
                return std::nullopt;
            message.arguments.push_back(std::move(*argument));
        }
        return isChecksumRight(message) ? std::optional(std::move(message)) : std::nullopt;
    }

private:
    std::nullopt_t unread(const std::string& message) {
        lines_.push_back(protocolLine("ERROR", message));
        return std::nullopt;
    }

    Bytes take(std::size_t count) {
        Bytes bytes = connection_.receive(count, patience);
        taken_ += bytes.size();
        sum_ = static_cast<std::uint16_t>(std::accumulate(bytes.begin(), bytes.end(), std::uint32_t{sum_}));
        return bytes;
    }

    std::optional<Argument> readArgument() {
        const Bytes header = take(argumentHeaderBytes);
        if (header.size() < argumentHeaderBytes)
            return unread("Failed to read ArgHeader: bytesRead = " + text(header.size()));
        const std::uint8_t code = header[0];
        const std::uint64_t count = Simulator::read32(header, 1);
        if (count + taken_ > length_)
            return unread("Korva has formulated an inconsistent message: args will exceed expected message "
                          "length: argSize " +
                          text(count) + " totalBytesRead " + text(taken_) + "expected message size " +
                          text(length_));
        if (code != imageCode && count > mostOtherBytes)
            return unread("Korva has sent an argument that is too large: code " + text(code) + " argSize " +
                          text(count) + " limit 4");
        imageBytes_ += code == imageCode ? count : 0;
        if (imageBytes_ > mostImageBytes)
            return unread("Korva has sent an image that is too large: argSize " + text(count) +
                          " limit 268435456");
        return readValue({code, {}}, count);
    }

    /// In any number of pieces.
    std::optional<Argument> readValue(Argument argument, std::uint64_t count) {
        while (argument.value.size() < count) {
            const std::uint64_t missing = count - argument.value.size();
            const Bytes piece = take(missing);
            if (piece.empty())
                return unread("Error reading ARG value: bytesRead = 0, expected " + text(missing));
            argument.value.insert(argument.value.end(), piece.begin(), piece.end());
        }
        return argument;
    }

    /// A picture with a flipped byte is better than none.
    bool isChecksumRight(const Message& message) {
        Bytes field = connection_.receive(checksumBytes, checksumPatience);
        field.resize(checksumBytes);
        if (Simulator::read16(field, 0) == sum_)
            return true;
        lines_.push_back(protocolLine("WARN", "Korva Response failed chksum: sent " +
                                                  text(field[1] * 256U + field[0]) + " : calculated " +
                                                  text(sum_)));
        return !message.arguments.empty() && message.arguments.front().code == imageCode;
    }

    Connection& connection_;
    Lines& lines_;
    std::uint64_t length_ = 0;
    std::uint64_t taken_ = 0;
    std::uint64_t imageBytes_ = 0;
    std::uint16_t sum_ = 0;
};

} // namespace

Line lineOf(const char* level, const char* logger, const char* file, const std::string& message, int number) {
    return {level, logger, file, message, number};
}

std::optional<Message> readMessage(Connection& connection, Lines& lines) {
    return Reader(connection, lines).read();
}

bool isWanted(const Message& message, bool wantsPicture, Lines& lines) {
    const auto refuse = [&lines](const char* level, const std::string& line) {
        lines.push_back(protocolLine(level, line));
        return false;
    };
    const std::vector<Argument>& all = message.arguments;
    if (message.command != 1)
        return refuse("ERROR",
                      "Korva didn't receive our Camera command: returned " + character(message.command));
    if (all.size() > 1)
        refuse("WARN", "Korva returned more arguments than expected: " +
                           character(static_cast<std::uint8_t>(all.size())));
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

} // namespace Faults
