#include "NativeCameraKorva/KorvaBinaryCommunication.h"

#include "Communicator/Communicator.h"
#include "NativeCameraKorva/KorvaByteSum.h"
#include "NativeCameraKorva/KorvaLog.h"
#include "NativeCameraKorva/KorvaMessageReader.h"
#include "Platform/Memory.h"

#include <array>
#include <cstring>
#include <iomanip>
#include <locale>
#include <new>
#include <span>
#include <string>
#include <utility>

namespace Korva::Binary {
namespace {

const log4cxx::LoggerPtr logger = log4cxx::Logger::getLogger("Plenar.KorvaCamera.KorvaInternalsComm");

constexpr unsigned int readTimeoutMs = 10000;
constexpr unsigned int checksumTimeoutMs = 4000;
constexpr bool discardUnread = true;
constexpr int reservedArgument = 1; // callers of the transport's reads and writes pass 1

constexpr std::size_t largestRequest =
    headerBytes + maximumArgCount * (argHeaderBytes + inlineValueBytes) + checksumBytes;

/// The bytes in lower-case hexadecimal without leading zeros, separated by single spaces.
std::string hexadecimal(std::span<const unsigned char> bytes) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << std::hex;
    const char* separator = "";
    for (const unsigned char byte : bytes) {
        text << separator << static_cast<unsigned int>(byte);
        separator = " ";
    }
    return text.str();
}

bool hasOnlyInlineValues(const std::vector<FullArg>& args) {
    for (const FullArg& arg : args) {
        if (bigEndian32(arg.header.length) > inlineValueBytes) {
            // The limit goes into the text as one character, not as digits; readers of the log expect it so.
            KORVA_LOG(logger, Error, "KorvaBinaryCommunication",
                      "Client is not expected to send message larger than "
                          << static_cast<char>(inlineValueBytes) << " bytes");
            return false;
        }
    }
    return true;
}

/// The bytes of the request that carries `args`, which hold only inline values.
std::uint32_t requestBytes(const std::vector<FullArg>& args) {
    std::size_t total = headerBytes + checksumBytes;
    for (const FullArg& arg : args)
        total += argHeaderBytes + bigEndian32(arg.header.length);
    return static_cast<std::uint32_t>(total);
}

/// Writes the request to the front of `message`, which has room for it, checksum included.
void encodeRequest(Command command, const std::vector<FullArg>& args, std::span<unsigned char> message) {
    const Header header{static_cast<std::uint8_t>(command),
                        bigEndian32(static_cast<std::uint32_t>(message.size())),
                        static_cast<std::uint8_t>(args.size())};
    std::memcpy(message.data(), &header, headerBytes);
    unsigned char* at = message.data() + headerBytes;
    for (const FullArg& arg : args) {
        const std::size_t valueBytes = bigEndian32(arg.header.length);
        std::memcpy(at, &arg.header, argHeaderBytes);
        std::memcpy(at + argHeaderBytes, arg.value.data(), valueBytes);
        at += argHeaderBytes + valueBytes;
    }
    const std::uint16_t checksum = bigEndian16(calculateChkSum(message.data(), message.size()));
    std::memcpy(at, &checksum, checksumBytes);
}

/// Reads one message off a communicator.
class MessageReader {
public:
    MessageReader(Communicator& communicator, std::uint32_t imageByteLimit)
        : communicator_(communicator), imageByteLimit_(imageByteLimit) {}

    bool readHeader(Header& header);
    /// Appends to `args` where all of the argument arrived.
    bool readArg(std::vector<FullArg>& args);
    bool readChecksum(const std::vector<FullArg>& args);

private:
    bool isConsistent(std::uint32_t valueBytes) const;
    unsigned char* valueStore(FullArg& arg, std::uint32_t valueBytes);
    bool readValue(unsigned char* value, std::uint32_t valueBytes);
    void count(const void* bytes, std::size_t byteCount);

    Communicator& communicator_;
    const std::uint32_t imageByteLimit_;
    std::uint32_t expectedBytes_ = 0;
    std::uint64_t totalBytesRead_ = 0; // wide enough that no announced length wraps it
    std::uint64_t imageBytes_ = 0;     // of all the message's images: they share one limit
    std::uint16_t sum_ = 0;
};

void MessageReader::count(const void* bytes, std::size_t byteCount) {
    totalBytesRead_ += byteCount;
    sum_ = static_cast<std::uint16_t>(sum_ + sumOfBytes(static_cast<const unsigned char*>(bytes), byteCount));
}

bool MessageReader::readHeader(Header& header) {
    const int bytesRead = communicator_.readBytes(&header, headerBytes, reservedArgument, readTimeoutMs);
    if (bytesRead != static_cast<int>(headerBytes)) {
        KORVA_LOG(logger, Error, "KorvaBinaryCommunication",
                  "Failed to read Header: bytesRead = " << bytesRead);
        return false;
    }
    count(&header, headerBytes);
    expectedBytes_ = bigEndian32(header.length);
    return true;
}

bool MessageReader::readArg(std::vector<FullArg>& args) {
    FullArg arg;
    const int bytesRead =
        communicator_.readBytes(&arg.header, argHeaderBytes, reservedArgument, readTimeoutMs);
    if (bytesRead != static_cast<int>(argHeaderBytes)) {
        KORVA_LOG(logger, Error, "KorvaBinaryCommunication",
                  "Failed to read ArgHeader: bytesRead = " << bytesRead);
        return false;
    }
    count(&arg.header, argHeaderBytes);
    const std::uint32_t valueBytes = bigEndian32(arg.header.length);
    if (!isConsistent(valueBytes))
        return false;
    unsigned char* const value = valueStore(arg, valueBytes);
    if (value == nullptr || !readValue(value, valueBytes))
        return false;
    args.push_back(std::move(arg));
    return true;
}

/// The checksum's two bytes are deliberately not reserved: cameras' messages are judged without them.
bool MessageReader::isConsistent(std::uint32_t valueBytes) const {
    if (valueBytes + totalBytesRead_ <= expectedBytes_)
        return true;
    KORVA_LOG(
        logger, Error, "KorvaBinaryCommunication",
        "Korva has formulated an inconsistent message: args will exceed expected message length: argSize "
            << valueBytes << " totalBytesRead " << totalBytesRead_ << "expected message size "
            << expectedBytes_);
    return false;
}

/// Where the value goes; null, with an error line, if it has no place.
unsigned char* MessageReader::valueStore(FullArg& arg, std::uint32_t valueBytes) {
    if (arg.header.type != static_cast<std::uint8_t>(ArgCode::GetImage)) {
        if (valueBytes <= inlineValueBytes)
            return arg.value.data();
        KORVA_LOG(logger, Error, "KorvaBinaryCommunication",
                  "Korva has sent an argument that is too large: code "
                      << static_cast<unsigned int>(arg.header.type) << " argSize " << valueBytes << " limit "
                      << inlineValueBytes);
        return nullptr;
    }
    imageBytes_ += valueBytes;
    if (imageBytes_ > imageByteLimit_) {
        KORVA_LOG(logger, Error, "KorvaBinaryCommunication",
                  "Korva has sent an image that is too large: argSize " << valueBytes << " limit "
                                                                        << imageByteLimit_);
        return nullptr;
    }
    // Not cleared, so that its pages cost nothing until bytes arrive.
    arg.data.reset(new (std::nothrow) std::uint8_t[valueBytes]);
    if (arg.data == nullptr) {
        KORVA_LOG(logger, Error, "KorvaBinaryCommunication",
                  "No memory for an image from Korva: argSize " << valueBytes);
        return nullptr;
    }
    Platform::preferLargePages(arg.data.get(), valueBytes);
    return arg.data.get();
}

bool MessageReader::readValue(unsigned char* value, std::uint32_t valueBytes) {
    std::uint32_t received = 0;
    while (received < valueBytes) {
        const std::uint32_t missing = valueBytes - received;
        KORVA_LOG(logger, Trace, "KorvaBinaryCommunication",
                  "Reading arg, requesting " << missing << " bytes");
        const int bytesRead =
            communicator_.readBytes(value + received, missing, reservedArgument, readTimeoutMs);
        if (bytesRead <= 0 || static_cast<std::uint32_t>(bytesRead) > missing) {
            KORVA_LOG(logger, Error, "KorvaBinaryCommunication",
                      "Error reading ARG value: bytesRead = " << bytesRead << ", expected " << missing);
            return false;
        }
        count(value + received, static_cast<std::size_t>(bytesRead));
        // The total is deliberately the one before this read.
        KORVA_LOG(logger, Trace, "KorvaBinaryCommunication",
                  "Reading arg, got " << bytesRead << " bytes, total " << received << " bytes");
        received += static_cast<std::uint32_t>(bytesRead);
    }
    KORVA_LOG(logger, Debug, "KorvaBinaryCommunication",
              "Expected arg size of " << valueBytes << " and read in arg of size " << received);
    return true;
}

bool isImage(const std::vector<FullArg>& args) {
    return !args.empty() && args.front().header.type == static_cast<std::uint8_t>(ArgCode::GetImage);
}

bool MessageReader::readChecksum(const std::vector<FullArg>& args) {
    std::array<unsigned char, checksumBytes> field{};
    // The count is not looked at: what did not arrive is zero and fails the comparison as any wrong sum does.
    communicator_.readBytes(field.data(), checksumBytes, reservedArgument, checksumTimeoutMs);
    if (((field[0] << 8) | field[1]) == sum_)
        return true;
    // The sent value is deliberately logged byte-swapped, the calculated one is not.
    KORVA_LOG(logger, Warn, "KorvaBinaryCommunication",
              "Korva Response failed chksum: sent " << (field[0] | (field[1] << 8)) << " : calculated "
                                                    << sum_);
    // A picture with a few wrong bytes is still worth looking at; an answer with wrong bytes says nothing.
    return isImage(args);
}

bool judgeDone(bool expectImage) {
    KORVA_LOG(logger, Debug, "KorvaBinaryCommunication", "Korva Response: DONE");
    if (expectImage)
        KORVA_LOG(logger, Error, "KorvaBinaryCommunication", "Expected GetImage response, got Done");
    return !expectImage;
}

bool judgeError(const FullArg& arg) {
    KORVA_LOG(logger, Debug, "KorvaBinaryCommunication", "Korva Response: ERROR");
    std::uint32_t code = 0;
    std::memcpy(&code, arg.value.data(), sizeof code);
    KORVA_LOG(logger, Warn, "KorvaBinaryCommunication",
              "Korva returned an error code: " << bigEndian32(code));
    return false;
}

bool judgeImage(std::uint8_t code, bool expectImage) {
    KORVA_LOG(logger, Debug, "KorvaBinaryCommunication", "Korva Response: GETIMAGE");
    if (!expectImage) {
        KORVA_LOG(logger, Warn, "KorvaBinaryCommunication",
                  "Korva returned an unexpected GetImage code: " << static_cast<char>(code));
    }
    return expectImage;
}

} // namespace

std::uint16_t calculateChkSum(const unsigned char* message, std::uint64_t length) {
    return sumOfBytes(message, static_cast<std::size_t>(length) - checksumBytes);
}

std::uint16_t* getChkSum(Header* header) {
    unsigned char* const message = reinterpret_cast<unsigned char*>(header);
    return reinterpret_cast<std::uint16_t*>(message + bigEndian32(header->length) - checksumBytes);
}

bool createAndSendMessage(Command command, std::vector<FullArg>& args, Communicator* communicator) {
    if (args.size() > maximumArgCount) {
        // The limit goes into the text as the byte 0xFF, not as digits; readers of the log expect it so.
        KORVA_LOG(logger, Error, "KorvaBinaryCommunication",
                  "Arglist exceeds allowed size: " << args.size() << " > "
                                                   << static_cast<char>(maximumArgCount));
        return false;
    }
    if (!hasOnlyInlineValues(args))
        return false;
    std::array<unsigned char, largestRequest> buffer{};
    const std::span<unsigned char> message(buffer.data(), requestBytes(args));
    encodeRequest(command, args, message);
    KORVA_LOG(logger, Debug, "KorvaBinaryCommunication",
              "Message to Korva:" << std::setw(2) << " " << hexadecimal(message));
    communicator->writeBytes(message.data(), static_cast<unsigned int>(message.size()), discardUnread,
                             reservedArgument);
    return true;
}

bool parseIncomingMessage(Communicator* communicator, Header& header, std::vector<FullArg>& args) {
    return readMessage(*communicator, header, args, defaultImageByteLimit);
}

bool readMessage(Communicator& communicator, Header& header, std::vector<FullArg>& args,
                 std::uint32_t imageByteLimit) {
    MessageReader reader(communicator, imageByteLimit);
    if (!reader.readHeader(header))
        return false;
    for (unsigned int i = 0; i < header.argCount; ++i) {
        if (!reader.readArg(args))
            return false;
    }
    return reader.readChecksum(args);
}

bool validateCommandResponse(Header& header, std::vector<FullArg>& args, bool expectImage) {
    KORVA_LOG(logger, Debug, "KorvaBinaryCommunication",
              "Korva Response Header: "
                  << std::setw(2) << std::hex << static_cast<unsigned int>(header.command) << " "
                  << hexadecimal({reinterpret_cast<const unsigned char*>(&header) + 1, headerBytes - 1}));
    if (header.command != static_cast<std::uint8_t>(Command::Camera)) {
        KORVA_LOG(logger, Error, "KorvaBinaryCommunication",
                  "Korva didn't receive our Camera command: returned " << static_cast<char>(header.command));
        return false;
    }
    if (header.argCount > 1) {
        KORVA_LOG(logger, Warn, "KorvaBinaryCommunication",
                  "Korva returned more arguments than expected: " << static_cast<char>(header.argCount));
    }
    if (args.empty()) {
        KORVA_LOG(logger, Error, "KorvaBinaryCommunication", "Korva returned no argument");
        return false;
    }
    const FullArg& first = args.front();
    switch (static_cast<ArgCode>(first.header.type)) {
    case ArgCode::Done:
        return judgeDone(expectImage);
    case ArgCode::Error:
        return judgeError(first);
    case ArgCode::GetImage:
        return judgeImage(first.header.type, expectImage);
    default:
        KORVA_LOG(
            logger, Warn, "KorvaBinaryCommunication",
            "Korva returned an unexpected response code code: " << static_cast<char>(first.header.type));
        return false;
    }
}

} // namespace Korva::Binary
