#pragma once
// What keeps the tool itself from its work, beside networks and cameras: files, the plug-in, memory, its
// user.

#include "Verdict.h"

#include <cstdint>
#include <string>

namespace Diagnosis {

enum class Obstacle {
    exception, ///< `reason` is what it says
    memory,
    interrupt,
    output,        ///< standard output
    file,          ///< could not be written
    fileIsOdd,     ///< it exists, and is no ordinary file
    fileIsKept,    ///< it exists, and the user wants it kept
    fileIsTaken,   ///< by a picture of this run
    folder,        ///< could not be made
    noPixels,      ///< in a picture that was to be written
    encoder,       ///< of pictures, refused one
    sheetIsFull,   ///< `bytes` pictures more than the `wanted` ones that it holds
    dumps,         ///< the folder for them that the user named could not be made
    dumpsAreOff,   ///< a folder for them was named, and the log's level has none made
    dumpsAreSetUp, ///< a folder for them was named, and a logging configuration has none made
    dumpsHaveNone, ///< no folder of the tool's own can be used for them
    dumpFolder,    ///< for one dump, could not be made
    dump,          ///< could not be given its name
    dumpIsMissing,
    dumpIsCut, ///< `bytes` of the `wanted` ones
    dumpMayBeCut,
    description,          ///< a stored one, could not be read
    descriptionOfAnother, ///< of no camera that the plug-in knows
    noPlugin,             ///< in any of the folders that are its `reason`
    plugin,               ///< could not be loaded
    pluginOfAnotherRelease,
    pluginWithoutCameras,
    noDevice,     ///< the plug-in makes none of a camera that it has found
    noImaging,    ///< the plug-in's device has none
    simulatedSet, ///< of cameras, could not be read
    simulator,    ///< could not serve its cameras
    somePictures, ///< are missing; `reason` counts them
    allPictures
};

/// A failure as it was met; any text.
struct Trouble {
    Obstacle what = Obstacle::exception;
    std::string place = {};   ///< the file, folder or address that it is about
    std::string reason = {};  ///< the system's, or of whoever refused; empty: none was told
    std::string option = {};  ///< that names the place: "--output"
    std::string address = {}; ///< of the camera whose work it is
    std::uint64_t bytes = 0;
    std::uint64_t wanted = 0;
};

/// Code, sentence and remedy of it; a note where the command goes on without.
Verdict verdictOn(const Trouble& trouble);

/// Of a command line that cannot be followed: the words are those of whoever reads it.
Verdict wrongUsage(const std::string& text, const std::string& remedy);

/// What verdictOn() says of an interrupt, for a line that stands alone.
inline constexpr auto interruptedBriefly = "interrupted";
inline constexpr auto lastWordsOfTheInterrupted = "korva: interrupted\n";

/// What it says of a shortage of memory, for whoever has none to ask with.
inline constexpr auto notEnoughMemory = "not enough memory";

} // namespace Diagnosis
