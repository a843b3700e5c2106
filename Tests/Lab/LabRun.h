#pragma once
// Runs Lab/run with the built tool.

#include "ToolRun.h"

#include <fstream>
#include <string>

namespace LabTests {

using namespace Integration;

/// The command line of Lab/run with `arguments`.
inline Names labCommand(const Names& arguments) {
    return joined(joined({KORVA_LAB_RUN, "--korva"}, toolCommand({})), arguments);
}

/// The same, with an `unshare` in front of the system's that refuses to go without `needed` among its flags.
inline Names labCommandWhereUnshareNeeds(const std::string& needed, const Names& arguments) {
    // A function that the shells of the lab inherit, in the place of the program.
    const std::string wrapper = "unshare() { case $1 in -*" + needed +
                                "*|-n) command unshare \"$@\";; *) return 1;; esac; };"
                                "export -f unshare; exec \"$@\"";
    return joined({"/bin/bash", "-c", wrapper, "bash"}, labCommand(arguments));
}

inline ProcessResult runLab(const Names& arguments) {
    return run(labCommand(arguments));
}

/// Runs Lab/run with `options`, as a shell reads them, and a shell's `script` as its command.
inline ProcessResult runScript(const std::string& options, const std::string& script) {
    return run(
        joined({"/bin/bash", "-c", "script=$0; exec \"$@\" " + options + " -- bash -c \"$script\"", script},
               labCommand({})));
}

/// The same with two networks and a set of cameras, a line each.
inline ProcessResult runAmong(const std::string& cameras, const std::string& script,
                              const std::string& options = "") {
    const TemporaryFolder folder;
    std::ofstream(folder.file("set")) << cameras;
    return runScript(options + " --networks 2 --set " + folder.file("set"), script);
}

/// Interrupts `command` in a lab of that camera once `sign` stands in `file`, and tells how
/// it ended, and whether that took half a second at most.
inline std::string interrupt(const std::string& cameras, const std::string& command, const std::string& sign,
                             const std::string& file) {
    return runAmong(cameras, command + " 2>$KORVA_LAB/said & work=$!; for i in {1..300}; do grep -q '" +
                                 sign + "' $KORVA_LAB/" + file +
                                 " && break; sleep 0.05; done;"
                                 "kill -INT $work; begin=$(date +%s%N); wait $work; status=$?;"
                                 "echo status $status after $((($(date +%s%N) - begin) / 1000000 < 500));"
                                 "tail -n 1 $KORVA_LAB/said")
        .output;
}

/// A stranger in a lab's set that answers a search and then sends it datagrams for as long as it listens.
inline const std::string talker =
    "1 ! python3 -c 'import socket,time;s=socket.socket(socket.AF_INET,socket.SOCK_DGRAM);"
    "s.bind((\"\",32768));print(1,flush=True);a=s.recvfrom(99)[1];"
    "[(s.sendto(b\"again\",a),time.sleep(.1)) for i in range(600)]'\n";

} // namespace LabTests
