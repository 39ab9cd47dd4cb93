#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"

// Low-discrepancy sample values in [0, 1): radical inverses read from
// class-wide tables. The tables are built on the first construction of
// either class (thread-safely) and never freed; an object itself is used by
// one thread at a time.

/// The base-2 radical-inverse sequence: value(i) mirrors the bits of i
/// about the binary point, exactly, for 24 bits of index.
class GRUNDEL_API Thammersley2 {
public:
    /// A sequence that next() walks through 2^bits indices. bits above 24
    /// are taken as 24; 0 keeps the index at 0, so next() always gives 0.
    explicit Thammersley2(unsigned bits = 24);

    /// The radical inverse of the low 24 bits of index (the sequence repeats
    /// every 2^24 indices), with value(0) = 0 and value(1) = 0.5.
    float value(unsigned index) const noexcept {
        index &= 0xFFFFFFu;
        return fsTable[index >> 12] * 0.00024414063f + fsTable[index & 4095u];
    }
    /// Advances the index, modulo 2^bits, then gives its value: the first
    /// call gives 0.5 (when bits is at least 1).
    float next() noexcept {
        fIndex = (fIndex + 1) & ((1u << fBits) - 1);
        return value(fIndex);
    }

    unsigned bits() const noexcept { return fBits; }
    unsigned index() const noexcept { return fIndex; }
    /// The bits of index that value distinguishes: 24.
    static constexpr unsigned maxDigits() noexcept { return 24; }

private:
    /// The radical inverses of the 12-bit numbers.
    static float fsTable[4096];

    unsigned fBits;
    unsigned fIndex = 0;
};

/// A radical-inverse sequence in a larger base with scrambled digits: base
/// selector s picks the s-th prime (2, 3, 5, 7, ..., 131 for 0 to 31), and
/// each digit d of the index maps to sigma_b(d), a fixed permutation of the
/// digits that spreads the first points of a large base better than the
/// plain radical inverse does. Selector 0 is the plain base-2 sequence.
///
/// Each base b has a table of the scrambled inverses of 0 to p - 1, p the
/// largest power of b below 4100 (b itself when b × b is 4100 or more);
/// value combines two entries, so indices below p² = maxEntry(b) are exact
/// to float precision and larger ones repeat the sequence.
class GRUNDEL_API Thammersley {
public:
    /// The number of base selectors.
    static constexpr unsigned baseCount = 32;

    /// A sequence in the base of baseSelector (32 or more is taken as 31)
    /// that next() walks through indices 0 to period - 1 (a period of 0
    /// acts as 1: next() always gives value(0) = 0).
    Thammersley(unsigned baseSelector, unsigned period);

    /// The scrambled radical inverse of index modulo maxEntry(base()).
    float value(unsigned index) const noexcept {
        const Record& r = fsRecords[fBaseSelector];
        if (index < r.count)
            return r.entries[index];
        if (index >= r.countSquared)
            index %= r.countSquared;
        // index / count by a multiply: exact for index below count², since
        // count³ ≤ 2^36.
        const auto high = static_cast<TuInt32>((static_cast<TuInt64>(index) * r.reciprocal) >> 36);
        return r.entries[high] * r.scale + r.entries[index - high * r.count];
    }
    /// Advances the index, back to 0 when it reaches the period, then gives
    /// its value.
    float next() noexcept {
        if (++fIndex >= fPeriod)
            fIndex = 0;
        return value(fIndex);
    }

    unsigned period() const noexcept { return fPeriod; }
    unsigned index() const noexcept { return fIndex; }
    unsigned baseSelector() const noexcept { return fBaseSelector; }
    /// The prime of the base selector.
    unsigned base() const noexcept;

    /// p², where p is the largest power of base below 4100 (base itself when
    /// base² is 4100 or more): the indices one table pair covers. 0 for a base
    /// below 2.
    static TuInt64 maxEntry(unsigned base) noexcept;
    /// The base-base digits those indices have: twice the digits of p. 0
    /// for a base below 2.
    static unsigned maxDigits(unsigned base) noexcept;

private:
    struct Record {
        TuInt32 count;        // p
        float scale;          // 1 / p
        const float* entries; // count scrambled inverses
        TuInt32 countSquared;
        TuInt64 reciprocal; // ceil(2^36 / count)
    };
    static const Record* fsRecords;
    static void buildTables();

    unsigned fBaseSelector;
    unsigned fPeriod;
    unsigned fIndex = 0;
};
