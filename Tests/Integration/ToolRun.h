#pragma once
// Runs the built tool as its users do.

#include "ChildProcess.h"
#include "Support/TemporaryFolder.h"

#include <string>
#include <vector>

namespace Integration {

using TestSupport::TemporaryFolder;

/// `arguments` behind the tool's own path, or behind the one that $KORVA_TESTED_TOOL names: the same tool for
/// another system, as Tests/Windows/korva runs it.
Names toolCommand(const Names& arguments);

/// Runs the tool to its end.
ProcessResult runTool(const Names& arguments);

/// Runs the tool by a shell, in whose script it is "$0" "$@".
ProcessResult runToolBy(const std::string& script, const Names& arguments);

/// Matches a failed command: status 1, no output, one line "korva: ..." with these parts.
testing::Matcher<const ProcessResult&> failed(const Names& parts);

/// Matches a text whose every line matches.
Text eachLine(const Text& line);

/// Matches a text that cannot steer a terminal: nothing in its lines needs to be escaped.
Text harmless();

/// An address of this process's own within loopback, so that neither a camera somebody else plays nor another
/// run of these tests is in the way.
std::string addressOfThisProcess();

/// A configuration of log4cxx's, properties or XML as `name` says, by which every line of a log, and none,
/// makes the file "victim" in the working folder.
std::string everyLineIntoAFile(const std::string& name);

/// A grey picture file, read back with libpng; nothing where the file is no 8-bit grey PNG.
struct GreyPicture {
    unsigned width = 0;
    unsigned height = 0;
    std::vector<unsigned char> pixels;
};

GreyPicture readGreyPng(const std::string& path);

/// `korva simulate` from the moment it serves until destruction.
class Served {
public:
    /// With these arguments. Throws std::runtime_error where it does not serve.
    explicit Served(const Names& arguments);

    /// Ends it, which is in order, and tells all that it has said.
    std::string stop();

    ChildProcess process;
};

/// A camera at ports the system chose, with pictures of 120 x 80 pixels unless its options say otherwise.
class SimulatedCamera : public Served {
public:
    explicit SimulatedCamera(const Names& options = {});

    /// The arguments of a capture of this camera by its description into that file of pictures.
    Names captureArguments(const Names& more = {}, const std::string& file = "a.png") const;
    ProcessResult capture(const Names& more = {}, const std::string& file = "a.png") const;
    ProcessResult health(const Names& more = {}) const;
    GreyPicture picture() const { return readGreyPng(pictures.file("a.png")); }

    const TemporaryFolder pictures;
    const TemporaryFolder own;
    const std::string description = own.file("camera.xml"); ///< a stored one, with the size of its pictures
    std::string port;
    std::string place; ///< "127.0.0.1:PORT"
};

/// A camera at the ports that real cameras have, at addressOfThisProcess().
struct CameraAtItsPorts : Served {
    explicit CameraAtItsPorts(const Names& options = {});
};

} // namespace Integration
