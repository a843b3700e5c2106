#pragma once
// What the files of pictures are called.

#include "CaptureOptions.h"

#include <set>
#include <string>
#include <vector>

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

/// Stands in a name for what is not known.
inline constexpr const char* unknownPart = "unknown";

/// "{room}, {serial} ... or {exposure}".
std::string placeholderHelp();

/// Why pictures cannot be written there, as a complaint of the command line: it is no name, names another
/// format than PNG, or has a placeholder that nobody knows or that does not end. Else empty.
std::string complaintAboutOutput(const std::string& output);

/// Whether the name depends on the picture.
bool isPattern(const std::string& output);

/// Whether options.output is a folder for pictures: of several cameras, or by its name, or since it is there.
bool isFolderOfPictures(const CaptureOptions& options);

/// Whether the name depends on the picture's exposure.
bool isNamedByExposure(const std::string& output);

/// Whether the name depends on the camera's room.
bool isNamedByRoom(const std::string& output);

/// options.output with its placeholders filled in. Else options.output itself, or "korva-ADDRESS.png" where
/// that is empty; where options.output is a folder, that name in it. If a camera has several
/// pictures and the pattern does not say which, each name bears "-NUMBER" before its extension. What is
/// filled in holds letters, digits, dots and hyphens of ASCII, of anything else underscores, and no dot at
/// its begin; of a long text the first 64 bytes, so that two cameras' names may be the same; of an empty one
/// `unknownPart`. What comes of it is a name that the system keeps: see Platform::keptName.
std::string pictureFileName(const CaptureOptions& options, const NameParts& parts);

/// The names of the run's pictures, as far as they depend on nothing that only the cameras tell.
std::vector<std::string> picturesNamedBefore(const CaptureOptions& options);

/// Whether it ends in .png, in whatever capitals.
bool isNameOfPng(const std::string& name);

/// `text`, which may be any, as a part of a name: see above.
std::string safeInNames(const std::string& text);

/// Whether both names stand for one file, however they are spelt: by another folder's name, a symbolic link,
/// or another one within the same file system; in other capitals where these are the same to the system.
/// Neither need exist.
bool isSameFile(const std::string& one, const std::string& other);

/// The same names, each once: two cameras may call themselves alike, and two names may stand for one file.
class UnusedNames {
public:
    /// No picture gets that file from now on.
    void reserve(const std::string& name);

    /// `name`, or if its file was given before, be it in other capitals, or is reserved, the first of
    /// "NAME_2.png", "NAME_3.png" ... that is neither.
    std::string unused(const std::string& name);

private:
    std::set<std::string> given_;
    std::set<std::string> reserved_;
};

} // namespace Console
