#pragma once
// The host's named developer settings, read by whoever knows the name.

#include "HostFrameworkExport.h"

#include <string>

/// A setting object names one setting; constructing it creates the setting if nobody has, with the
/// default of its kind (false, an empty text). value() reads what the store holds at that moment.
/// Any thread.
namespace DeveloperSettings {

class HOSTFRAMEWORK_EXPORT Boolean {
public:
    explicit Boolean(const char* name);
    /// True if the store's text is "true" or "1".
    bool value() const;

private:
    std::string name_;
};

class HOSTFRAMEWORK_EXPORT String {
public:
    explicit String(const char* name);
    /// The store's text, UTF-8.
    std::string value() const;

private:
    std::string name_;
};

class HOSTFRAMEWORK_EXPORT WString {
public:
    explicit WString(const char* name);
    /// The store's text, wide.
    std::wstring value() const;

private:
    std::string name_;
};

} // namespace DeveloperSettings
