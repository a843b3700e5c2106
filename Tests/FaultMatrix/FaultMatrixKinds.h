#pragma once
// The fault matrix: what goes wrong, and where.

#include <iosfwd>
#include <string>
#include <vector>

namespace FaultMatrix {

/// What becomes of one answer of the camera.
enum class Kind {
    closedAtOnce,
    silent,
    truncatedThenClosed,
    truncatedThenSilent,
    reset,
    delayedPastTheTimeout,
    drippedByteByByte,
    drippedInRandomPieces,
    wrongChecksum,
    lengthTooSmall,
    lengthTooLarge,
    lengthWrapping,
    imageBeyondTheLimit,
    valueTooLong,
    noArgument,
    twoArguments,
    arguments255,
    wrongCommand,
    wrongCode,
    wrongAnswer, ///< Done for a picture, a picture for Done
    errorWithACode,
    garbage,
    answerOfTheMessageBefore,
    answerTwice,
    endlessData,
    endlessDataBehindTheAnswer,
};

/// One question and its answer.
enum class Exchange { discovery, version, serial, network, configure, take, get, probe };

/// A place where the camera answers.
struct Place {
    Exchange exchange = Exchange::probe;
    /// Of configure, take and get: the attempts at a picture in the operation, counted from 1. Those before
    /// it fail, since the camera refuses their configuration. The sample picture of an identification has
    /// attempts 1 and 2 in its first grab, 3 and 4 in its second.
    int attempt = 1;
};

/// What the host asks of the plug-in.
enum class Operation { discover, identify, capture, health };

struct Cell {
    Operation operation;
    Place place;
    Kind kind;
};

inline constexpr int refusalCode = 5;
inline constexpr int errorCode = 7;

bool isText(Exchange exchange);
bool isOfAPicture(Exchange exchange);

const std::vector<Kind>& allKinds();
const std::vector<Place>& placesOf(Operation operation);

/// Why a kind cannot strike there; empty where it can.
std::string reasonAgainst(Kind kind, Exchange exchange);

/// Those of the operation that apply.
std::vector<Cell> cellsOf(Operation operation);

std::string nameOf(Kind kind);
std::string nameOf(Operation operation, const Place& place);
std::string nameOf(const Cell& cell);
std::ostream& operator<<(std::ostream& stream, const Cell& cell);

} // namespace FaultMatrix
