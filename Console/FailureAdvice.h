#pragma once
// What a field engineer may try when a capture fails.

#include <string>
#include <string_view>

namespace Console {

/// A hint, one sentence without its full stop, chosen by what `reason` says: a log message of the plug-in or
/// the text of a transport's exception.
std::string adviceFor(std::string_view reason);

} // namespace Console
