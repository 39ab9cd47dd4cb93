#include "grundel/core/Tstring.h"

#include "grundel/core/Tarrays.h"

int Tstring::split(char c, TstringArray& array) const {
    const char* text = asC();
    const TuInt32 n = length();
    TuInt32 start = 0;
    for (TuInt32 i = 0; i <= n; ++i) {
        if (i < n && text[i] != c)
            continue;
        // Empty runs (doubled, leading or trailing separators) give nothing.
        if (i > start)
            array.addLast(Tstring(text + start, i - start));
        start = i + 1;
    }
    return 0;
}
