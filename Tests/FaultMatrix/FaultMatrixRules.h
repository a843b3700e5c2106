#pragma once
// The rules of the fault matrix: what an operation makes of one faulty answer.

#include "FaultMatrixTable.h"

#include <chrono>
#include <string>

namespace FaultMatrix {

/// Where attempts are counted from, and what the fault's answer becomes.
struct Struck {
    Place place;
    Reading reading;
    bool isPicture = false; ///< the answer that was due
};

/// What a capture makes of it.
struct CaptureOutcome {
    enum class What { picture, nothing, thrown } what = What::nothing;
    std::wstring exception = {};
    Lines lines = {};
    int configurations = 0; ///< that the camera saw
    std::chrono::milliseconds waited{0};
};

/// Korva::capture, whose first attempt has the number `firstAttempt`.
CaptureOutcome capture(const std::wstring& endpoint, const Struck& struck, int firstAttempt = 1);

/// What the host sees of a picture request or a connection check.
struct DeviceOutcome {
    bool good = false; ///< a picture; the connection is there
    int health = 0;    ///< the code reported; 0 where none is
    Lines lines = {};
    int configurations = 0;
    std::chrono::milliseconds waited{0};
};

DeviceOutcome pictureRequest(const std::wstring& endpoint, const Struck& struck);
DeviceOutcome connectionCheck(const std::wstring& endpoint, const Reading& reading);

/// The message of a transport's exception.
std::wstring failureOf(const std::wstring& endpoint, const wchar_t* operation, const std::wstring& reason);

/// What the row says, and where it strikes.
Struck struckBy(Kind kind, const Place& place, const Bytes& done, const Bytes& picture);

} // namespace FaultMatrix
