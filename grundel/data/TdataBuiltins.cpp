#include "grundel/data/TdataBuiltins_p.h"

namespace grundel::detail {

void registerBuiltinLetters() {
    // One line per family, sorted; a static so that it runs once, and
    // concurrent first lookups wait for it.
    static const bool registered = [] {
        registerArrayLetters();
        registerStructuredLetters();
        return true;
    }();
    (void)registered;
}

} // namespace grundel::detail
