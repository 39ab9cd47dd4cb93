#pragma once

#include "grundel/core/ThashTable.h"
#include "grundel/core/Tstring.h"

#include <string_view>

class Tmetaclass;

namespace grundel::detail {
struct GRUNDEL_API TnameTableEntry : ThashTableEntry {
    Tstring fName;
    Tmetaclass* fRecord = nullptr;
};
} // namespace grundel::detail

/// Run-time class records by name (case-sensitive): how the typed-data
/// reader finds the class of a type name met in text. Names are hashed with
/// Tcrc32 over their bytes. A name may be stored more than once; find()
/// meets the newest first. Insertion raises TmemoryException when no memory
/// is left for the entry. One thread at a time.
class GRUNDEL_API TnameTable : public grundel::detail::ThashTableOf<TnameTable, grundel::detail::TnameTableEntry> {
public:
    explicit TnameTable(TuInt32 minimumSize = 64, TuInt32 maximumSize = kLargestSize) noexcept
        : ThashTableOf(minimumSize, maximumSize) {}

    /// Adds the pair even when the name is present. False only when the
    /// table could not grow (the pair is stored all the same).
    bool insert(const Tstring& name, Tmetaclass* record);
    /// Adds the pair only when the name is absent; false when present.
    bool insertUnique(const Tstring& name, Tmetaclass* record);
    /// The newest record of the name, or null.
    [[nodiscard]] Tmetaclass* find(std::string_view name) const noexcept;
    /// Removes the newest entry of the name; false when absent.
    bool remove(std::string_view name) noexcept;
    /// Removes the newest entry pairing name with record; false when absent.
    bool remove(std::string_view name, const Tmetaclass* record) noexcept;

    /// Walks the pairs in an unspecified order.
    class GRUNDEL_API Iterator : protected ThashTableIterator {
    public:
        explicit Iterator(const TnameTable& table) noexcept : ThashTableIterator(table) { _first(); }
        bool next() noexcept { return _next() != nullptr; }
        bool isDone() const noexcept { return current() == nullptr; }
        /// The current name and record (empty and null after the last).
        Tstring name() const noexcept;
        Tmetaclass* data() const noexcept;
    };

private:
    static TuInt32 hashOf(std::string_view name) noexcept;
};
