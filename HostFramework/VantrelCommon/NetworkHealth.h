#pragma once
// What a camera last reported about its connection.

#include "HostFrameworkExport.h"

#include <functional>
#include <string>

/// A status code as a value. The camera family of this plug-in reports 2 (picture captured), 1032 (capture
/// failed) and 2056 (connection check failed).
class HOSTFRAMEWORK_EXPORT NetworkHealth {
public:
    static constexpr int pictureCaptured = 2;
    static constexpr int captureFailed = 1032;
    static constexpr int connectionCheckFailed = 2056;

    explicit NetworkHealth(int code) : code_(code) {}

    int getCode() const { return code_; }

    /// The code's meaning in words, for people; "unknown status" for any other code.
    std::wstring getText() const;

    friend bool operator==(const NetworkHealth&, const NetworkHealth&) = default;

private:
    int code_;
};

using NetworkHealthCallback = std::function<void(NetworkHealth)>;
