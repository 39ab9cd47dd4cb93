// The built-in letter classes are registered on the registry's first
// lookup, not by static objects of their own: a static library drops
// object files nothing refers to, and a record of another file may not be
// constructed yet while static initialisation runs.
#include "grundel/data/TdataBuiltins_p.h"

namespace grundel::detail {

void registerBuiltinLetters() {
    static const bool registered = [] {
        // One line per family, sorted.
        registerMatrixLetters();
        registerSpectrumLetters();
        registerTupleLetters();
        registerVoidPtrLetter();
        return true;
    }();
    (void)registered;
}

} // namespace grundel::detail
