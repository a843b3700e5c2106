#pragma once
// What keeps a single camera from being used, and what is odd about it.

#include "Facts.h"
#include "RulesOfNetworks.h"
#include "Verdict.h"

#include <optional>
#include <string>
#include <vector>

namespace Diagnosis {

/// Why it cannot be reached at a port, 32768 or 32769, by what is known of its ports, ARP and queries;
/// nothing if it can, or that is not known.
std::optional<Verdict> verdictOnConnection(const Camera& camera, int port);

/// As verdictOn(), with the causes outside the cameras at hand.
std::optional<Verdict> verdictOnCamera(const Camera& camera, const FactsIndex& index,
                                       const NetworkCauses& causes);

/// All that is odd about a camera that works.
std::vector<Verdict> notesOn(const Camera& camera, const FactsIndex& index);

/// Whether the plug-in knows the size of a model's pictures by its name.
bool isKnownModel(const std::string& model);

/// The size, as "2748 x 1836", that the plug-in takes the pictures of a model for which it does not know,
/// since the name is short; empty if it knows the model, or measures a sample picture of it.
std::string guessedSize(const std::string& model);

/// What an identity says of the model, without the family's name before it.
std::string modelIn(const std::string& text);

inline constexpr auto nameServiceSilent = "the name service does not answer, so this name has no address";
inline constexpr auto tryNameAgain = "again, or give the camera's IPv4 address";

/// Whether the reason of a look-up that failed leaves open if there is such a name.
bool isNameServiceSilent(const std::string& reason);

/// With the address in the place of the word ADDRESS, for whoever runs the command as it stands; unchanged if
/// it cannot be one.
std::string withAddress(std::string remedy, const std::string& address);

/// A verdict on the camera.
Verdict verdictWith(const Camera& camera, const char* code, Severity severity, std::string text,
                    std::string remedy);

} // namespace Diagnosis
