#pragma once
// What the cells of the fault matrix run on: a device, or a search, over lines in virtual time.

#include "FaultMatrixCamera.h"
#include "FaultMatrixIdentity.h"
#include "NativeCameraKorva/DeviceFixture.h"
#include "NativeCameraKorva/KorvaCamera.h"
#include "Support/LogCapture.h"
#include "Support/ScriptedTransport.h"
#include "Support/TimedLine.h"

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace FaultMatrix {

inline constexpr int pictureWidth = 4;
inline constexpr int pictureHeight = 3;
inline constexpr std::size_t picturePixels = 12;
inline constexpr wchar_t cameraAddress[] = L"10.0.0.5";
inline constexpr wchar_t cameraEndpoint[] = L"10.0.0.5:32769";
/// A search waits so long for further replies.
inline constexpr std::chrono::milliseconds gatheringTime{1000};
inline constexpr char discoveryReply[] = "[Korva --Room Lab --IP 10.0.0.5]";

/// Sends 4 x 3 pixels that depend on the seed.
MatrixCamera cameraOf(unsigned int seed = 0);
Bytes pictureOf(unsigned int seed = 0);

/// The fault of a cell's kind.
Fault faultOf(Kind kind);
/// One that sends these bytes and then does what `ending` says.
Fault sending(Bytes bytes, std::optional<Arrival::What> ending);

/// Every line of the plug-in at warn and above, in order.
class Said {
public:
    /// Compares with `expected`, whose lines without a number match any.
    Lines matching(const Lines& expected) const;
    Lines all() const { return matching({}); }

private:
    TestSupport::LogCapture log_{"Plenar.KorvaCamera", log4cxx::Level::getWarn()};
};

/// A camera device.
class DeviceBench {
public:
    DeviceBench();
    DeviceBench(const DeviceBench&) = delete;
    DeviceBench& operator=(const DeviceBench&) = delete;
    ~DeviceBench();

    /// The pixels of a new picture; empty where there is none.
    Bytes picture();
    bool isAlive() { return device_->isAlive(); }

    /// Mends the camera and checks that the device takes a good picture then and finds it alive.
    void expectMended();
    /// Checks that the connection is closed and that no image is alive.
    void expectAtRest() const;

    MatrixCamera camera = cameraOf();
    TestSupport::VirtualClock clock;
    std::vector<int> reports;
    const TestSupport::TimedLine& line() const { return *line_; }

private:
    TestSupport::TimedLine* line_;
    std::unique_ptr<KorvaCamera> device_;
};

/// A camera that is searched for or asked who it is.
class IdentityBench {
public:
    IdentityBench();
    IdentityBench(const IdentityBench&) = delete;
    IdentityBench& operator=(const IdentityBench&) = delete;
    ~IdentityBench();

    /// What the camera is said to be; none where DeviceException was thrown.
    std::optional<Identity> identify();
    /// What the observer was told, in order.
    std::vector<Identity> search(const std::vector<std::string>& datagrams);
    /// Of the last identify().
    const std::wstring& exception() const { return exception_; }

    void expectMended(Operation operation);
    void expectAtRest() const;

    MatrixCamera camera = cameraOf();
    TestSupport::VirtualClock clock;
    const TestSupport::TimedLine& text() const { return *text_; }
    const TestSupport::TimedLine& binary() const { return *binary_; }

private:
    TestSupport::ScriptedTransport transport_;
    std::shared_ptr<TestSupport::TimedLine> text_;
    std::shared_ptr<TestSupport::TimedLine> binary_;
    std::wstring exception_;
};

/// The camera of the bench and its replies, none of which is faulty yet.
Identified identifiedOf(const MatrixCamera& camera);
/// The same with the fault of that kind at that place.
Identified identifiedWith(const MatrixCamera& camera, const Place& place, Kind kind);
/// What the host is told of it: `identity` with every byte that is no UTF-8 replaced.
Identity asTheHostReads(Identity identity);

} // namespace FaultMatrix
