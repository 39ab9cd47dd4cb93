#include "grundel/time/TanimTime.h"

#include "grundel/core/TdebugOutput.h"
#include "grundel/core/TfootprintInfo.h"
#include "grundel/core/Tarrays.h"
#include "grundel/object/Ttrigger.h"
#include "grundel/time/TtimeUnit.h"

#include <atomic>
#include <cmath>

namespace {

// The class-wide settings. Atomic so that any thread may read them while
// the main thread changes them.
std::atomic<int> gTimeUnit{kTime24fps};
std::atomic<double> gTimeConvert{250.0};

constexpr Tint64 kTicksPerHour = 21600000;
constexpr Tint64 kTicksPerMinute = 360000;
constexpr Tint64 kTicksPerSecond = 6000;
constexpr Tint64 kTicksPerHundredth = 60;
constexpr Tint64 kMaxTicks = 2147483647;

bool isFrameRate(int unit) noexcept { return (unit > kTimeMilliseconds && unit < kNumTimeUnits) || unit == kTimeUserRate; }

// The split of a time: magnitudes and one sign.
struct Smpte {
    Tint64 field[4] = {0, 0, 0, 0};
    bool negative = false;
};

// Frames in ticks (the remainder of a second) rounded to nearest, halves to
// even; sets carry when they reach a whole second.
Tint64 roundFrames(Tint64 ticks, int unit, double userRate, bool& carry) noexcept {
    if (unit == kTimeUserRate) {
        const Tint64 f = TanimTime::roundToTicks(double(ticks) / userRate);
        carry = double(f) * userRate >= double(kTicksPerSecond);
        return carry ? 0 : f;
    }
    const Tint64 perFrame = grundel::detail::kTicksPerTimeUnit[unit];
    Tint64 f = ticks / perFrame;
    const Tint64 twiceRest = 2 * (ticks % perFrame);
    if (twiceRest > perFrame || (twiceRest == perFrame && (f & 1)))
        ++f;
    carry = f * perFrame >= kTicksPerSecond;
    return carry ? 0 : f;
}

Smpte split(Tint32 ticks) noexcept {
    Smpte s;
    Tint64 t = ticks;
    if (t < 0)
        t = -t;
    s.field[0] = t / kTicksPerHour;
    t %= kTicksPerHour;
    s.field[1] = t / kTicksPerMinute;
    t %= kTicksPerMinute;
    s.field[2] = t / kTicksPerSecond;
    t %= kTicksPerSecond;
    const int unit = gTimeUnit.load(std::memory_order_relaxed);
    if (isFrameRate(unit)) {
        bool carry = false;
        s.field[3] = roundFrames(t, unit, gTimeConvert.load(std::memory_order_relaxed), carry);
        if (carry && ++s.field[2] == 60) {
            s.field[2] = 0;
            if (++s.field[1] == 60) {
                s.field[1] = 0;
                ++s.field[0];
            }
        }
    } else {
        s.field[3] = t / kTicksPerHundredth;
    }
    s.negative = ticks < 0 && (s.field[0] | s.field[1] | s.field[2] | s.field[3]) != 0;
    return s;
}

// The ticks of a split in the current unit, or -1 when a field is out of
// its range. A total beyond the 32-bit range by less than one frame (which
// rounding up to the frame gives) saturates.
Tint64 join(const Smpte& s) noexcept {
    if (s.field[0] < 0 || s.field[1] < 0 || s.field[1] >= 60 || s.field[2] < 0 || s.field[2] >= 60 || s.field[3] < 0)
        return -1;
    // Hours beyond this cannot fit whatever the sign.
    if (s.field[0] > kMaxTicks / kTicksPerHour + 1)
        return -1;
    const int unit = gTimeUnit.load(std::memory_order_relaxed);
    Tint64 last = 0;
    Tint64 slack = 0;
    if (isFrameRate(unit)) {
        if (unit == kTimeUserRate) {
            const double rate = gTimeConvert.load(std::memory_order_relaxed);
            if (double(s.field[3]) * rate >= double(kTicksPerSecond))
                return -1;
            last = TanimTime::roundToTicks(double(s.field[3]) * rate);
            slack = Tint64(std::ceil(rate));
        } else {
            const Tint64 perFrame = grundel::detail::kTicksPerTimeUnit[unit];
            if (s.field[3] * perFrame >= kTicksPerSecond)
                return -1;
            last = s.field[3] * perFrame;
            slack = perFrame;
        }
    } else {
        if (s.field[3] >= 100)
            return -1;
        last = s.field[3] * kTicksPerHundredth;
    }
    Tint64 total = s.field[0] * kTicksPerHour + s.field[1] * kTicksPerMinute + s.field[2] * kTicksPerSecond + last;
    const Tint64 limit = s.negative ? kMaxTicks + 1 : kMaxTicks;
    if (total > limit) {
        if (total - limit >= slack)
            return -1;
        total = limit;
    }
    return total;
}

// Writes a non-negative field in decimal, at least two digits; returns the
// end.
char* writeField(char* p, Tint64 value) noexcept {
    char digits[20];
    int n = 0;
    do {
        digits[n++] = char('0' + value % 10);
        value /= 10;
    } while (value);
    if (n == 1)
        *p++ = '0';
    while (n)
        *p++ = digits[--n];
    return p;
}

} // namespace

double TanimTime::ticksPerOtherUnit(TtimeUnitSystem unit) noexcept {
    if (unit == kTimeUserRate)
        return gTimeConvert.load(std::memory_order_relaxed);
    return unit == kTimeUnitEnd ? 0.0 : 1.0;
}

double TanimTime::valueInOtherUnit(TtimeUnitSystem unit) const noexcept {
    if (unit == kTimeUserRate)
        return fTicks / gTimeConvert.load(std::memory_order_relaxed);
    if (unit == kTimeUnitEnd)
        return 0.0;
    return fTicks;
}

void TanimTime::getValueInSmpteUnit(Tint32Array& out) const {
    const Smpte s = split(fTicks);
    out.removeLast(out.length());
    for (Tint64 f : s.field)
        out.addLast(static_cast<Tint32>(s.negative ? -f : f));
}

Tstring TanimTime::valueInSmpteUnit() const {
    const Smpte s = split(fTicks);
    // Four fields of at most 19 digits, three colons and the sign.
    char text[4 * 19 + 4];
    char* p = text;
    if (s.negative)
        *p++ = '-';
    for (int i = 0; i < 4; ++i) {
        if (i)
            *p++ = ':';
        p = writeField(p, s.field[i]);
    }
    return Tstring(text, static_cast<unsigned>(p - text));
}

bool TanimTime::setValueFromSmpteUnit(const Tint32Array& fields) noexcept {
    if (fields.length() != 4)
        return false;
    Smpte s;
    bool positive = false;
    for (int i = 0; i < 4; ++i) {
        const Tint64 f = fields[i];
        s.negative |= f < 0;
        positive |= f > 0;
        s.field[i] = f < 0 ? -f : f;
    }
    if (s.negative && positive)
        return false;
    const Tint64 total = join(s);
    if (total < 0)
        return false;
    fTicks = static_cast<Tint32>(s.negative ? -total : total);
    return true;
}

bool TanimTime::setValueFromSmpteUnit(const Tstring& text) noexcept {
    const char* p = text.asC();
    const char* const end = p + text.length();
    Smpte s;
    if (p != end && *p == '-') {
        s.negative = true;
        ++p;
    }
    for (int i = 0; i < 4; ++i) {
        if (i) {
            if (p == end || *p != ':')
                return false;
            ++p;
        }
        const char* const start = p;
        Tint64 value = 0;
        while (p != end && *p >= '0' && *p <= '9') {
            if (p - start == 10) // more digits than any field in range has
                return false;
            value = value * 10 + (*p++ - '0');
        }
        const auto digits = p - start;
        if (digits < 2 || (digits > 2 && *start == '0'))
            return false;
        s.field[i] = value;
    }
    if (p != end)
        return false;
    if (s.negative && (s.field[0] | s.field[1] | s.field[2] | s.field[3]) == 0)
        return false;
    const Tint64 total = join(s);
    if (total < 0)
        return false;
    fTicks = static_cast<Tint32>(s.negative ? -total : total);
    return true;
}

TtimeUnitSystem TanimTime::globalCurrentTimeUnit() noexcept {
    return TtimeUnitSystem(gTimeUnit.load(std::memory_order_relaxed));
}

bool TanimTime::setGlobalCurrentTimeUnit(TtimeUnitSystem unit) {
    if (!TtimeUnit::isValid(unit))
        return false;
    if (gTimeUnit.exchange(unit, std::memory_order_relaxed) != unit)
        TtimeUnit::timeUnitChanged().trigger();
    return true;
}

double TanimTime::timeConvert() noexcept { return gTimeConvert.load(std::memory_order_relaxed); }

bool TanimTime::setTimeConvert(double ticksPerUnit) {
    if (!(ticksPerUnit > 0.0) || !std::isfinite(ticksPerUnit))
        return false;
    if (gTimeConvert.exchange(ticksPerUnit, std::memory_order_relaxed) != ticksPerUnit &&
        globalCurrentTimeUnit() == kTimeUserRate)
        TtimeUnit::timeUnitChanged().trigger();
    return true;
}

void TanimTime::debug(TdebugOutput& out, const char* label) const {
    const TtimeUnitSystem unit = globalCurrentTimeUnit();
    out.printf("%s%sTanimTime %d ticks (%.17g in unit %d, %s)\n", label ? label : "", label ? ": " : "", fTicks,
               valueInThisUnit(unit), int(unit), valueInSmpteUnit().asC());
}

void TanimTime::debugMe() const { debug(TdebugOutput::sStandardError()); }

void TanimTime::_getFootprint(TfootprintInfo& info) const { info.setSize(sizeof *this, "TanimTime"); }

// -- TtimeUnit ----------------------------------------------------------------

TunitConversion TtimeUnit::conversion(TtimeUnitSystem unit) noexcept {
    if (static_cast<unsigned>(unit) < unsigned(kNumTimeUnits))
        return grundel::detail::kTimeConversions[unit];
    if (unit == kTimeUserRate) {
        const double rate = TanimTime::timeConvert();
        return TunitConversion{1.0 / rate, rate};
    }
    if (unit == kTimeUnitEnd)
        return TunitConversion{0.0, 0.0};
    return TunitConversion{};
}

Ttrigger& TtimeUnit::timeUnitChanged() {
    static Ttrigger trigger("timeUnitChanged");
    return trigger;
}
