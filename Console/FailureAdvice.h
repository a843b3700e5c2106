#pragma once
// Why something failed, and what a field engineer may try.

#include <string>
#include <string_view>
#include <vector>

namespace Console {

/// A hint, one sentence without its full stop, chosen by what `reason` says: a log message of the plug-in or
/// the text of a transport's exception.
std::string adviceFor(std::string_view reason);

/// Why a camera failed, in one line, from the plug-in's remarks (ToolLog): all of them but those that only
/// say that there was a failure, each once.
std::string reasonOf(const std::vector<std::string>& remarks);

} // namespace Console
