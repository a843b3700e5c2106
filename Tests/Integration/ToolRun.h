#pragma once
// Runs the built tool as its users do.

#include "ChildProcess.h"
#include "TemporaryFolder.h"

#include <cstddef>
#include <string>
#include <vector>

namespace Integration {

/// `arguments` behind the tool's own path.
std::vector<std::string> toolCommand(const std::vector<std::string>& arguments);

struct ToolResult {
    int status = -1;
    std::string output;
    std::string errors;
};

/// Runs the tool to its end.
ToolResult runTool(const std::vector<std::string>& arguments);

/// An address of this process's own within loopback, so that neither a camera somebody else plays nor another
/// run of these tests is in the way.
std::string addressOfThisProcess();

/// The number of lines in a text; what follows the last line end counts as one too.
std::size_t lineCount(const std::string& text);

/// `korva simulate` at ports the system chose, from the moment it serves until destruction.
class SimulatedCamera {
public:
    /// `options` beyond ports and run time. Throws std::runtime_error where it does not serve.
    explicit SimulatedCamera(const std::vector<std::string>& options = {"--size", "120x80"});

    const std::string& port() const { return port_; }
    const std::string& textPort() const { return textPort_; }
    ChildProcess& process() { return process_; }

    /// A stored description of this camera, with the size of its pictures.
    std::string description() const { return folder_.file("camera.xml"); }

    /// The arguments of a capture of this camera by its description, followed by `more`.
    std::vector<std::string> captureArguments(const std::vector<std::string>& more) const;

private:
    TemporaryFolder folder_;
    ChildProcess process_;
    std::string port_;
    std::string textPort_;
};

/// `korva simulate` at the ports that real cameras have, at addressOfThisProcess(), from the moment it serves
/// until destruction.
class CameraAtItsPorts {
public:
    /// `options` beyond address and run time. Throws std::runtime_error where it does not serve.
    explicit CameraAtItsPorts(const std::vector<std::string>& options = {});

    ChildProcess& process() { return process_; }

private:
    ChildProcess process_;
};

/// A grey picture file, read back with libpng.
struct GreyPicture {
    unsigned width = 0;
    unsigned height = 0;
    std::vector<unsigned char> pixels; ///< empty where the file is no 8-bit grey PNG
};

GreyPicture readGreyPng(const std::string& path);

} // namespace Integration
