#include "Platform/StandardStreams.h"

#include <cstdlib>
#include <fcntl.h>
#include <initializer_list>
#include <io.h>

void Platform::openClosedStandardStreams() noexcept {
    constexpr int input = 0;
    constexpr int output = 1;
    constexpr int error = 2;
    for (const int descriptor : {input, output, error}) {
        // A program without a console may have a stream that leads nowhere: -2.
        if (_get_osfhandle(descriptor) >= 0)
            continue;
        // The other way round than it is used.
        const int opened = _open("NUL", descriptor == input ? _O_WRONLY : _O_RDONLY);
        if (opened < 0 || (opened != descriptor && _dup2(opened, descriptor) != 0))
            std::abort();
        if (opened != descriptor)
            _close(opened);
    }
    // Lines end as they do everywhere, and pictures are not text.
    for (const int descriptor : {input, output, error})
        _setmode(descriptor, _O_BINARY);
}

// It fails already.
void Platform::ignoreBrokenPipes() noexcept {}
