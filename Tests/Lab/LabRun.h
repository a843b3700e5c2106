#pragma once
// Runs Lab/run with the built tool.

#include <string>
#include <vector>

namespace LabTests {

/// The command line of Lab/run with `arguments`.
std::vector<std::string> labCommand(const std::vector<std::string>& arguments);

/// The same, with an `unshare` in front of the system's that refuses to go without `needed` among its flags.
std::vector<std::string> labCommandWhereUnshareNeeds(const std::string& needed,
                                                     const std::vector<std::string>& arguments);

struct LabResult {
    int status = -1;
    std::string output;
    std::string errors;
};

/// Runs a command line to its end.
LabResult run(const std::vector<std::string>& command);

/// Runs Lab/run with `arguments` to its end.
LabResult runLab(const std::vector<std::string>& arguments);

/// Runs Lab/run with `options` and a shell's `script` as its command.
LabResult runScript(std::vector<std::string> options, const std::string& script);

/// A file that lives as long as this.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& text);
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile();

    const std::string& path() const { return path_; }

private:
    std::string path_;
};

} // namespace LabTests
