#pragma once
// Cells of the fault matrix against the simulated camera: the fault as the simulator is told of it, and what
// the table makes of the bytes that the simulator then sends.

#include "Camera/CameraSettings.h"
#include "Camera/Request.h"
#include "FaultMatrixIdentity.h"
#include "Support/LogCapture.h"
#include "VantrelCommon/CameraInfo.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

namespace Integration {

/// Of the cells' pictures.
inline constexpr Simulator::PictureSize cellPictureSize{8, 4};

/// `fault` strikes once, so that the camera is mended then.
struct SocketCell {
    FaultMatrix::Exchange exchange;
    int attempt; ///< see FaultMatrix::Place
    FaultMatrix::Kind kind;
    const char* fault;
};

std::ostream& operator<<(std::ostream& stream, const SocketCell& cell);
std::string nameOfCell(const testing::TestParamInfo<SocketCell>& info);

/// A small picture of noise, and where the fault strikes a picture's messages an unknown model; the attempts
/// before the cell's are refused.
Simulator::CameraSettings settingsOf(const SocketCell& cell);

/// What the fault makes of the answer to a request; of a picture as `configuration` asks for it.
FaultMatrix::Struck struckBy(const SocketCell& cell, const Simulator::Configuration& configuration);

/// The camera of settingsOf(cell) with its replies, at `address`; none of its answers is faulty.
FaultMatrix::Identified goodCamera(const SocketCell& cell, const std::wstring& address);
/// The same with the cell's fault in a reply or a sample picture; with none where it strikes elsewhere.
FaultMatrix::Identified faultyCamera(const SocketCell& cell, const std::wstring& address);

/// Expects the description to say what `identity` does.
void expectSame(const CameraInfo& info, const FaultMatrix::Identity& identity);

/// Hears what the plug-in says at warn and above.
class PluginLog : public TestSupport::LogCapture {
public:
    PluginLog() : LogCapture("Plenar.KorvaCamera", log4cxx::Level::getWarn()) {}
};

/// Level and message of each line.
std::vector<TestSupport::LogText> textsOf(const FaultMatrix::Lines& lines);

} // namespace Integration
