#pragma once
// Texts of cameras as they may be shown on a terminal.

#include "Diagnosis/Printable.h"

namespace Console {

using Diagnosis::printable;
using Diagnosis::printableXml;

} // namespace Console
