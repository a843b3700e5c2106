#pragma once
// What the header of a built file (ELF, 64 bits) says of how it is loaded.

#include <cstddef>
#include <filesystem>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace Structure {

struct NotElf : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct ElfFile {
    bool isPositionIndependent = false; ///< of type DYN: loaded anywhere
    bool hasInterpreter = false;        ///< names a loader: a program, not a library
    bool saysPie = false;               ///< flagged as a position-independent program
    bool hasRelro = false;              ///< a segment that is read-only after relocation
    bool bindsNow = false;              ///< all symbols bound before it starts, so that segment is all of it
    bool namesStack = false;            ///< says how its stack is to be
    bool stackIsExecutable = false;
    std::size_t branchTargets = 0;   ///< marks of places that a jump by a pointer may go to (x86-64)
    std::size_t stackProbes = 0;     ///< touches of a large frame's pages, one after the other (x86-64)
    std::set<std::string> imports;   ///< symbols that others define
    std::vector<std::string> needed; ///< names of the libraries that the loader looks for
    std::vector<std::string>
        runPath; ///< where it looks first: the elements of RPATH and RUNPATH, empty ones too
};

/// Throws NotElf where the file cannot be read as such a file of this machine.
ElfFile readElf(const std::filesystem::path& file);

} // namespace Structure
