#include "Utf8Locale.h"

#include <clocale>
#include <cstdlib>

namespace Console {

void useUtf8Locale() {
    std::setlocale(LC_CTYPE, "");
    wchar_t wide = 0;
    const bool utf8 = std::mbtowc(&wide, "\xC3\xA9", 2) == 2 && wide == L'\u00E9';
    if (!utf8)
        std::setlocale(LC_CTYPE, "C.UTF-8");
}

} // namespace Console
