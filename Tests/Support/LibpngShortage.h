#pragma once
// libpng without memory for its own structures: in a program that links this, its functions that make them
// are called by way of here.

namespace Support {

/// What libpng makes before it reads.
enum class LibpngStep { none, readStructure, infoStructure, errorReturn };

/// From construction to destruction that step fails, as where memory is short. One thread.
class LibpngShortage {
public:
    explicit LibpngShortage(LibpngStep step);
    LibpngShortage(const LibpngShortage&) = delete;
    LibpngShortage& operator=(const LibpngShortage&) = delete;
    ~LibpngShortage();
};

} // namespace Support
