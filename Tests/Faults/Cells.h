#pragma once
// The cells: a fault of the simulated camera, and what the host does when it strikes.

#include "Oracle.h"

#include "Camera/CameraSettings.h"

#include <cstddef>
#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

namespace Faults {

enum class Operation { discover, identify, picture, check };

struct Cell {
    Operation operation = Operation::check;
    /// `fault` strikes once. The attempts at a picture before this one fail, since the camera refuses their
    /// configuration. The sample pictures of an identification have attempts 1 and 2, 3 and 4.
    unsigned attempt = 1;
    Simulator::Fault fault;
};
std::ostream& operator<<(std::ostream& stream, const Cell& cell);

/// Without blanks and signs.
std::string nameOf(const Cell& cell);

/// The faults of a text, between blanks, each as Simulator::parseFault reads it.
std::vector<std::string> faultsIn(const std::string& text);

/// Cells by an attempt and its faults, without the "*1".
using Chosen = std::vector<std::pair<unsigned, std::string>>;
std::vector<Cell> chosenCells(Operation operation, const Chosen& chosen);

/// Every fault that the simulator has, with typical values, at every place where an operation is answered.
std::vector<Cell> everyCell();

/// This fault at every place but those of a search.
std::vector<Cell> everyPlace(const std::string& fault);

/// A camera of small pictures of noise; of an unknown model where the cell strikes a sample picture.
Simulator::CameraSettings settingsOf(const Cell& cell);
/// The same without a fault, and with other pictures.
Simulator::CameraSettings mended(Simulator::CameraSettings settings);

/// Of the right answer that the cell's fault strikes.
std::size_t answerBytes(const Cell& cell);

/// What comes to a search that the camera hears.
std::vector<Datagram> datagramsOf(Simulator::Camera& camera, const std::string& address);

/// What the oracle says of the operation on that camera, which is where `place` says.
Outcome outcomeOf(Operation operation, const Simulator::CameraSettings& settings, const Asking& asking = {},
                  const Camera& place = {});

} // namespace Faults
