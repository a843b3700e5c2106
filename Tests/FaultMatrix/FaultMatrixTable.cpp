#include "FaultMatrixTable.h"

#include <algorithm>
#include <numeric>
#include <ostream>
#include <stdexcept>

using namespace std::chrono_literals;

namespace FaultMatrix {
namespace {

constexpr auto messageTimeout = 10000ms;
constexpr auto replyTimeout = 4000ms;
constexpr auto dropTime = 3000ms; ///< how long a write drops what a camera goes on to send
constexpr std::size_t replyBytes = 256;

const std::string inconsistent =
    "Korva has formulated an inconsistent message: args will exceed expected message length: argSize ";

/// Numbers of the right answer that lines name.
struct Numbers {
    std::string value;    ///< bytes of the argument's value
    std::string length;   ///< of the message
    std::string half;     ///< of the length
    std::string checksum; ///< calculated
    std::string swapped;  ///< the checksum and one, as the line shows what was sent
};

Numbers numbersOf(const Bytes& message) {
    const auto sum =
        static_cast<std::uint16_t>(std::accumulate(message.begin(), message.end() - 2, std::uint32_t{0}));
    // One is added to the low byte alone.
    const unsigned int sent = (sum & 0xFF00U) | ((sum + 1U) & 0xFFU);
    return {std::to_string(message.size() - 13), std::to_string(message.size()),
            std::to_string(message.size() / 2), std::to_string(sum),
            std::to_string((sent & 0xFF) << 8 | sent >> 8)};
}

Reading thrown(const std::wstring& reason) {
    return {Verdict::thrown, {}, {}, Afterwards::broken, reason, 0ms};
}

Reading unread(const std::string& error, Afterwards afterwards = Afterwards::usable,
               std::chrono::milliseconds waited = 0ms) {
    return {Verdict::unread, {protocolError(error)}, {}, afterwards, L"", waited};
}

Reading brokenWhileRead(const std::string& error, const std::wstring& reason) {
    return {Verdict::unread, {protocolError(error)}, {}, Afterwards::broken, reason, 0ms};
}

Reading refused(Line line, Lines read = {}) {
    return {Verdict::refused, std::move(read), {std::move(line)}, Afterwards::usable, L"", 0ms};
}

Reading accepted(Lines judged = {}, Lines read = {}) {
    return {Verdict::accepted, std::move(read), std::move(judged), Afterwards::usable, L"", 0ms};
}

Reading and_(Afterwards afterwards, Reading reading) {
    reading.afterwards = afterwards;
    return reading;
}

/// A row: what becomes of the fault where Done is due, and where a picture is.
struct Row {
    Kind kind;
    Reading done;
    Reading picture;
};

std::vector<Row> rowsOf(const Numbers& its) {
    const Line unexpectedPicture = protocolWarning("Korva returned an unexpected GetImage code: \x06");
    const Line unexpectedDone = protocolError("Expected GetImage response, got Done");
    const Line error7 = protocolWarning("Korva returned an error code: 7");
    const Line codeC = protocolWarning("Korva returned an unexpected response code code: c");
    const Line command2 = protocolError("Korva didn't receive our Camera command: returned \x02");
    const Line wrongSum = protocolWarning("Korva Response failed chksum: sent " + its.swapped +
                                          " : calculated " + its.checksum);
    const std::string noHeader = "Failed to read Header: bytesRead = 0";
    const std::string tooLargeValue =
        "Korva has sent an argument that is too large: code 0 argSize 8 limit 4";
    const std::string tooLargeGarbage =
        "Korva has sent an argument that is too large: code 34 argSize 860116326 limit 4";
    const std::string tooLargeImage =
        "Korva has sent an image that is too large: argSize 2147483647 limit 268435456";
    const std::string halfLength = its.value + " totalBytesRead 11expected message size " + its.half;
    const std::string wrapped = "4294967285 totalBytesRead 11expected message size " + its.length;
    const std::string flood = "1431655765 totalBytesRead 11expected message size 1431655765";
    const auto warned = [](const std::string& count) {
        return accepted({protocolWarning("Korva returned more arguments than expected: " + count)});
    };
    const Reading silence = unread(noHeader, Afterwards::usable, messageTimeout);
    const Reading late = unread(noHeader, Afterwards::oneTooMany, messageTimeout);
    const Reading cutHeader = brokenWhileRead("Failed to read Header: bytesRead = 3", closedByPeer);
    const Reading cutArgument =
        unread("Failed to read ArgHeader: bytesRead = 2", Afterwards::usable, messageTimeout);
    const Reading inFlood = unread(inconsistent + flood, Afterwards::flooded);
    const Reading trailing = and_(Afterwards::trailing, accepted());
    const Reading wrongDone{Verdict::unread, {wrongSum}, {}, Afterwards::usable, L"", 0ms};

    return {
        // kind, where Done is due, where a picture is due
        {Kind::closedAtOnce, thrown(closedByPeer), thrown(closedByPeer)},
        {Kind::silent, silence, silence},
        {Kind::truncatedThenClosed, cutHeader, cutHeader},
        {Kind::truncatedThenSilent, cutArgument, cutArgument},
        {Kind::reset, thrown(resetByPeer), thrown(resetByPeer)},
        {Kind::delayedPastTheTimeout, late, late},
        {Kind::drippedByteByByte, accepted(), accepted()},
        {Kind::drippedInRandomPieces, accepted(), accepted()},
        {Kind::wrongChecksum, wrongDone, accepted({}, {wrongSum})},
        {Kind::lengthTooSmall, unread(inconsistent + halfLength), unread(inconsistent + halfLength)},
        {Kind::lengthTooLarge, accepted(), accepted()},
        {Kind::lengthWrapping, unread(inconsistent + wrapped), unread(inconsistent + wrapped)},
        {Kind::imageBeyondTheLimit, unread(tooLargeImage), unread(tooLargeImage)},
        {Kind::valueTooLong, unread(tooLargeValue), unread(tooLargeValue)},
        {Kind::noArgument, refused(protocolError("Korva returned no argument")),
         refused(protocolError("Korva returned no argument"))},
        {Kind::twoArguments, warned("\x02"), warned("\x02")},
        {Kind::arguments255, warned("\xFF"), warned("\xFF")},
        {Kind::wrongCommand, refused(command2), refused(command2)},
        {Kind::wrongCode, refused(codeC), refused(codeC)},
        {Kind::wrongAnswer, refused(unexpectedPicture), refused(unexpectedDone)},
        {Kind::errorWithACode, refused(error7), refused(error7)},
        {Kind::garbage, unread(tooLargeGarbage), unread(tooLargeGarbage)},
        {Kind::answerTwice, accepted(), accepted()},
        {Kind::endlessData, inFlood, inFlood},
        {Kind::endlessDataBehindTheAnswer, trailing, trailing},
    };
}

Line lineOf(const char* level, const char* logger, const char* file, const std::string& message) {
    return {level, logger, file, message, 0};
}

} // namespace

std::ostream& operator<<(std::ostream& stream, const Line& line) {
    stream << line.level << ' ' << line.logger << ' ' << line.file;
    if (line.number != 0)
        stream << ':' << line.number;
    return stream << " \"" << line.message << '"';
}

Line protocolError(const std::string& message) {
    return lineOf("ERROR", "KorvaInternalsComm", "KorvaBinaryCommunication", message);
}

Line protocolWarning(const std::string& message) {
    return lineOf("WARN", "KorvaInternalsComm", "KorvaBinaryCommunication", message);
}

Line captureError(const std::string& message) {
    return lineOf("ERROR", "KorvaCapture", "KorvaHelper", message);
}

Line captureWarning(const std::string& message) {
    return lineOf("WARN", "KorvaCapture", "KorvaHelper", message);
}

Line internalsError(const std::string& message, int number) {
    Line line = lineOf("ERROR", "KorvaInternals", "KorvaInternals", message);
    line.number = number;
    return line;
}

Line internalsWarning(const std::string& message) {
    return lineOf("WARN", "KorvaInternals", "KorvaInternals", message);
}

Line locatorError(const std::string& message) {
    return lineOf("ERROR", "KorvaCameraLocator", "KorvaCameraLocator", message);
}

Reading goodReading() {
    return {};
}

Reading refusedReading(int code) {
    return refused(protocolWarning("Korva returned an error code: " + std::to_string(code)));
}

Reading readingOfLate(bool isPicture, bool wantsPicture) {
    Reading reading;
    if (isPicture && !wantsPicture)
        reading = refused(protocolWarning("Korva returned an unexpected GetImage code: \x06"));
    else if (!isPicture && wantsPicture)
        reading = refused(protocolError("Expected GetImage response, got Done"));
    return reading;
}

Reading readingOfZeros() {
    // Six zeros are a header of no arguments, and the next two its checksum.
    Reading reading =
        refused(protocolError(std::string("Korva didn't receive our Camera command: returned ") + '\0'));
    reading.afterwards = Afterwards::trailing;
    reading.waited = dropTime;
    return reading;
}

Reading readingOf(Kind kind, const Due& due) {
    if (kind == Kind::answerOfTheMessageBefore)
        return readingOfLate(due.isPictureBefore, due.isPicture);
    for (const Row& row : rowsOf(numbersOf(due.message)))
        if (row.kind == kind)
            return due.isPicture ? row.picture : row.done;
    throw std::logic_error("a kind without a row");
}

ReplyReading readingOfFlood() {
    return {ReplyReading::What::replied, std::string(replyBytes, static_cast<char>(endlessByte)),
            Afterwards::flooded, L"", dropTime};
}

ReplyReading replyReadingOf(Kind kind, const std::string& due, const std::string& before) {
    using What = ReplyReading::What;
    const ReplyReading nothing{What::nothing, "", Afterwards::usable, L"", replyTimeout};
    const auto replied = [](std::string text, Afterwards afterwards = Afterwards::usable,
                            std::wstring reason = L"") {
        return ReplyReading{What::replied, std::move(text), afterwards, std::move(reason), 0ms};
    };
    const std::string flood(replyBytes, static_cast<char>(endlessByte));
    switch (kind) {
    case Kind::closedAtOnce:
        return {What::thrown, "", Afterwards::broken, closedByPeer, 0ms};
    case Kind::reset:
        return {What::thrown, "", Afterwards::broken, resetByPeer, 0ms};
    case Kind::silent:
    case Kind::delayedPastTheTimeout:
        return nothing;
    case Kind::truncatedThenClosed:
        return replied(beginningBeforeClosing(due), Afterwards::broken, closedByPeer);
    case Kind::truncatedThenSilent:
        return replied(beginningBeforeSilence(due));
    case Kind::drippedByteByByte:
    case Kind::drippedInRandomPieces:
        return replied(due);
    case Kind::wrongCode:
        return replied("[Unknown]");
    case Kind::garbage:
        return replied(std::string(garbage().begin(), garbage().end()));
    case Kind::answerOfTheMessageBefore:
        return replied(before);
    case Kind::answerTwice:
        return replied(due + due);
    case Kind::endlessData:
        return replied(flood, Afterwards::flooded);
    case Kind::endlessDataBehindTheAnswer:
        return replied((due + flood).substr(0, replyBytes), Afterwards::flooded);
    default:
        throw std::logic_error("a kind without a row");
    }
}

bool isFound(Kind kind) {
    switch (kind) {
    case Kind::answerTwice:
    case Kind::endlessDataBehindTheAnswer:
        return true;
    default: // no reply within the second, or none that can be recognised
        return false;
    }
}

} // namespace FaultMatrix
