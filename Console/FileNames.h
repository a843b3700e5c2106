#pragma once
// What the files of pictures are called.

#include "CaptureOptions.h"

#include <set>
#include <string>

namespace Console {

/// What the name of a picture's file may say. Texts may be any.
struct NameParts {
    std::string address;
    std::string room;
    std::string serial;
    std::string time; ///< "20261122-231455"
    int exposureUnits = 15;
    int number = 1; ///< of the camera's pictures, from 1
};

/// "{room}, {serial} ... or {exposure}".
std::string placeholderHelp();

/// Why pictures cannot be written there, as a complaint of the command line: it is no name, names another
/// format than PNG, or has a placeholder that nobody knows or that does not end. Else empty.
std::string complaintAboutOutput(const std::string& output);

/// Whether the name depends on the picture.
bool isPattern(const std::string& output);

/// options.output with its placeholders filled in. Else options.output itself, or "korva-ADDRESS.png" where
/// that is empty; of several cameras, that name in the folder options.output. If a camera has several
/// pictures and the pattern does not say which, each name bears "-NUMBER" before its extension. What is
/// filled in holds letters, digits, dots and hyphens of ASCII, of anything else underscores, and no dot at
/// its begin; of a long text the first 64 bytes, so that two cameras' names may be the same; of an empty one
/// "unknown".
std::string pictureFileName(const CaptureOptions& options, const NameParts& parts);

/// `text`, which may be any, as a part of a name: see above.
std::string safeInNames(const std::string& text);

/// The same names, each once: two cameras may call themselves alike.
class UnusedNames {
public:
    /// `name`, or if it was given before, the first of "NAME_2.png", "NAME_3.png" ... that was not.
    std::string unused(const std::string& name);

private:
    std::set<std::string> given_;
};

} // namespace Console
