#pragma once
// The table of the fault matrix: what the protocol says of each faulty answer, written down from
// Docs/Protocol.md, not from what the code does.

#include "FaultMatrixWire.h"

#include <chrono>
#include <iosfwd>
#include <string>
#include <vector>

namespace FaultMatrix {

/// A line at warn or error.
struct Line {
    std::string level;
    std::string logger; ///< behind "Plenar.KorvaCamera."
    std::string file;   ///< of the location, behind "BackEnd/NativeCameraKorva/"
    std::string message;
    int number = 0; ///< of the location; 0 where it is no stable one

    bool operator==(const Line&) const = default;
};
using Lines = std::vector<Line>;

std::ostream& operator<<(std::ostream& stream, const Line& line);

Line protocolError(const std::string& message);
Line protocolWarning(const std::string& message);
Line captureError(const std::string& message);
Line captureWarning(const std::string& message);
Line internalsError(const std::string& message, int number = 0);
Line internalsWarning(const std::string& message);
Line locatorError(const std::string& message);

/// What a connection is good for behind an answer.
enum class Afterwards {
    usable,
    broken,     ///< the next request cannot be sent
    oneTooMany, ///< the next answer read is this one, late
    flooded,    ///< every further answer reads as this one
    trailing,   ///< every further answer reads as zeros
};

enum class Verdict {
    accepted,
    refused, ///< read, but not what was asked for; whoever does not judge accepts it
    unread,  ///< no message
    thrown   ///< the transport throws while nothing was received
};

/// What becomes of one message.
struct Reading {
    Verdict verdict = Verdict::accepted;
    Lines read = {};   ///< said while it is read
    Lines judged = {}; ///< said while it is judged
    Afterwards afterwards = Afterwards::usable;
    std::wstring reason = {}; ///< of `thrown` and `broken`, in the transport's words
    std::chrono::milliseconds waited{0};
};

/// What the camera should have answered.
struct Due {
    Bytes message;
    bool isPicture = false;
    bool isPictureBefore = false; ///< the answer to the message before
};

inline constexpr wchar_t closedByPeer[] = L"Connection closed by the peer";
inline constexpr wchar_t resetByPeer[] = L"Connection reset by peer";

/// The row of `kind`. Kinds that no message can have are a logic error.
Reading readingOf(Kind kind, const Due& due);
/// A good answer, and the two that places before and behind a fault see.
Reading goodReading();
Reading refusedReading(int code);
Reading readingOfLate(bool isPicture, bool wantsPicture);
Reading readingOfZeros();

/// What becomes of one text reply.
struct ReplyReading {
    enum class What { replied, nothing, thrown } what = What::replied;
    std::string delivered = {}; ///< at most 256 bytes
    Afterwards afterwards = Afterwards::usable;
    std::wstring reason = {};
    std::chrono::milliseconds waited{0};
};

ReplyReading replyReadingOf(Kind kind, const std::string& due, const std::string& before);
/// What every reply reads as behind a flood.
ReplyReading readingOfFlood();

/// Whether a search finds the camera whose one reply is faulty; it never says anything at warn and above.
bool isFound(Kind kind);

} // namespace FaultMatrix
