// The built-in letter classes are registered on the registry's first
// lookup, not by static objects of their own: a static library drops
// object files nothing refers to, and a record of another file may not be
// constructed yet while static initialisation runs.
#include "grundel/data/TdataBuiltins_p.h"

namespace grundel::detail {

void registerBuiltinLetters() {
    // A function-local static runs once; concurrent first lookups wait for it.
    static const bool registered = [] {
        // One line per family, sorted.
        registerArrayLetters();
        registerMatrixLetters();
        registerSpectrumLetters();
        registerStructuredLetters();
        registerTupleLetters();
        registerVoidPtrLetter();
        return true;
    }();
    (void)registered;
}

} // namespace grundel::detail
