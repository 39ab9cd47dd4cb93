#include "grundel/data/TblendFactor.h"
#include "grundel/data/TrenderSpectrum.h"
#include "grundel/data/Tspectrum.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

Tspectrum rgb(float r, float g, float b) { return Tspectrum::fromRGB(r, g, b); }

void expectRGB(const Tspectrum& s, float r, float g, float b) {
    EXPECT_FLOAT_EQ(s.red(), r);
    EXPECT_FLOAT_EQ(s.green(), g);
    EXPECT_FLOAT_EQ(s.blue(), b);
}

// Which expressions compile: a reflectance may only be multiplied into a spectrum.
template <class A, class B, class = void> struct canAdd : std::false_type {};
template <class A, class B> struct canAdd<A, B, std::void_t<decltype(std::declval<A>() + std::declval<B>())>> : std::true_type {};
template <class A, class B, class = void> struct canSub : std::false_type {};
template <class A, class B> struct canSub<A, B, std::void_t<decltype(std::declval<A>() - std::declval<B>())>> : std::true_type {};
template <class A, class B, class = void> struct canMul : std::false_type {};
template <class A, class B> struct canMul<A, B, std::void_t<decltype(std::declval<A>() * std::declval<B>())>> : std::true_type {};
template <class A, class B, class = void> struct canDiv : std::false_type {};
template <class A, class B> struct canDiv<A, B, std::void_t<decltype(std::declval<A>() / std::declval<B>())>> : std::true_type {};
template <class A, class B, class = void> struct canMulAssign : std::false_type {};
template <class A, class B> struct canMulAssign<A, B, std::void_t<decltype(std::declval<A&>() *= std::declval<B>())>> : std::true_type {};
template <class A, class B, class = void> struct canAddAssign : std::false_type {};
template <class A, class B> struct canAddAssign<A, B, std::void_t<decltype(std::declval<A&>() += std::declval<B>())>> : std::true_type {};
template <class A, class = void> struct canOrder : std::false_type {};
template <class A> struct canOrder<A, std::void_t<decltype(std::declval<A>() < std::declval<A>())>> : std::true_type {};

using S = const Tspectrum&;
using R = const Treflectance&;

static_assert(canMul<S, R>::value && canMul<R, S>::value && canMulAssign<Tspectrum, R>::value);
static_assert(std::is_same_v<decltype(std::declval<R>() * std::declval<S>()), Tspectrum>);
static_assert(!canAdd<R, R>::value && !canSub<R, R>::value && !canMul<R, R>::value && !canMul<R, float>::value &&
              !canDiv<R, float>::value && !canAddAssign<Treflectance, R>::value && !canMulAssign<Treflectance, R>::value &&
              !canMulAssign<Treflectance, S>::value);
static_assert(!canAdd<S, R>::value && !canSub<S, R>::value && !canAddAssign<Tspectrum, R>::value);
static_assert(canAdd<S, S>::value && canDiv<S, float>::value && canMul<S, float>::value);
static_assert(std::is_assignable_v<Treflectance&, S> && !std::is_convertible_v<S, Treflectance>);
static_assert(!std::is_constructible_v<TblendFactor, float> && !std::is_constructible_v<Tspectrum, float, float, float>);
static_assert(canOrder<Tspectrum>::value && !canOrder<TrenderSpectrum>::value);
static_assert(std::is_trivially_copyable_v<TrenderSpectrum> && sizeof(TrenderSpectrum) == 16);

} // namespace

TEST(Tspectrum, ConstructorsAndAccessors) {
    expectRGB(Tspectrum(), 0, 0, 0);
    expectRGB(Tspectrum(0.5f), 0.5f, 0.5f, 0.5f);
    const Tspectrum s = rgb(0.1f, 0.2f, 0.3f);
    EXPECT_EQ(s.sample(0), 0.1f);
    EXPECT_EQ(s.sample(1), 0.2f);
    EXPECT_EQ(s.sample(2), 0.3f);
    Tspectrum t;
    t.set(1, 2, 3);
    t.setGreen(7);
    expectRGB(t, 1, 7, 3);
    expectRGB(Treflectance::fromRGB(0.1f, 0.2f, 0.3f), 0.1f, 0.2f, 0.3f);
}

TEST(Tspectrum, ArithmeticPerSample) {
    const Tspectrum a = rgb(1, 2, 4), b = rgb(0.5f, 0.25f, 2);
    expectRGB(a + b, 1.5f, 2.25f, 6);
    expectRGB(a - b, 0.5f, 1.75f, 2);
    expectRGB(a * b, 0.5f, 0.5f, 8);
    expectRGB(a * 2.0f, 2, 4, 8);
    expectRGB(a / 4.0f, 0.25f, 0.5f, 1);
    Tspectrum c = a;
    c += b;
    c -= a;
    EXPECT_EQ(c, b);
    c *= 4.0f;
    c /= 2.0f;
    expectRGB(c, 1, 0.5f, 4);
    c *= a;
    expectRGB(c, 1, 1, 16);
    Tspectrum sum;
    Tspectrum::addSpectrum(a, b, sum);
    EXPECT_EQ(sum, a + b);
    Tspectrum::addSpectrum(sum, sum, sum); // result aliasing an operand
    expectRGB(sum, 3, 4.5f, 12);
    // Division by zero follows IEEE: no trap, infinities and NaN.
    const Tspectrum z = rgb(1, -1, 0) / 0.0f;
    EXPECT_TRUE(std::isinf(z.red()) && z.red() > 0);
    EXPECT_TRUE(std::isinf(z.green()) && z.green() < 0);
    EXPECT_TRUE(std::isnan(z.blue()));
}

TEST(Tspectrum, ReflectanceFiltersSpectrum) {
    const Tspectrum light = rgb(2, 4, 8);
    const Treflectance r = Treflectance::fromRGB(0.5f, 0.25f, 0);
    expectRGB(light * r, 1, 1, 0);
    expectRGB(r * light, 1, 1, 0);
    Tspectrum l = light;
    l *= r;
    expectRGB(l, 1, 1, 0);
    Treflectance q;
    q = light;
    EXPECT_EQ(static_cast<const Tspectrum&>(q), light);
}

TEST(Tspectrum, AccumulateForms) {
    Tspectrum s = rgb(0.25f, 0.5f, 1);
    s.accumulate(Tspectrum(0.5f));
    expectRGB(s, 0.625f, 0.75f, 1);
    // Accumulating into full coverage changes nothing; into none copies.
    Tspectrum none;
    none.accumulate(rgb(0.1f, 0.2f, 0.3f));
    expectRGB(none, 0.1f, 0.2f, 0.3f);

    Tspectrum t = rgb(0.1f, 0.1f, 0.1f);
    t.accumulate(rgb(0.4f, 0.8f, 1), rgb(0.5f, 0.25f, 1)); // s + a(1-b)
    expectRGB(t, 0.3f, 0.7f, 0.1f);

    Tspectrum u = rgb(0, 1, 0.5f);
    u.accumulate(rgb(0.5f, 0.75f, 1), 2.0f, rgb(1, 0.5f, 3)); // s + (1-a) b f: A and B not swapped
    expectRGB(u, 1, 1.25f, 0.5f);

    EXPECT_EQ(&s.accumulate(Tspectrum()), &s);
}

TEST(Tspectrum, DiffFromWhite) {
    const Tspectrum s = rgb(0.25f, 1, 1.5f);
    expectRGB(s.diffFromWhite(), 0.75f, 0, -0.5f);
    expectRGB(s, 0.25f, 1, 1.5f);
}

TEST(Tspectrum, Clips) {
    Tspectrum hi = rgb(1.5f, 1, 0.5f);
    hi.clipToMaxSampleValue();
    expectRGB(hi, 1, 1, 0.5f);
    Tspectrum lo = rgb(-0.1f, 0, 0.3f);
    lo.clipToMinSampleValue();
    expectRGB(lo, 0, 0, 0.3f);
    Tspectrum negZero = rgb(-0.0f, 2, -3);
    negZero.clipToMinSampleValue();
    EXPECT_FALSE(std::signbit(negZero.red())); // -0 becomes +0
    expectRGB(negZero, 0, 2, 0);
    Tspectrum both = rgb(-5, 0.5f, 5);
    both.clipSampleValues();
    expectRGB(both, 0, 0.5f, 1);
    Tspectrum inf = rgb(HUGE_VALF, -HUGE_VALF, kNaN);
    inf.clipSampleValues();
    EXPECT_EQ(inf.red(), 1);
    EXPECT_EQ(inf.green(), 0);
    EXPECT_TRUE(std::isnan(inf.blue()));
}

TEST(Tspectrum, EqualityIsExact) {
    EXPECT_EQ(rgb(0.1f, 0.2f, 0.3f), rgb(0.1f, 0.2f, 0.3f));
    EXPECT_NE(rgb(0.1f, 0.2f, 0.3f), rgb(0.1f, 0.2f, std::nextafter(0.3f, 1.0f)));
    EXPECT_EQ(rgb(0, 0, 0), rgb(-0.0f, 0, 0));
    EXPECT_NE(rgb(kNaN, 0, 0), rgb(kNaN, 0, 0));
}

TEST(Tspectrum, OrderIsLexicographic) {
    EXPECT_LT(rgb(0, 9, 9), rgb(1, 0, 0));
    EXPECT_LT(rgb(1, 0, 9), rgb(1, 1, 0));
    EXPECT_LT(rgb(1, 1, 0), rgb(1, 1, 1));
    EXPECT_FALSE(rgb(1, 1, 1) < rgb(1, 1, 1));
    EXPECT_LE(rgb(1, 1, 1), rgb(1, 1, 1));
    EXPECT_GE(rgb(1, 1, 1), rgb(1, 1, 1));
    EXPECT_GT(rgb(2, 0, 0), rgb(1, 5, 5));
    EXPECT_FALSE(rgb(2, 0, 0) <= rgb(1, 5, 5));
    // A NaN sample ties, and the next sample decides.
    EXPECT_LT(rgb(kNaN, 0, 0), rgb(1, 1, 0));
    EXPECT_LT(rgb(1, 1, 0), rgb(kNaN, 2, 0));

    std::vector<Tspectrum> v{rgb(1, 0, 0), rgb(0, 1, 1), rgb(0, 1, 0), rgb(0, 0, 5)};
    std::sort(v.begin(), v.end());
    EXPECT_EQ(v, (std::vector<Tspectrum>{rgb(0, 0, 5), rgb(0, 1, 0), rgb(0, 1, 1), rgb(1, 0, 0)}));
}

TEST(Tspectrum, EquivalentWithinSinglePrecisionTolerance) {
    EXPECT_TRUE(rgb(0, 0, 0).equivalent(rgb(0.00001f, 0, 0)));
    EXPECT_FALSE(rgb(0, 0, 0).equivalent(rgb(0.00002f, 0, 0)));
    EXPECT_TRUE(rgb(0, 0, 0.00001f).equivalent(rgb(0, 0, 0)));
    EXPECT_FALSE(rgb(0, 0, 0).equivalent(rgb(0, 0, -0.00002f)));
    EXPECT_FALSE(rgb(0, kNaN, 0).equivalent(rgb(0, kNaN, 0)));
    EXPECT_FALSE(rgb(HUGE_VALF, 0, 0).equivalent(rgb(HUGE_VALF, 0, 0)));
}

TEST(Tspectrum, EquivalentWithToleranceMatchesTheDifference) {
    const Tspectrum s = rgb(0.3f, 0.6f, 0.9f);
    EXPECT_TRUE(s.equivalent(s, 0));
    EXPECT_FALSE(s.equivalent(s, 0.5f));
    EXPECT_TRUE(rgb(0.75f, 1, 0.5f).equivalent(rgb(0.25f, 0.5f, 0), 0.5f));
    EXPECT_FALSE(rgb(0.25f, 0.5f, 0).equivalent(rgb(0.75f, 1, 0.5f), 0.5f)); // signed
    EXPECT_TRUE(rgb(0.25f, 0.5f, 0).equivalent(rgb(0.75f, 1, 0.5f), -0.5f));
    EXPECT_FALSE(rgb(0.75f, 1, 0.6f).equivalent(rgb(0.25f, 0.5f, 0), 0.5f)); // every sample must match
    // Judged on the single-precision difference: 1 - 0.1f rounds to 0.9f.
    EXPECT_TRUE(rgb(1, 1, 1).equivalent(Tspectrum(0.1f), 0.9f));
    // 1e-10 is far below float spacing at 0.5: the next float is not within it.
    EXPECT_FALSE(rgb(0.75f, 1, 0.5f).equivalent(rgb(0.25f, 0.5f, 0), std::nextafter(0.5f, 1.0f)));
    EXPECT_TRUE(Tspectrum(1e-11f).equivalent(Tspectrum(), 0)); // but it absorbs tiny ones
    EXPECT_FALSE(Tspectrum(kNaN).equivalent(Tspectrum(kNaN), 0));
}

TEST(TblendFactor, WeightAccumulatesWithoutClamping) {
    EXPECT_EQ(TblendFactor().weight(), 0);
    TblendFactor a = TblendFactor::fromWeight(0.75f);
    a.accumulateAlpha(TblendFactor::fromWeight(0.5f));
    EXPECT_EQ(a.weight(), 1.25f);
    a.accumulateAlpha(TblendFactor::fromWeight(-2));
    EXPECT_EQ(a.weight(), -0.75f);
}

TEST(TblendFactor, ClipsAndEquivalent) {
    TblendFactor w = TblendFactor::fromWeight(1.5f);
    EXPECT_EQ(w.clipToMaxSampleValue().weight(), 1);
    w.setWeight(-0.5f);
    EXPECT_EQ(w.clipToMaxSampleValue().weight(), -0.5f);
    EXPECT_EQ(w.clipToMinSampleValue().weight(), 0);
    w.setWeight(0.5f);
    EXPECT_EQ(w.clipSampleValues().weight(), 0.5f);
    w.setWeight(kNaN);
    EXPECT_TRUE(std::isnan(w.clipSampleValues().weight()));

    const TblendFactor z, near = TblendFactor::fromWeight(0.00001f), far = TblendFactor::fromWeight(0.00002f);
    EXPECT_TRUE(z.equivalent(near));
    EXPECT_FALSE(z.equivalent(far));
    EXPECT_TRUE(z.equivalent(z, 0));
    EXPECT_FALSE(z.equivalent(z, 0.5f));
    EXPECT_TRUE(TblendFactor::fromWeight(1).equivalent(TblendFactor::fromWeight(0.5f), 0.5f));
}

TEST(TrenderSpectrum, MadeAndAssignedFromParts) {
    const Tspectrum s = rgb(0.1f, 0.2f, 0.3f);
    TrenderSpectrum r(s);
    EXPECT_EQ(r.spectrum(), s);
    EXPECT_EQ(r.weight(), 0);
    r = TblendFactor::fromWeight(0.5f);
    EXPECT_EQ(r.spectrum(), s); // the spectrum stays
    r = rgb(1, 1, 1);
    EXPECT_EQ(r.weight(), 0.5f); // the weight stays
    expectRGB(r, 1, 1, 1);
    // Spectrum operations act on the spectrum part only.
    r.accumulate(Tspectrum(0.5f));
    r.accumulateAlpha(TblendFactor::fromWeight(0.25f));
    EXPECT_EQ(r, TrenderSpectrum(rgb(1, 1, 1), TblendFactor::fromWeight(0.75f)));
}

TEST(TrenderSpectrum, EqualityEquivalenceAndClipsCoverTheWeight) {
    const TrenderSpectrum a(rgb(0.5f, 0.5f, 0.5f), TblendFactor::fromWeight(0.5f));
    TrenderSpectrum b = a;
    EXPECT_EQ(a, b);
    b = TblendFactor::fromWeight(0.6f);
    EXPECT_NE(a, b);
    EXPECT_FALSE(a.equivalent(b));
    b = TblendFactor::fromWeight(0.500005f);
    EXPECT_TRUE(a.equivalent(b));
    b = rgb(0.5f, 0.5f, 0.6f);
    EXPECT_FALSE(a.equivalent(b));

    EXPECT_TRUE(a.equivalent(a, 0));
    const TrenderSpectrum lower(rgb(0, 0, 0), TblendFactor::fromWeight(0));
    EXPECT_TRUE(a.equivalent(lower, 0.5f));
    const TrenderSpectrum lowerOther(rgb(0, 0, 0), TblendFactor::fromWeight(0.25f));
    EXPECT_FALSE(a.equivalent(lowerOther, 0.5f));

    TrenderSpectrum c(rgb(-1, 0.5f, 2), TblendFactor::fromWeight(3));
    c.clipToMaxSampleValue();
    EXPECT_EQ(c, TrenderSpectrum(rgb(-1, 0.5f, 1), TblendFactor::fromWeight(1)));
    c = TblendFactor::fromWeight(-3);
    c.clipToMinSampleValue();
    EXPECT_EQ(c, TrenderSpectrum(rgb(0, 0.5f, 1), TblendFactor::fromWeight(0)));
    TrenderSpectrum d(rgb(-1, 0.5f, 2), TblendFactor::fromWeight(7));
    EXPECT_EQ(d.clipSampleValues(), TrenderSpectrum(rgb(0, 0.5f, 1), TblendFactor::fromWeight(1)));
}
