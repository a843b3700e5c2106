#pragma once
// `korva health`: asks cameras whether they answer.

#include "CameraOptions.h"
#include "CommonOptions.h"
#include "ExitStatus.h"

#include "Diagnosis/Verdict.h"

#include <nlohmann/json_fwd.hpp>

#include <optional>
#include <string>

namespace Console {

struct HealthOptions {
    CameraOptions camera;
    bool takesAnyCamera = false; ///< also another than the description's
    int jobs = 16;               ///< cameras that are asked at a time
    bool watch = false;
    bool json = false;
};

/// Adds the options of `korva health`; `options` must outlive the parse.
void addHealthOptions(const CommandLine::Options& command, HealthOptions& options);

/// Probes the cameras' connections once, side by side, and says of each on standard output what it found.
/// With options.watch each second until Ctrl-C, each camera at its own pace, and of that what is new; a
/// camera that is not there is asked for again. The status is that of the last probes. Never throws.
ExitStatus runHealth(const HealthOptions& options, const CommonOptions& common);

/// What a probe, or the identification before it, came to.
struct Health {
    std::string place;                             ///< "10.0.0.7:32769", or the address alone
    std::string address;                           ///< without a port
    std::optional<Diagnosis::Verdict> whyNot = {}; ///< unset: the camera answers
    std::optional<Diagnosis::Verdict> note = {};   ///< what is odd about its answer

    bool operator==(const Health&) const = default;
};

/// Whether nothing is new: what was measured, as "58 bytes in 1.3 s", may differ.
bool isSameState(const Health& one, const Health& other);

/// "10.0.0.7:32769: good, the camera answers", or what is odd or wrong and what to try.
std::string healthLine(const Health& health);

/// {"address", "ok", "error": {"code", "text", "try"}}; of a camera that answers without "error", and with
/// "note" of the same shape where something is odd.
nlohmann::ordered_json healthObject(const Health& health);

} // namespace Console
