#pragma once
// The keys and values of a camera's bracketed text reply.

#include "NativeCameraKorva/KorvaExport.h"

#include <string>
#include <vector>

namespace Korva {

/// Splits texts such as "[Korva --Room Lab 2 --IP 192.168.10.27]" into keys (words that begin with "--") and
/// values (the words behind a key, joined by single blanks), and answers look-ups by key. Knows no key names.
/// A value; used by one thread at a time.
class KORVA_EXPORT CommParser {
public:
    CommParser();
    CommParser(const CommParser& other);
    /// Leaves `other` without entries.
    CommParser(CommParser&& other) noexcept;
    CommParser& operator=(const CommParser& other);
    /// Leaves `other` without entries, unless it is this object.
    CommParser& operator=(CommParser&& other) noexcept;
    ~CommParser();

    /// Appends the keys and values of a zero-terminated text (null counts as empty) behind those that are
    /// there. Words before the first key are dropped. A value word that ends with "]" ends its value, without
    /// that bracket, and the text; a bracket at the end of a key does not. A key without value words leaves
    /// no value entry, and a last value that no bracket closes is dropped. Malformed text is no error. Throws
    /// std::bad_alloc, and then the entries are those from before.
    void parse(char* text);

    /// True once a parse has run to its end.
    bool isParsed();

    /// The entry behind the first entry that equals `key`, whether that is a key or a value: where the key
    /// had no value, the next key. Empty if no entry equals it or none follows.
    std::string getValue(const std::string& key);

private:
    bool parsed_ = false;
    std::vector<std::string> entries_;
};

} // namespace Korva
