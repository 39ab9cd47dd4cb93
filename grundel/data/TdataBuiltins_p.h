#pragma once
// Registration of the letter classes built into the library.

namespace grundel::detail {

// Each registers one family of letters with TmetaLetter, once; defined in
// the family's own source file, so that calling it also links that file
// into a program built against the static library.
void registerArrayLetters();
void registerMatrixLetters();
void registerSpectrumLetters();
void registerStructuredLetters();
void registerTupleLetters();
void registerVoidPtrLetter();

/// Registers every built-in letter class, once (thread-safe).
void registerBuiltinLetters();

} // namespace grundel::detail
