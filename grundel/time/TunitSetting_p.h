#pragma once

// The shared machinery of the linear and angular unit classes: one
// process-wide setting of a user-interface unit and an internal unit, with
// the conversion table for the internal unit.

#include "grundel/object/Ttrigger.h"
#include "grundel/time/TunitConversion.h"

#include <atomic>

namespace grundel::detail {

template <int N>
class TunitSetting {
public:
    /// The factor that takes a value in unit from to unit to.
    using Factor = double (*)(int from, int to) noexcept;
    using Trigger = Ttrigger& (*)();

    TunitSetting(int internal, int ui, Factor factor, Trigger trigger) noexcept
        : fUi(ui), fInternal(internal), fFactor(factor), fTrigger(trigger) {
        rebuild();
    }

    static bool isValid(int unit) noexcept { return unit >= 0 && unit < N; }

    int ui() const noexcept { return fUi.load(std::memory_order_relaxed); }
    int internal() const noexcept { return fInternal.load(std::memory_order_relaxed); }

    bool setUi(int unit) {
        if (!isValid(unit))
            return false;
        if (fUi.exchange(unit, std::memory_order_relaxed) != unit)
            fTrigger().trigger();
        return true;
    }

    bool setInternal(int unit) {
        if (!isValid(unit))
            return false;
        if (fInternal.load(std::memory_order_relaxed) == unit)
            return true;
        fInternal.store(unit, std::memory_order_relaxed);
        rebuild();
        fTrigger().trigger();
        return true;
    }

    const TunitConversion& record(int unit) const noexcept {
        static const TunitConversion identity;
        return isValid(unit) ? fTable[unit] : identity;
    }

    double convert(double value, int from, int to) const noexcept {
        if (from == to || !isValid(from) || !isValid(to))
            return value;
        const int in = internal();
        if (from == in)
            return value * fTable[to].fFromInternal;
        if (to == in)
            return value * fTable[from].fToInternal;
        return value * fTable[from].fToInternal * fTable[to].fFromInternal;
    }

private:
    void rebuild() noexcept {
        const int in = internal();
        for (int u = 0; u < N; ++u)
            fTable[u] = TunitConversion{fFactor(in, u), fFactor(u, in)};
    }

    std::atomic<int> fUi;
    std::atomic<int> fInternal;
    Factor fFactor;
    Trigger fTrigger;
    TunitConversion fTable[N];
};

} // namespace grundel::detail
