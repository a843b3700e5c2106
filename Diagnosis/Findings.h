#pragma once
// What was looked at and what was seen, a line for each look.

#include "Facts.h"
#include "Verdict.h"

#include <string>
#include <vector>

namespace Diagnosis {

/// What one look has found.
struct Finding {
    enum class Status { ok, note, failure };

    std::string look; ///< stable, for scripts: "text-port"
    Status status = Status::ok;
    std::string seen;    ///< any text, without a full stop at the end
    std::string address; ///< looked at; empty: it is about the computer or a network
    std::string remedy;  ///< of the cause that shows here; empty if none does

    bool operator==(const Finding&) const = default;
};

/// "ok", "note" or "FAIL".
const char* nameOf(Finding::Status status);

/// What was seen, with the remedy if there is one, behind the address; printable.
std::string wordsOf(const Finding& finding);

/// A line for each look that `facts` tell of, in the order in which one would look: the computer, its
/// networks, then each camera. Each of the causes, which are those of the same facts, shows in one line at
/// least.
std::vector<Finding> findingsOf(const Facts& facts, const std::vector<Verdict>& causes);

} // namespace Diagnosis
