#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"

#include <vector>

/// A memory-footprint record: the bytes an object reports for itself, under
/// a label, and the pointers it offers for the caller to follow and count.
/// Filled by the sGetArrayFootprint family and by classes that account for
/// their memory. Used by one thread at a time.
class GRUNDEL_API TfootprintInfo {
public:
    TfootprintInfo() = default;

    /// Adds bytes to the total and remembers the label of the last report.
    void setSize(TuInt64 bytes, const char* label = nullptr) noexcept;
    /// Offers a pointer to follow; null pointers are ignored.
    void addPtr(const void* pointer);

    TuInt64 totalBytes() const noexcept { return fBytes; }
    const char* label() const noexcept { return fLabel ? fLabel : ""; }
    const std::vector<const void*>& pointers() const noexcept { return fPointers; }
    void clear() noexcept;

private:
    TuInt64 fBytes = 0;
    const char* fLabel = nullptr;
    std::vector<const void*> fPointers;
};
