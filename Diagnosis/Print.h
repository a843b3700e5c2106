#pragma once
// Verdicts as the tool prints them for people.

#include "Verdict.h"

#include <string>

namespace Diagnosis {

/// "10.77.1.11 (Lab 2): no answer on TCP 32768: a firewall?; try: ..." on one line, printable; without the
/// address where there is none.
std::string lineOf(const Verdict& verdict);

/// The same without the address.
std::string wordsOf(const Verdict& verdict);

/// What is said of a picture behind its numbers: "31 % overexposed; try --exposure 0.6".
std::string remarkOf(const Verdict& verdict);

} // namespace Diagnosis
