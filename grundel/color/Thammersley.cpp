#include "grundel/color/Thammersley.h"

#include <vector>

namespace {

// Table sizes stop at the largest power of the base below this.
constexpr TuInt64 kEntryLimit = 4100;

constexpr unsigned kPrimes[Thammersley::baseCount] = {2,  3,  5,  7,  11, 13, 17, 19, 23,  29,  31,
                                                      37, 41, 43, 47, 53, 59, 61, 67, 71,  73,  79,
                                                      83, 89, 97, 101, 103, 107, 109, 113, 127, 131};

// The largest power of base below kEntryLimit (base itself when base² is
// not), and its number of digits. base must be 2 or more.
TuInt64 tablePower(unsigned base, unsigned& digits) noexcept {
    TuInt64 p = base;
    digits = 1;
    while (p * base < kEntryLimit) {
        p *= base;
        ++digits;
    }
    return p;
}

// The digit permutations sigma_b for b = 0 to maxBase (sigma_0 unused):
// sigma_1 = (0); an even base interleaves twice sigma_{b/2} with its odd
// successors; an odd base puts its middle digit in the middle and spreads
// sigma_{b-1} around it, shifting the upper half up by one.
std::vector<std::vector<TuInt8>> digitPermutations(unsigned maxBase) {
    std::vector<std::vector<TuInt8>> sigma(maxBase + 1);
    sigma[1] = {0};
    for (unsigned b = 2; b <= maxBase; ++b) {
        std::vector<TuInt8>& s = sigma[b];
        s.resize(b);
        if (b % 2 == 0) {
            const std::vector<TuInt8>& half = sigma[b / 2];
            for (unsigned k = 0; k < b / 2; ++k) {
                s[k] = static_cast<TuInt8>(2 * half[k]);
                s[k + b / 2] = static_cast<TuInt8>(2 * half[k] + 1);
            }
        } else {
            const std::vector<TuInt8>& below = sigma[b - 1];
            const unsigned m = (b - 1) / 2;
            for (unsigned k = 0; k < b; ++k) {
                if (k == m) {
                    s[k] = static_cast<TuInt8>(m);
                    continue;
                }
                const unsigned e = below[k < m ? k : k - 1];
                s[k] = static_cast<TuInt8>(e >= m ? e + 1 : e);
            }
        }
    }
    return sigma;
}

} // namespace

// -- Thammersley2 --------------------------------------------------------------

float Thammersley2::fsTable[4096];

Thammersley2::Thammersley2(unsigned bits) : fBits(bits > maxDigits() ? maxDigits() : bits) {
    static const bool built = [] {
        // Each doubling appends the entries so far shifted by the next bit below.
        fsTable[0] = 0.0f;
        fsTable[1] = 0.5f;
        float increment = 0.25f;
        for (unsigned n = 2; n < 4096; n *= 2, increment *= 0.5f)
            for (unsigned k = 0; k < n; ++k)
                fsTable[n + k] = fsTable[k] + increment;
        return true;
    }();
    (void)built;
}

// -- Thammersley ---------------------------------------------------------------

const Thammersley::Record* Thammersley::fsRecords = nullptr;

void Thammersley::buildTables() {
    const std::vector<std::vector<TuInt8>> sigma = digitPermutations(kPrimes[baseCount - 1]);

    // One block for all the entries, kept to the end of the process.
    unsigned digits[baseCount];
    TuInt32 counts[baseCount];
    std::size_t total = 0;
    for (unsigned s = 0; s < baseCount; ++s) {
        counts[s] = static_cast<TuInt32>(tablePower(kPrimes[s], digits[s]));
        total += counts[s];
    }
    float* entries = new float[total];
    auto* records = new Record[baseCount];

    float* at = entries;
    for (unsigned s = 0; s < baseCount; ++s) {
        const unsigned b = kPrimes[s];
        const TuInt32 count = counts[s];
        for (TuInt32 k = 0; k < count; ++k) {
            double x = 0.0, weight = 1.0 / b;
            for (unsigned j = 0, rest = k; j < digits[s]; ++j, rest /= b, weight /= b)
                x += sigma[b][rest % b] * weight;
            at[k] = static_cast<float>(x);
        }
        records[s].count = count;
        records[s].scale = static_cast<float>(1.0 / count);
        records[s].entries = at;
        records[s].countSquared = count * count;
        records[s].reciprocal = ((TuInt64(1) << 36) + count - 1) / count;
        at += count;
    }
    fsRecords = records;
}

Thammersley::Thammersley(unsigned baseSelector, unsigned period)
    : fBaseSelector(baseSelector < baseCount ? baseSelector : baseCount - 1), fPeriod(period) {
    static const bool built = (buildTables(), true);
    (void)built;
}

unsigned Thammersley::base() const noexcept { return kPrimes[fBaseSelector]; }

TuInt64 Thammersley::maxEntry(unsigned base) noexcept {
    if (base < 2)
        return 0;
    unsigned digits;
    const TuInt64 p = tablePower(base, digits);
    return p * p;
}

unsigned Thammersley::maxDigits(unsigned base) noexcept {
    if (base < 2)
        return 0;
    unsigned digits;
    tablePower(base, digits);
    return 2 * digits;
}
