#include "LibraryLines.h"

#include "Printable.h"

#include "Platform/StandardError.h"

#include <cstdio>

namespace Console {

void LibraryLines::show(std::string_view line) {
    if (seen_ > mostLines)
        return;
    std::FILE* const stream = Platform::standardError();
    if (++seen_ > mostLines)
        std::fprintf(stream, "korva: further lines from libraries are left out\n");
    else
        std::fprintf(stream, "korva: from a library: %s\n", printable(line).c_str());
}

} // namespace Console
