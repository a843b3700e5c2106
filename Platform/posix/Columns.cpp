#include "Platform/Columns.h"

#include <locale.h>
#include <wchar.h>

int Platform::columnsOf(char32_t character) {
    // Whatever locale the process has: that of "C" knows ASCII alone.
    static const locale_t utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    const locale_t before =
        uselocale(utf8); // of this thread; none, if there is no such locale, changes nothing
    const int columns = wcwidth(static_cast<wchar_t>(character));
    uselocale(before);
    return columns < 0 ? 1 : columns;
}
