#pragma once
// The process's locale.

namespace Console {

/// Has the process take texts for what the environment says they are, or for UTF-8 if that says otherwise:
/// under a locale without UTF-8 the logging library turns every byte above 127 into a question mark. Nothing
/// else is the environment's: numbers stay as programs read them, and the system's reasons English, by which
/// they are recognised.
void useUtf8Locale();

} // namespace Console
