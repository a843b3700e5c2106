#pragma once
// Files that are written whole or not at all.

#include <span>
#include <string>
#include <system_error>

namespace Platform {

/// Makes `bytes` the file `utf8Path`, which is replaced if it exists, and flushes them to the device. A
/// file that is replaced keeps its permissions and, as far as the process may, its owner and group; one whose
/// group cannot be kept is closed to groups. A new one has what the umask leaves of 0666. A link of that name
/// is replaced, not followed.
///
/// Whatever ends the process meanwhile, the name stands for the old file or the new one, and the bytes have
/// no name before they are complete. A complete file that is to replace another is called ".korva-...part"
/// for a moment, and keeps that name if the process is killed then; nothing else is left behind. If the file
/// system has no files without name, they are in a hidden ".korva-...part" beside it, and what would end the
/// process waits until that has gone (SIGHUP, SIGINT, SIGQUIT, SIGTERM; SIGKILL does not wait). A size limit
/// is a failure, not a signal.
///
/// On Windows the bytes are in that ".korva-...part" from the beginning, which goes with the process that
/// writes it, whatever ends that, and stays only if this happens between the last byte and the final name. A
/// read-only file is not replaced there.
///
/// Returns the system's reason if a step fails; the older file is untouched then. Any thread; the signals
/// wait for it if it is the only thread that does not block them. Throws std::bad_alloc.
std::error_code writeWholeFile(const std::string& utf8Path, std::span<const unsigned char> bytes);

/// Why writeWholeFile could not even begin. Leaves nothing behind and touches no file that exists.
std::error_code checkWholeFile(const std::string& utf8Path);

} // namespace Platform
