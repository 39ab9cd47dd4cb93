// The registrations of the letter classes built into the library, one
// function per family. They are made on the registry's first lookup
// (TdataBuiltins.cpp), so that a static build, whose linker drops object
// files nothing refers to, still knows every built-in class.
#pragma once

namespace grundel::detail {

/// Registers every built-in letter family once; thread-safe.
void registerBuiltinLetters();

void registerArrayLetters();
void registerStructuredLetters();

} // namespace grundel::detail
