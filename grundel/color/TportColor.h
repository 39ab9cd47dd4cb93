#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"

#include <cassert>
#include <cmath>

#if defined(__SSE__) || defined(__x86_64__)
#include <xmmintrin.h>
#endif

namespace grundel::detail {

/// x × full (255 or 65535) rounded to nearest, ties to even; saturating at
/// 0 and full, NaN gives 0.
inline TuInt32 roundedChannel(float x, float full) noexcept {
    const float v = x * full;
    if (!(v > 0.0f))
        return 0;
    if (v >= full)
        return static_cast<TuInt32>(full);
#if defined(__SSE__) || defined(__x86_64__)
    // cvtss2si rounds as the MXCSR says: to nearest even unless someone changed it.
    return static_cast<TuInt32>(_mm_cvtss_si32(_mm_set_ss(v)));
#else
    return static_cast<TuInt32>(std::lrint(v));
#endif
}

/// x × 255 truncated to a byte; saturating, NaN gives 0.
inline TuInt32 truncatedByte(float x) noexcept {
    const float v = x * 255.0f;
    if (!(v > 0.0f))
        return 0;
    if (v >= 255.0f)
        return 255;
    return static_cast<TuInt32>(v);
}

/// x in single precision; beyond its range, an infinity of x's sign.
inline float narrowed(double x) noexcept {
    constexpr double largest = 3.4028234663852886e+38; // FLT_MAX
    if (x > largest)
        return HUGE_VALF;
    if (x < -largest)
        return -HUGE_VALF;
    return static_cast<float>(x); // NaN stays NaN
}

/// x clamped to [0, 1]; NaN stays NaN.
inline float clampUnit(float x) noexcept { return x < 0.0f ? 0.0f : (x > 1.0f ? 1.0f : x); }

} // namespace grundel::detail

/// A colour as red, green, blue and alpha in single precision, nominally in
/// [0, 1]; opaque black (0, 0, 0, 1) by default. A plain value: copied as
/// bytes, one thread at a time. Arrays of it are TportColorArray.
///
/// Components are stored as given: nothing clamps them on the way in, and
/// out-of-range or NaN components give the documented formulas' results
/// without trapping.
///
/// set and get speak four models (TportColorType). Hue is in degrees, in
/// [0, 360) on the way out. Integer channels: 8-bit values are read in as
/// n × 0.003921569 (1/255 as a float) and 16-bit values as n × 1.5259022e-05
/// (1/65535); on the way out each value is × 255 or × 65535, rounded to
/// nearest with ties to even, saturated to the channel's range, NaN giving 0.
///
/// Arithmetic acts on red, green and blue only, clamps each result to
/// [0, 1] (a NaN result stays NaN) and keeps the left operand's alpha.
class GRUNDEL_API TportColor {
public:
    /// The colour model of set, get and the typed constructors. Values other
    /// than these four make set and get do nothing.
    enum TportColorType : int {
        RGB = 0,  ///< red, green, blue, alpha
        HSV = 1,  ///< hue in degrees, saturation, value, alpha
        CMY = 2,  ///< 1 - red, 1 - green, 1 - blue, alpha
        CMYK = 3, ///< cyan, magenta, yellow, black; alpha is neither set nor read
    };

    /// Opaque black.
    TportColor() noexcept : fRed(0), fGreen(0), fBlue(0), fAlpha(1) {}
    /// Leaves the components uninitialised.
    explicit TportColor(TnoInit) noexcept {}
    TportColor(float red, float green, float blue, float alpha) noexcept
        : fRed(red), fGreen(green), fBlue(blue), fAlpha(alpha) {}
    /// Opaque black, then set(type, ...).
    TportColor(TportColorType type, unsigned char a, unsigned char b, unsigned char c, unsigned char d) noexcept
        : TportColor() { set(type, a, b, c, d); }
    TportColor(TportColorType type, unsigned short a, unsigned short b, unsigned short c, unsigned short d) noexcept
        : TportColor() { set(type, a, b, c, d); }
    TportColor(TportColorType type, float a, float b, float c, float d) noexcept : TportColor() { set(type, a, b, c, d); }
    TportColor(TportColorType type, double a, double b, double c, double d) noexcept
        : TportColor() { set(type, a, b, c, d); }

    // -- Components -------------------------------------------------------------

    /// Component i: 0 red, 1 green, 2 blue, 3 alpha. i must be 0 to 3
    /// (asserted; any other i gives alpha in a release build).
    float& operator[](int i) noexcept;
    float operator[](int i) const noexcept;

    float red() const noexcept { return fRed; }
    float green() const noexcept { return fGreen; }
    float blue() const noexcept { return fBlue; }
    float alpha() const noexcept { return fAlpha; }

    void set(float red, float green, float blue, float alpha) noexcept {
        fRed = red;
        fGreen = green;
        fBlue = blue;
        fAlpha = alpha;
    }
    /// RGB stores the four values; HSV converts (fromHSV) and stores d as
    /// alpha; CMY stores 1 - each of a, b, c and d as alpha; CMYK converts
    /// (fromCMYK) and leaves alpha. Another type changes nothing.
    void set(TportColorType type, float a, float b, float c, float d) noexcept;
    /// Each value × 0.003921569, then the float set.
    void set(TportColorType type, unsigned char a, unsigned char b, unsigned char c, unsigned char d) noexcept {
        constexpr float k = 0.003921569f;
        set(type, a * k, b * k, c * k, d * k);
    }
    /// Each value × 1.5259022e-05, then the float set.
    void set(TportColorType type, unsigned short a, unsigned short b, unsigned short c, unsigned short d) noexcept {
        constexpr float k = 1.5259022e-05f;
        set(type, a * k, b * k, c * k, d * k);
    }
    /// Each value converted to float (infinite beyond its range), then the
    /// float set.
    void set(TportColorType type, double a, double b, double c, double d) noexcept {
        using grundel::detail::narrowed;
        set(type, narrowed(a), narrowed(b), narrowed(c), narrowed(d));
    }

    /// Red, green and blue.
    void get(float& red, float& green, float& blue) const noexcept {
        red = fRed;
        green = fGreen;
        blue = fBlue;
    }
    void get(float& red, float& green, float& blue, float& alpha) const noexcept {
        get(red, green, blue);
        alpha = fAlpha;
    }
    /// RGB: red, green, blue, alpha; HSV: hue, saturation, value (toHSV),
    /// alpha; CMY: 1 - red, 1 - green, 1 - blue, alpha; CMYK: cyan, magenta,
    /// yellow, black (toCMYK). Another type writes nothing. The outputs may
    /// be this colour's own components.
    void get(TportColorType type, float& a, float& b, float& c, float& d) const noexcept;
    /// The float get, then each value × 255 rounded into 8 bits.
    void get(TportColorType type, unsigned char& a, unsigned char& b, unsigned char& c, unsigned char& d) const noexcept;
    /// The float get, then each value × 65535 rounded into 16 bits.
    void get(TportColorType type, unsigned short& a, unsigned short& b, unsigned short& c,
             unsigned short& d) const noexcept;
    /// The float get, widened.
    void get(TportColorType type, double& a, double& b, double& c, double& d) const noexcept;
    /// The three-value forms: the four-value get of the same channel type
    /// without its fourth value (alpha, or black for CMYK).
    template <class Channel>
    void get(TportColorType type, Channel& a, Channel& b, Channel& c) const noexcept {
        Channel unused{};
        get(type, a, b, c, unused);
    }

    // -- Models -----------------------------------------------------------------

    /// Hue in degrees [0, 360), saturation and value; black gives saturation
    /// 0, greys hue 0. Value is the largest component by `>` taken red,
    /// green, blue, so a NaN may be passed over; a NaN value gives saturation 0.
    void toHSV(float& hue, float& saturation, float& value) const noexcept;
    /// Sets red, green and blue from hue (degrees), saturation and value. A
    /// hue of 360 is taken as 0, a hue in (-60, 0) extrapolates from red; a
    /// hue of -60 or less, of 420 or more, or NaN leaves the colour unchanged.
    void fromHSV(float hue, float saturation, float value) noexcept;
    /// Cyan, magenta, yellow with the common black taken out.
    void toCMYK(float& cyan, float& magenta, float& yellow, float& black) const noexcept;
    /// red = 1 - cyan - black, and so on, each raised to 0 when negative;
    /// alpha is not touched.
    void fromCMYK(float cyan, float magenta, float yellow, float black) noexcept;

    // -- Arithmetic on red, green and blue, clamped to [0, 1] --------------------

    TportColor& operator+=(const TportColor& o) noexcept { return apply(o, [](float x, float y) { return x + y; }); }
    TportColor& operator-=(const TportColor& o) noexcept { return apply(o, [](float x, float y) { return x - y; }); }
    TportColor& operator*=(const TportColor& o) noexcept { return apply(o, [](float x, float y) { return x * y; }); }
    /// A zero divisor gives 1 for a positive component and NaN for a zero one.
    TportColor& operator/=(const TportColor& o) noexcept { return apply(o, [](float x, float y) { return x / y; }); }
    TportColor& operator+=(float f) noexcept { return *this += TportColor(f, f, f, 0); }
    TportColor& operator-=(float f) noexcept { return *this -= TportColor(f, f, f, 0); }
    TportColor& operator*=(float f) noexcept { return *this *= TportColor(f, f, f, 0); }
    TportColor& operator/=(float f) noexcept { return *this /= TportColor(f, f, f, 0); }

    friend TportColor operator+(TportColor a, const TportColor& b) noexcept { return a += b; }
    friend TportColor operator-(TportColor a, const TportColor& b) noexcept { return a -= b; }
    friend TportColor operator*(TportColor a, const TportColor& b) noexcept { return a *= b; }
    friend TportColor operator/(TportColor a, const TportColor& b) noexcept { return a /= b; }
    friend TportColor operator+(TportColor a, float f) noexcept { return a += f; }
    friend TportColor operator-(TportColor a, float f) noexcept { return a -= f; }
    friend TportColor operator*(TportColor a, float f) noexcept { return a *= f; }
    friend TportColor operator/(TportColor a, float f) noexcept { return a /= f; }

    /// Red, green and blue of both as bytes (× 255, truncated, saturated,
    /// NaN as 0), combined by exclusive or and read back × 0.003921569; alpha
    /// is kept.
    TportColor& operator^=(const TportColor& o) noexcept;
    friend TportColor operator^(TportColor a, const TportColor& b) noexcept { return a ^= b; }

    // -- Comparison -------------------------------------------------------------

    /// All four components exactly equal.
    friend bool operator==(const TportColor& a, const TportColor& b) noexcept {
        return a.fRed == b.fRed && a.fGreen == b.fGreen && a.fBlue == b.fBlue && a.fAlpha == b.fAlpha;
    }
    friend bool operator!=(const TportColor& a, const TportColor& b) noexcept { return !(a == b); }
    /// Red, green and blue each differ by less than 1e-5. The tolerance is
    /// accepted and not consulted, and alpha is not compared: callers rely on
    /// both.
    bool equivalent(const TportColor& other, float tolerance = 1e-5f) const noexcept;
    /// |alpha| < 1e-5.
    bool isTransparent() const noexcept { return std::fabs(fAlpha) < 1e-5f; }

    // -- Display ----------------------------------------------------------------

    /// blue << 16 | green << 8 | red, each × 255 truncated to a byte
    /// (saturated, NaN as 0): red in the low byte. Alpha is not packed.
    TuInt32 asXColor() const noexcept;

    /// Bits per pixel of the display the application draws on; 24 until
    /// setDepth changes it. The library itself reads neither setting. Set
    /// them from the main thread, before workers read them.
    static short fsDepth;
    /// The palette index the application draws transparent; -1 (none) until
    /// set.
    static int fsTransparentIndex;
    static void setDepth(short depth) noexcept { fsDepth = depth; }

private:
    template <class Op>
    TportColor& apply(const TportColor& o, Op op) noexcept {
        fRed = grundel::detail::clampUnit(op(fRed, o.fRed));
        fGreen = grundel::detail::clampUnit(op(fGreen, o.fGreen));
        fBlue = grundel::detail::clampUnit(op(fBlue, o.fBlue));
        return *this;
    }

    float fRed, fGreen, fBlue, fAlpha;
};

// -- Inline definitions: conversions run per pixel, so they stay visible to
// -- callers' loops.

inline float& TportColor::operator[](int i) noexcept {
    assert(i >= 0 && i < 4);
    switch (i) {
    case 0: return fRed;
    case 1: return fGreen;
    case 2: return fBlue;
    default: return fAlpha;
    }
}

inline float TportColor::operator[](int i) const noexcept {
    assert(i >= 0 && i < 4);
    switch (i) {
    case 0: return fRed;
    case 1: return fGreen;
    case 2: return fBlue;
    default: return fAlpha;
    }
}

// The conversions are written as selections rather than branches: the
// sector of a pixel is data, and a loop over pixels then runs without
// mispredictions and can be vectorised. Each result is the one the
// step-by-step rules give.

inline void TportColor::toHSV(float& hue, float& saturation, float& value) const noexcept {
    const float r = fRed, g = fGreen, b = fBlue;
    float max = r > g ? r : g;
    max = max > b ? max : b;
    float min = r < g ? r : g;
    min = min < b ? min : b;
    const float d = max - min;

    // Saturation starts at 1 and becomes d / max when |max| ≥ 1e-5; a hue
    // needs that saturation non-zero and a spread d ≥ 1e-5.
    const bool lit = std::fabs(max) >= 1e-5f;
    const float s = d / (lit ? max : 1.0f);
    const bool chromatic = lit && s != 0.0f && std::fabs(d) >= 1e-5f;
    const float spread = chromatic ? d : 1.0f;
    const float rc = (max - r) / spread, gc = (max - g) / spread, bc = (max - b) / spread;
    // Which of the six cases applies, as an index (0 red is max and green
    // min, 1 red max, 2 green max and blue min, 3 green max, 4 blue max and
    // red min, 5 blue max), computed without a jump.
    const unsigned isRed = r == max, isGreen = !isRed & (g == max), isBlue = !isRed & !isGreen;
    const unsigned atMin = (isRed & (g == min)) | (isGreen & (b == min)) | (isBlue & (r == min));
    const unsigned which = 2 * (isGreen | (isBlue << 1)) + !atMin;
    const float sectors[6] = {5.0f + bc, 1.0f - gc, 1.0f + rc, 3.0f - bc, 3.0f + gc, 5.0f - rc};
    float h = sectors[which];
    h *= 60.0f;
    h = h < 0.0f ? h + 360.0f : h;
    // Pure red and its neighbours arrive at 360, which is 0.
    h = h >= 360.0f ? 0.0f : h;

    hue = chromatic ? h : 0.0f;
    // Below 1e-5 (or NaN) in value, the starting saturation of 1 never survives.
    saturation = max >= 1e-5f ? s : 0.0f;
    value = max;
}

inline void TportColor::fromHSV(float hue, float saturation, float value) noexcept {
    const float h = (hue == 360.0f ? 0.0f : hue) * (1.0f / 60.0f);
    // The sector index is taken unsigned: sectors outside 0 to 6 change
    // nothing. Testing h first keeps NaN and huge hues out of the conversion.
    const bool inRange = h > -1.0f && h < 7.0f;
    const int i = static_cast<int>(inRange ? h : 0.0f);
    const float f = h - static_cast<float>(i);
    const float s = saturation, v = value;
    const float p = (1.0f - s) * v;
    const float q = (1.0f - f * s) * v;
    const float t = (1.0f - (1.0f - f) * s) * v;
    // Sectors 0 (and 6) to 5 take (v, t, p) (q, v, p) (p, v, t) (p, q, v)
    // (t, p, v) (v, p, q); "sector" 7 keeps the colour as it is.
    const float candidates[7] = {v, q, p, t, fRed, fGreen, fBlue};
    static constexpr unsigned char red[8] = {0, 1, 2, 2, 3, 0, 0, 4};
    static constexpr unsigned char green[8] = {3, 0, 0, 1, 2, 2, 3, 5};
    static constexpr unsigned char blue[8] = {2, 2, 3, 0, 0, 1, 2, 6};
    const int sector = inRange ? i : 7;
    fRed = candidates[red[sector]];
    fGreen = candidates[green[sector]];
    fBlue = candidates[blue[sector]];
}

inline void TportColor::toCMYK(float& cyan, float& magenta, float& yellow, float& black) const noexcept {
    float c = 1.0f - fRed, m = 1.0f - fGreen, y = 1.0f - fBlue;
    float k = 1.0f;
    if (c < k)
        k = c;
    if (m < k)
        k = m;
    if (y < k)
        k = y;
    cyan = c - k;
    magenta = m - k;
    yellow = y - k;
    black = k;
}

inline void TportColor::fromCMYK(float cyan, float magenta, float yellow, float black) noexcept {
    const float r = 1.0f - cyan - black, g = 1.0f - magenta - black, b = 1.0f - yellow - black;
    fRed = r < 0.0f ? 0.0f : r;
    fGreen = g < 0.0f ? 0.0f : g;
    fBlue = b < 0.0f ? 0.0f : b;
}

inline void TportColor::set(TportColorType type, float a, float b, float c, float d) noexcept {
    switch (type) {
    case RGB: set(a, b, c, d); break;
    case HSV:
        fromHSV(a, b, c);
        fAlpha = d;
        break;
    case CMY: set(1.0f - a, 1.0f - b, 1.0f - c, d); break;
    case CMYK: fromCMYK(a, b, c, d); break;
    }
}

inline void TportColor::get(TportColorType type, float& a, float& b, float& c, float& d) const noexcept {
    // Through locals: the outputs may alias our own components.
    float v[4];
    switch (type) {
    case RGB: get(v[0], v[1], v[2], v[3]); break;
    case HSV:
        toHSV(v[0], v[1], v[2]);
        v[3] = fAlpha;
        break;
    case CMY:
        v[0] = 1.0f - fRed, v[1] = 1.0f - fGreen, v[2] = 1.0f - fBlue, v[3] = fAlpha;
        break;
    case CMYK: toCMYK(v[0], v[1], v[2], v[3]); break;
    default: return;
    }
    a = v[0], b = v[1], c = v[2], d = v[3];
}

inline void TportColor::get(TportColorType type, unsigned char& a, unsigned char& b, unsigned char& c,
                            unsigned char& d) const noexcept {
    float v[4];
    if (type < RGB || type > CMYK)
        return;
    get(type, v[0], v[1], v[2], v[3]);
    using grundel::detail::roundedChannel;
    a = static_cast<unsigned char>(roundedChannel(v[0], 255.0f));
    b = static_cast<unsigned char>(roundedChannel(v[1], 255.0f));
    c = static_cast<unsigned char>(roundedChannel(v[2], 255.0f));
    d = static_cast<unsigned char>(roundedChannel(v[3], 255.0f));
}

inline void TportColor::get(TportColorType type, unsigned short& a, unsigned short& b, unsigned short& c,
                            unsigned short& d) const noexcept {
    float v[4];
    if (type < RGB || type > CMYK)
        return;
    get(type, v[0], v[1], v[2], v[3]);
    using grundel::detail::roundedChannel;
    a = static_cast<unsigned short>(roundedChannel(v[0], 65535.0f));
    b = static_cast<unsigned short>(roundedChannel(v[1], 65535.0f));
    c = static_cast<unsigned short>(roundedChannel(v[2], 65535.0f));
    d = static_cast<unsigned short>(roundedChannel(v[3], 65535.0f));
}

inline void TportColor::get(TportColorType type, double& a, double& b, double& c, double& d) const noexcept {
    float v[4];
    if (type < RGB || type > CMYK)
        return;
    get(type, v[0], v[1], v[2], v[3]);
    a = v[0], b = v[1], c = v[2], d = v[3];
}
