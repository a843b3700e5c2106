#pragma once
// Runs the built tool as its users do.

#include "ChildProcess.h"
#include "Support/TemporaryFolder.h"

#include <cstddef>
#include <string>
#include <vector>

namespace Integration {

using Names = std::vector<std::string>;
using TestSupport::TemporaryFolder;

/// `arguments` behind the tool's own path.
Names toolCommand(const Names& arguments);

/// Runs the tool to its end.
ProcessResult runTool(const Names& arguments);

/// Runs the tool by a shell, in whose script it is "$0" "$@".
ProcessResult runToolBy(const std::string& script, const Names& arguments);

/// Matches a failed command: status 1, no output, one line "korva: ..." with these parts.
testing::Matcher<const ProcessResult&> failed(const Names& parts);

/// Matches a text of one line.
Text oneLine();

/// An address of this process's own within loopback, so that neither a camera somebody else plays nor another
/// run of these tests is in the way.
std::string addressOfThisProcess();

/// A configuration of log4cxx's, properties or XML as `name` says, by which every line of a log, and none,
/// makes the file "victim" in the working folder.
std::string everyLineIntoAFile(const std::string& name);

/// The number of lines in a text; what follows the last line end counts as one too.
std::size_t lineCount(const std::string& text);

/// A grey picture file, read back with libpng.
struct GreyPicture {
    unsigned width = 0;
    unsigned height = 0;
    std::vector<unsigned char> pixels; ///< empty where the file is no 8-bit grey PNG
};

GreyPicture readGreyPng(const std::string& path);

/// `korva simulate` from the moment it serves until destruction.
class SimulatedCamera {
public:
    /// At ports the system chose, with pictures of 120 x 80 pixels unless `options` say otherwise. Throws
    /// std::runtime_error where it does not serve.
    explicit SimulatedCamera(const Names& options = {});

    const std::string& port() const { return port_; }
    const std::string& textPort() const { return textPort_; }
    /// "127.0.0.1:PORT"
    std::string place() const { return "127.0.0.1:" + port_; }
    ChildProcess& process() { return process_; }
    /// Ends it, which is in order, and tells all that it has said.
    std::string stop();

    /// Where captures lie: the one file a.png unless told otherwise.
    const TemporaryFolder& pictures() const { return pictures_; }
    GreyPicture picture() const { return readGreyPng(pictures_.file("a.png")); }

    /// A stored description of this camera, with the size of its pictures.
    std::string description() const { return folder_.file("camera.xml"); }

    /// The arguments of a capture of this camera by its description into pictures(), followed by `more`.
    Names captureArguments(const Names& more = {}, const std::string& file = "a.png") const;
    ProcessResult capture(const Names& more = {}, const std::string& file = "a.png") const;
    ProcessResult health(const Names& more = {}) const;

private:
    TemporaryFolder folder_;
    TemporaryFolder pictures_;
    ChildProcess process_;
    std::string port_;
    std::string textPort_;
};

/// `korva simulate` at the ports that real cameras have, at addressOfThisProcess(), from the moment it serves
/// until destruction.
class CameraAtItsPorts {
public:
    /// `options` beyond address and run time. Throws std::runtime_error where it does not serve.
    explicit CameraAtItsPorts(const Names& options = {});

    ChildProcess& process() { return process_; }

private:
    ChildProcess process_;
};

} // namespace Integration
