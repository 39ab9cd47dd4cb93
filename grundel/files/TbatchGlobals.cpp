#include "grundel/files/TbatchGlobals.h"

namespace {

struct Globals {
    Tstring name{"Vorn"};
    TstringArray arguments;
    TstringArray versions;
};

Globals& globals() noexcept {
    static Globals g;
    return g;
}

} // namespace

const char* TbatchGlobals::getApplicationName() noexcept { return globals().name.asC(); }

void TbatchGlobals::setApplicationName(const char* name) {
    globals().name = (name && *name) ? name : "Vorn";
}

const TstringArray& TbatchGlobals::getArgvArray() noexcept { return globals().arguments; }

void TbatchGlobals::setArguments(int argc, const char* const* argv) {
    TstringArray arguments;
    for (int i = 0; argv && i < argc; ++i)
        arguments.addLast(Tstring(argv[i] ? argv[i] : ""));
    globals().arguments.swap(arguments);
}

const TstringArray& TbatchGlobals::getVersionNumberStrings() noexcept { return globals().versions; }

void TbatchGlobals::setVersionNumberStrings(const TstringArray& versions) { globals().versions.copy(versions); }
