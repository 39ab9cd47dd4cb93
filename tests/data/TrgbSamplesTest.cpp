#include "grundel/data/TblendFactor.h"
#include "grundel/data/TrenderSamples.h"
#include "grundel/data/TrgbSamples.h"

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
template <class, template <class...> class, class...> struct detected : std::false_type {};
template <template <class...> class Op, class... A> struct detected<std::void_t<Op<A...>>, Op, A...> : std::true_type {};
template <class A, class B> using Add = decltype(std::declval<A>() + std::declval<B>());
template <class A, class B> using Sub = decltype(std::declval<A>() - std::declval<B>());
template <class A, class B> using Mul = decltype(std::declval<A>() * std::declval<B>());
template <class A, class B> using Div = decltype(std::declval<A>() / std::declval<B>());
template <class A, class B> using AddTo = decltype(std::declval<A&>() += std::declval<B>());
template <class A, class B> using MulBy = decltype(std::declval<A&>() *= std::declval<B>());
template <class A> using Less = decltype(std::declval<A>() < std::declval<A>());
template <template <class...> class Op, class... A> constexpr bool compiles = detected<void, Op, A...>::value;

using S = const Tspectrum&;
using R = const Treflectance&;
static_assert(compiles<Mul, S, R> && compiles<Mul, R, S> && compiles<MulBy, Tspectrum, R> && compiles<Add, S, S>);
static_assert(std::is_same_v<Mul<R, S>, Tspectrum> && std::is_assignable_v<Treflectance&, S>);
static_assert(!compiles<Add, R, R> && !compiles<Sub, R, R> && !compiles<Mul, R, R> && !compiles<Mul, R, float> &&
              !compiles<Div, R, float> && !compiles<AddTo, Treflectance, R> && !compiles<MulBy, Treflectance, S>);
static_assert(!compiles<Add, S, R> && !compiles<Sub, S, R> && !compiles<AddTo, Tspectrum, R>);
static_assert(!std::is_constructible_v<TblendFactor, float> && !std::is_constructible_v<Tspectrum, float, float, float>);
static_assert(compiles<Less, Tspectrum> && !compiles<Less, TrenderSpectrum>);

} // namespace

TEST(Tspectrum, ArithmeticPerSample) {
    const Tspectrum a = rgb(1, 2, 4), b = rgb(0.5f, 0.25f, 2);
    expectRGB(a + b, 1.5f, 2.25f, 6);
    expectRGB(a - b, 0.5f, 1.75f, 2);
    expectRGB(a * b, 0.5f, 0.5f, 8);
    expectRGB(a * 2.0f, 2, 4, 8);
    expectRGB(a / 4.0f, 0.25f, 0.5f, 1);
    Tspectrum c = a;
    c += b;
    c *= 4.0f;
    c /= 2.0f;
    c -= a;
    c *= b;
    expectRGB(c, 1, 0.625f, 16);
    EXPECT_EQ(c.sample(1), c.green());
    Tspectrum sum = a;
    Tspectrum::addSpectrum(sum, b, sum); // result aliasing an operand
    EXPECT_EQ(sum, a + b);
    // Division by zero follows IEEE: no trap, infinities and NaN.
    const Tspectrum z = rgb(1, -1, 0) / 0.0f;
    EXPECT_TRUE(z.red() == HUGE_VALF && z.green() == -HUGE_VALF && std::isnan(z.blue()));
}

TEST(Tspectrum, ReflectanceFiltersSpectrum) {
    const Tspectrum light = rgb(2, 4, 8);
    const Treflectance r = Treflectance::fromRGB(0.5f, 0.25f, 0);
    expectRGB(light * r, 1, 1, 0);
    expectRGB(r * light, 1, 1, 0);
    Tspectrum l = light;
    expectRGB(l *= r, 1, 1, 0);
}

TEST(Tspectrum, AccumulateForms) {
    Tspectrum s = rgb(0.25f, 0.5f, 1);
    s.accumulate(Tspectrum(0.5f));
    expectRGB(s, 0.625f, 0.75f, 1);
    Tspectrum t = rgb(0.1f, 0.1f, 0.1f);
    t.accumulate(rgb(0.4f, 0.8f, 1), rgb(0.5f, 0.25f, 1)); // s + a(1-b)
    expectRGB(t, 0.3f, 0.7f, 0.1f);

    Tspectrum u = rgb(0, 1, 0.5f);
    u.accumulate(rgb(0.5f, 0.75f, 1), 2.0f, rgb(1, 0.5f, 3)); // s + (1-a) b f: A and B not swapped
    expectRGB(u, 1, 1.25f, 0.5f);
}

TEST(Tspectrum, DiffFromWhiteAndClips) {
    expectRGB(rgb(0.25f, 1, 1.5f).diffFromWhite(), 0.75f, 0, -0.5f);
    expectRGB(rgb(1.5f, 1, 0.5f).clipToMaxSampleValue(), 1, 1, 0.5f);
    expectRGB(rgb(-0.1f, 0, 0.3f).clipToMinSampleValue(), 0, 0, 0.3f);
    EXPECT_FALSE(std::signbit(rgb(-0.0f, 0, 0).clipToMinSampleValue().red())); // -0 becomes +0
    const Tspectrum both = rgb(-HUGE_VALF, HUGE_VALF, kNaN).clipSampleValues();
    EXPECT_TRUE(both.red() == 0 && both.green() == 1 && std::isnan(both.blue()));
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
    EXPECT_TRUE(rgb(1, 1, 1) <= rgb(1, 1, 1) && rgb(1, 1, 1) >= rgb(1, 1, 1) && !(rgb(1, 1, 1) < rgb(1, 1, 1)));
    EXPECT_TRUE(rgb(2, 0, 0) > rgb(1, 5, 5) && !(rgb(2, 0, 0) <= rgb(1, 5, 5)));
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

TEST(TblendFactor, AccumulatesUnclampedClipsAndCompares) {
    TblendFactor a = TblendFactor::fromWeight(0.75f);
    EXPECT_EQ(a.accumulateAlpha(a).weight(), 1.5f);
    EXPECT_EQ(a.clipToMaxSampleValue().weight(), 1);
    EXPECT_EQ(TblendFactor::fromWeight(-0.5f).clipToMaxSampleValue().weight(), -0.5f);
    EXPECT_EQ(TblendFactor::fromWeight(-0.5f).clipToMinSampleValue().weight(), 0);
    EXPECT_TRUE(std::isnan(TblendFactor::fromWeight(kNaN).clipSampleValues().weight()));

    const TblendFactor z;
    EXPECT_TRUE(z.equivalent(TblendFactor::fromWeight(0.00001f)));
    EXPECT_FALSE(z.equivalent(TblendFactor::fromWeight(0.00002f)));
    EXPECT_TRUE(z.equivalent(z, 0) && !z.equivalent(z, 0.5f));
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
    EXPECT_TRUE(a.equivalent(TrenderSpectrum(Tspectrum(0), TblendFactor::fromWeight(0)), 0.5f));
    EXPECT_FALSE(a.equivalent(TrenderSpectrum(Tspectrum(0), TblendFactor::fromWeight(0.25f)), 0.5f));

    const Tspectrum wild = rgb(-1, 0.5f, 2);
    EXPECT_EQ(TrenderSpectrum(wild, TblendFactor::fromWeight(3)).clipToMaxSampleValue(),
              TrenderSpectrum(rgb(-1, 0.5f, 1), TblendFactor::fromWeight(1)));
    EXPECT_EQ(TrenderSpectrum(wild, TblendFactor::fromWeight(-3)).clipToMinSampleValue(),
              TrenderSpectrum(rgb(0, 0.5f, 2), TblendFactor::fromWeight(0)));
    EXPECT_EQ(TrenderSpectrum(wild, TblendFactor::fromWeight(7)).clipSampleValues(),
              TrenderSpectrum(rgb(0, 0.5f, 1), TblendFactor::fromWeight(1)));
}
