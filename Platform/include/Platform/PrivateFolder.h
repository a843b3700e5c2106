#pragma once
// Folders into which nobody but the user looks or puts anything.

#include <string>

namespace Platform {

/// Where a program keeps, under `name`, what its user may want to see later; absolute, UTF-8. It is `name` in
/// $XDG_STATE_HOME, else in .local/state of $HOME, else `name`-UID in the system's folder for temporary
/// files; on Windows `name` in %LOCALAPPDATA%, else in %TEMP%, else in C:\. A variable that is no absolute
/// path counts as unset, and so does each in a program with more rights than its user. Nothing is made. Any
/// thread, while none changes the environment.
std::string stateFolder(const std::string& name);

/// The first of these places, for people: "$XDG_STATE_HOME or ~/.local/state".
extern const char* const statePlaces;

/// Makes the folder `utf8Path`, and those that hold it, if they are missing, and checks that it is the
/// user's alone: a folder and no link, the effective user's own, closed to all others, in a folder where
/// nobody else can put another one in its place, but for a group that its owner lets write there. Nothing
/// that exists is changed. On Windows the owners and lists of rights of both tell: the system and its
/// administrators, who may do anything, are not others. Returns an empty text, or what is
/// wrong with it, as "is a symbolic link". Any thread.
std::string makePrivateFolder(const std::string& utf8Path);

/// A path that is never a folder: no file below it can be made or opened, by nobody.
extern const char* const noFolder;

} // namespace Platform
