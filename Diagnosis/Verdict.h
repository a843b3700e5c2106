#pragma once
// What the rules make of facts.

#include <string>

namespace Diagnosis {

enum class Severity {
    note,   ///< worth knowing; nothing is broken
    failure ///< it does not work, or not as it should
};

/// One cause, in words and with its remedy. Texts are printable UTF-8 without a full stop at the end.
struct Verdict {
    std::string code; ///< stable, for scripts and for Docs/Troubleshooting.md: "text-port-blocked"
    Severity severity = Severity::failure;
    std::string text;
    std::string remedy;       ///< what to try; never empty
    std::string address;      ///< the camera's; empty: it is about the computer or a network
    std::string room;         ///< empty if it is not known
    std::string adapter = {}; ///< of this computer, that it is about; empty: about none of them

    bool operator==(const Verdict&) const = default;
};

} // namespace Diagnosis
