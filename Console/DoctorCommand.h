#pragma once
// `korva doctor`: looks at everything there is to look at, and says what is wrong.

#include "CameraOptions.h"
#include "CommonOptions.h"
#include "ExitStatus.h"

#include "Diagnosis/Facts.h"
#include "Diagnosis/Verdict.h"

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <vector>

namespace Console {

struct DoctorOptions {
    CameraOptions camera; ///< without addresses: whoever answers a search
    bool json = false;
};

/// Adds the options of `korva doctor`; `options` must outlive the parse.
void addDoctorOptions(const CommandLine::Options& command, DoctorOptions& options);

/// Looks at this computer, its networks and the cameras, and prints what is wrong, the likeliest cause first,
/// then a line for each look. ExitStatus::failed where a cause is a failure. Never throws.
ExitStatus runDoctor(const DoctorOptions& options, const CommonOptions& common);

/// What `korva doctor` prints for people, printable, a line end behind each line.
std::string doctorText(const Diagnosis::Facts& facts, const std::vector<Diagnosis::Verdict>& causes);

/// {"causes": [{code, severity, text, try, address}...], "looks": [{code, status, seen, address}...]}, and
/// with "error" the first cause that is a failure, if one is.
nlohmann::ordered_json doctorJson(const Diagnosis::Facts& facts,
                                  const std::vector<Diagnosis::Verdict>& causes);

} // namespace Console
