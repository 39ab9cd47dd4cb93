#include "grundel/color/TportColor.h"

#include "grundel/color/TcolorArrays.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace {

constexpr float kTolerance = 1e-5f;
constexpr float kHueTolerance = 1e-3f; // degrees: 360 × a few float steps
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

using Type = TportColor::TportColorType;

struct Conversion {
    float in[3];
    double out[3];
};

// Reference values from Python's colorsys (inputs rounded to float first,
// hue scaled to degrees), generated once by:
//   import colorsys, struct
//   f32 = lambda x: struct.unpack("f", struct.pack("f", x))[0]
//   grid = [0.1, 0.35, 0.6, 0.85]
//   for r in grid:
//       for g in grid:
//           for b in grid:
//               h, s, v = colorsys.rgb_to_hsv(f32(r), f32(g), f32(b))
//               print("    {%.2ff, %.2ff, %.2ff, %.9g, %.9g, %.9g}," % (r, g, b, h * 360, s, v))
//   print()
//   for h in [10, 75, 130, 190, 250, 310, 355]:
//       for s in [0.25, 0.7, 1]:
//           for v in [0.3, 0.9]:
//               r, g, b = colorsys.hsv_to_rgb(h / 360, f32(s), f32(v))
//               print("    {%.1ff, %.2ff, %.2ff, %.9g, %.9g, %.9g}," % (h, s, v, r, g, b))
const Conversion kRgbToHsv[] = {
    {0.10f, 0.10f, 0.10f, 0, 0, 0.100000001},
    {0.10f, 0.10f, 0.35f, 240, 0.714285705, 0.349999994},
    {0.10f, 0.10f, 0.60f, 240, 0.833333337, 0.600000024},
    {0.10f, 0.10f, 0.85f, 240, 0.882352943, 0.850000024},
    {0.10f, 0.35f, 0.10f, 120, 0.714285705, 0.349999994},
    {0.10f, 0.35f, 0.35f, 180, 0.714285705, 0.349999994},
    {0.10f, 0.35f, 0.60f, 210.000002, 0.833333337, 0.600000024},
    {0.10f, 0.35f, 0.85f, 220.000001, 0.882352943, 0.850000024},
    {0.10f, 0.60f, 0.10f, 120, 0.833333337, 0.600000024},
    {0.10f, 0.60f, 0.35f, 149.999998, 0.833333337, 0.600000024},
    {0.10f, 0.60f, 0.60f, 180, 0.833333337, 0.600000024},
    {0.10f, 0.60f, 0.85f, 199.999999, 0.882352943, 0.850000024},
    {0.10f, 0.85f, 0.10f, 120, 0.882352943, 0.850000024},
    {0.10f, 0.85f, 0.35f, 139.999999, 0.882352943, 0.850000024},
    {0.10f, 0.85f, 0.60f, 160.000001, 0.882352943, 0.850000024},
    {0.10f, 0.85f, 0.85f, 180, 0.882352943, 0.850000024},
    {0.35f, 0.10f, 0.10f, 0, 0.714285705, 0.349999994},
    {0.35f, 0.10f, 0.35f, 300, 0.714285705, 0.349999994},
    {0.35f, 0.10f, 0.60f, 269.999998, 0.833333337, 0.600000024},
    {0.35f, 0.10f, 0.85f, 259.999999, 0.882352943, 0.850000024},
    {0.35f, 0.35f, 0.10f, 60, 0.714285705, 0.349999994},
    {0.35f, 0.35f, 0.35f, 0, 0, 0.349999994},
    {0.35f, 0.35f, 0.60f, 240, 0.4166667, 0.600000024},
    {0.35f, 0.35f, 0.85f, 240, 0.588235313, 0.850000024},
    {0.35f, 0.60f, 0.10f, 90.0000022, 0.833333337, 0.600000024},
    {0.35f, 0.60f, 0.35f, 120, 0.4166667, 0.600000024},
    {0.35f, 0.60f, 0.60f, 180, 0.4166667, 0.600000024},
    {0.35f, 0.60f, 0.85f, 209.999998, 0.588235313, 0.850000024},
    {0.35f, 0.85f, 0.10f, 100.000001, 0.882352943, 0.850000024},
    {0.35f, 0.85f, 0.35f, 120, 0.588235313, 0.850000024},
    {0.35f, 0.85f, 0.60f, 150.000002, 0.588235313, 0.850000024},
    {0.35f, 0.85f, 0.85f, 180, 0.588235313, 0.850000024},
    {0.60f, 0.10f, 0.10f, 0, 0.833333337, 0.600000024},
    {0.60f, 0.10f, 0.35f, 330.000002, 0.833333337, 0.600000024},
    {0.60f, 0.10f, 0.60f, 300, 0.833333337, 0.600000024},
    {0.60f, 0.10f, 0.85f, 280.000001, 0.882352943, 0.850000024},
    {0.60f, 0.35f, 0.10f, 29.9999978, 0.833333337, 0.600000024},
    {0.60f, 0.35f, 0.35f, 0, 0.4166667, 0.600000024},
    {0.60f, 0.35f, 0.60f, 300, 0.4166667, 0.600000024},
    {0.60f, 0.35f, 0.85f, 270.000002, 0.588235313, 0.850000024},
    {0.60f, 0.60f, 0.10f, 60, 0.833333337, 0.600000024},
    {0.60f, 0.60f, 0.35f, 60, 0.4166667, 0.600000024},
    {0.60f, 0.60f, 0.60f, 0, 0, 0.600000024},
    {0.60f, 0.60f, 0.85f, 240, 0.294117639, 0.850000024},
    {0.60f, 0.85f, 0.10f, 79.9999994, 0.882352943, 0.850000024},
    {0.60f, 0.85f, 0.35f, 89.9999982, 0.588235313, 0.850000024},
    {0.60f, 0.85f, 0.60f, 120, 0.294117639, 0.850000024},
    {0.60f, 0.85f, 0.85f, 180, 0.294117639, 0.850000024},
    {0.85f, 0.10f, 0.10f, 0, 0.882352943, 0.850000024},
    {0.85f, 0.10f, 0.35f, 340.000001, 0.882352943, 0.850000024},
    {0.85f, 0.10f, 0.60f, 319.999999, 0.882352943, 0.850000024},
    {0.85f, 0.10f, 0.85f, 300, 0.882352943, 0.850000024},
    {0.85f, 0.35f, 0.10f, 19.9999988, 0.882352943, 0.850000024},
    {0.85f, 0.35f, 0.35f, 0, 0.588235313, 0.850000024},
    {0.85f, 0.35f, 0.60f, 329.999998, 0.588235313, 0.850000024},
    {0.85f, 0.35f, 0.85f, 300, 0.588235313, 0.850000024},
    {0.85f, 0.60f, 0.10f, 40.0000006, 0.882352943, 0.850000024},
    {0.85f, 0.60f, 0.35f, 30.0000018, 0.588235313, 0.850000024},
    {0.85f, 0.60f, 0.60f, 0, 0.294117639, 0.850000024},
    {0.85f, 0.60f, 0.85f, 300, 0.294117639, 0.850000024},
    {0.85f, 0.85f, 0.10f, 60, 0.882352943, 0.850000024},
    {0.85f, 0.85f, 0.35f, 60, 0.588235313, 0.850000024},
    {0.85f, 0.85f, 0.60f, 60, 0.294117639, 0.850000024},
    {0.85f, 0.85f, 0.85f, 0, 0, 0.850000024},
};
const Conversion kHsvToRgb[] = {
    {10.0f, 0.25f, 0.30f, 0.300000012, 0.237500009, 0.225000009},
    {10.0f, 0.25f, 0.90f, 0.899999976, 0.712499981, 0.674999982},
    {10.0f, 0.70f, 0.30f, 0.300000012, 0.125000008, 0.0900000072},
    {10.0f, 0.70f, 0.90f, 0.899999976, 0.374999999, 0.270000004},
    {10.0f, 1.00f, 0.30f, 0.300000012, 0.050000002, 0},
    {10.0f, 1.00f, 0.90f, 0.899999976, 0.149999996, 0},
    {75.0f, 0.25f, 0.30f, 0.281250011, 0.300000012, 0.225000009},
    {75.0f, 0.25f, 0.90f, 0.843749978, 0.899999976, 0.674999982},
    {75.0f, 0.70f, 0.30f, 0.247500011, 0.300000012, 0.0900000072},
    {75.0f, 0.70f, 0.90f, 0.742499983, 0.899999976, 0.270000004},
    {75.0f, 1.00f, 0.30f, 0.225000009, 0.300000012, 0},
    {75.0f, 1.00f, 0.90f, 0.674999982, 0.899999976, 0},
    {130.0f, 0.25f, 0.30f, 0.225000009, 0.300000012, 0.237500009},
    {130.0f, 0.25f, 0.90f, 0.674999982, 0.899999976, 0.712499981},
    {130.0f, 0.70f, 0.30f, 0.0900000072, 0.300000012, 0.125000008},
    {130.0f, 0.70f, 0.90f, 0.270000004, 0.899999976, 0.374999999},
    {130.0f, 1.00f, 0.30f, 0, 0.300000012, 0.050000002},
    {130.0f, 1.00f, 0.90f, 0, 0.899999976, 0.149999996},
    {190.0f, 0.25f, 0.30f, 0.225000009, 0.287500011, 0.300000012},
    {190.0f, 0.25f, 0.90f, 0.674999982, 0.862499977, 0.899999976},
    {190.0f, 0.70f, 0.30f, 0.0900000072, 0.265000011, 0.300000012},
    {190.0f, 0.70f, 0.90f, 0.270000004, 0.794999981, 0.899999976},
    {190.0f, 1.00f, 0.30f, 0, 0.25000001, 0.300000012},
    {190.0f, 1.00f, 0.90f, 0, 0.74999998, 0.899999976},
    {250.0f, 0.25f, 0.30f, 0.237500009, 0.225000009, 0.300000012},
    {250.0f, 0.25f, 0.90f, 0.712499981, 0.674999982, 0.899999976},
    {250.0f, 0.70f, 0.30f, 0.125000008, 0.0900000072, 0.300000012},
    {250.0f, 0.70f, 0.90f, 0.374999999, 0.270000004, 0.899999976},
    {250.0f, 1.00f, 0.30f, 0.050000002, 0, 0.300000012},
    {250.0f, 1.00f, 0.90f, 0.149999996, 0, 0.899999976},
    {310.0f, 0.25f, 0.30f, 0.300000012, 0.225000009, 0.287500011},
    {310.0f, 0.25f, 0.90f, 0.899999976, 0.674999982, 0.862499977},
    {310.0f, 0.70f, 0.30f, 0.300000012, 0.0900000072, 0.265000011},
    {310.0f, 0.70f, 0.90f, 0.899999976, 0.270000004, 0.794999981},
    {310.0f, 1.00f, 0.30f, 0.300000012, 0, 0.25000001},
    {310.0f, 1.00f, 0.90f, 0.899999976, 0, 0.74999998},
    {355.0f, 0.25f, 0.30f, 0.300000012, 0.225000009, 0.231250009},
    {355.0f, 0.25f, 0.90f, 0.899999976, 0.674999982, 0.693749982},
    {355.0f, 0.70f, 0.30f, 0.300000012, 0.0900000072, 0.107500008},
    {355.0f, 0.70f, 0.90f, 0.899999976, 0.270000004, 0.322500001},
    {355.0f, 1.00f, 0.30f, 0.300000012, 0, 0.025000001},
    {355.0f, 1.00f, 0.90f, 0.899999976, 0, 0.074999998},
};

void expectRgb(const TportColor& c, float r, float g, float b) {
    EXPECT_NEAR(c.red(), r, kTolerance);
    EXPECT_NEAR(c.green(), g, kTolerance);
    EXPECT_NEAR(c.blue(), b, kTolerance);
}

std::vector<TportColor> randomColors(std::size_t n) {
    std::mt19937 rng(7);
    std::uniform_real_distribution<float> unit(0.0f, 1.0f);
    std::vector<TportColor> v;
    for (std::size_t i = 0; i < n; ++i)
        v.emplace_back(unit(rng), unit(rng), unit(rng), 1.0f);
    return v;
}


// The conversions step by step, as the rules read, to hold the library's
// jump-free versions to.
std::array<float, 3> toHsvByTheRules(float r, float g, float b) {
    // Maximum and minimum as the library takes them, which decides what a NaN
    // component does.
    float max = r > g ? r : g, min = r < g ? r : g;
    max = max > b ? max : b;
    min = min < b ? min : b;
    float hue = 0, saturation = 1;
    if (std::fabs(max) >= 1e-5f) {
        saturation = (max - min) / max;
        if (saturation != 0 && std::fabs(max - min) >= 1e-5f) {
            const float d = max - min;
            const float rc = (max - r) / d, gc = (max - g) / d, bc = (max - b) / d;
            if (r == max)
                hue = g == min ? 5 + bc : 1 - gc;
            else if (g == max)
                hue = b == min ? 1 + rc : 3 - bc;
            else
                hue = r == min ? 3 + gc : 5 - rc;
            hue *= 60;
            if (hue < 0)
                hue += 360;
            if (hue == 360)
                hue = 0;
        }
    }
    if (!(max >= 1e-5f))
        saturation = 0;
    return {hue, saturation, max};
}

std::array<float, 3> fromHsvByTheRules(float hue, float s, float v, std::array<float, 3> rgb) {
    if (hue == 360)
        hue = 0;
    const float h = hue * (1.0f / 60.0f);
    if (!(h > -1.0f && h < 7.0f))
        return rgb;
    const int i = static_cast<int>(h);
    const float f = h - i, p = (1 - s) * v, q = (1 - f * s) * v, t = (1 - (1 - f) * s) * v;
    switch (i) {
    case 0:
    case 6: return {v, t, p};
    case 1: return {q, v, p};
    case 2: return {p, v, t};
    case 3: return {p, q, v};
    case 4: return {t, p, v};
    default: return {v, p, q};
    }
}

// Equal, or both NaN.
bool same(const std::array<float, 3>& a, const std::array<float, 3>& b) {
    for (int k = 0; k < 3; ++k)
        if (!(a[k] == b[k] || (std::isnan(a[k]) && std::isnan(b[k]))))
            return false;
    return true;
}

} // namespace

TEST(TportColor, DefaultIsOpaqueBlack) {
    TportColor c;
    float r = -1, g = -1, b = -1, a = -1;
    c.get(r, g, b, a);
    EXPECT_EQ(r, 0.0f);
    EXPECT_EQ(g, 0.0f);
    EXPECT_EQ(b, 0.0f);
    EXPECT_EQ(a, 1.0f);
    EXPECT_FALSE(c.isTransparent());
    EXPECT_EQ(c, TportColor(0, 0, 0, 1));
}

TEST(TportColor, ComponentsByIndex) {
    TportColor c(0.1f, 0.2f, 0.3f, 0.4f);
    const TportColor& k = c;
    EXPECT_EQ(k[0], 0.1f);
    EXPECT_EQ(k[1], 0.2f);
    EXPECT_EQ(k[2], 0.3f);
    EXPECT_EQ(k[3], 0.4f);
    c[2] = 0.9f;
    EXPECT_EQ(c.blue(), 0.9f);
    float r, g, b;
    c.get(r, g, b);
    EXPECT_EQ(b, 0.9f);
}

TEST(TportColor, HsvMatchesReference) {
    for (const Conversion& x : kRgbToHsv) {
        SCOPED_TRACE(testing::Message() << x.in[0] << ", " << x.in[1] << ", " << x.in[2]);
        const TportColor c(x.in[0], x.in[1], x.in[2], 0.25f);
        float h, s, v, a;
        c.get(TportColor::HSV, h, s, v, a);
        EXPECT_NEAR(h, x.out[0], kHueTolerance);
        EXPECT_NEAR(s, x.out[1], kTolerance);
        EXPECT_NEAR(v, x.out[2], kTolerance);
        EXPECT_EQ(a, 0.25f);
    }
    for (const Conversion& x : kHsvToRgb) {
        SCOPED_TRACE(testing::Message() << x.in[0] << ", " << x.in[1] << ", " << x.in[2]);
        const TportColor c(TportColor::HSV, x.in[0], x.in[1], x.in[2], 0.25f);
        EXPECT_NEAR(c.red(), x.out[0], kTolerance);
        EXPECT_NEAR(c.green(), x.out[1], kTolerance);
        EXPECT_NEAR(c.blue(), x.out[2], kTolerance);
        EXPECT_EQ(c.alpha(), 0.25f);
    }
}

TEST(TportColor, HsvFollowsTheRulesExactly) {
    // Ties, thresholds and out-of-range components, in every combination.
    const float special[] = {0, 1, 0.5f, 0.25f, 1e-6f, 0.5f + 4e-6f, -0.5f, 1.5f, kNaN};
    for (float r : special)
        for (float g : special)
            for (float b : special) {
                std::array<float, 3> hsv;
                TportColor(r, g, b, 1).toHSV(hsv[0], hsv[1], hsv[2]);
                ASSERT_TRUE(same(hsv, toHsvByTheRules(r, g, b))) << r << ", " << g << ", " << b;
            }
    for (const TportColor& c : randomColors(10000)) {
        std::array<float, 3> hsv;
        c.toHSV(hsv[0], hsv[1], hsv[2]);
        ASSERT_TRUE(same(hsv, toHsvByTheRules(c.red(), c.green(), c.blue())));
    }
    const std::array<float, 3> before = {0.1f, 0.2f, 0.3f};
    for (float hue = -100.0f; hue < 500.0f; hue += 0.37f)
        for (float s : {0.0f, 0.3f, 1.0f, 1.5f})
            for (float v : {0.0f, 0.6f, -0.5f}) {
                TportColor c(before[0], before[1], before[2], 1);
                c.fromHSV(hue, s, v);
                ASSERT_TRUE(same({c.red(), c.green(), c.blue()}, fromHsvByTheRules(hue, s, v, before)))
                    << hue << ", " << s << ", " << v;
            }
}

TEST(TportColor, HsvRoundTripKeepsHueInRange) {
    for (const TportColor& c : randomColors(10000)) {
        float h, s, v;
        c.get(TportColor::HSV, h, s, v);
        ASSERT_GE(h, 0.0f);
        ASSERT_LT(h, 360.0f);
        TportColor back;
        back.set(TportColor::HSV, h, s, v, 1.0f);
        ASSERT_NEAR(back.red(), c.red(), kTolerance);
        ASSERT_NEAR(back.green(), c.green(), kTolerance);
        ASSERT_NEAR(back.blue(), c.blue(), kTolerance);
    }
}

TEST(TportColor, HsvThresholds) {
    auto hsv = [](float r, float g, float b) {
        std::array<float, 3> out;
        TportColor(r, g, b, 1).toHSV(out[0], out[1], out[2]);
        return out;
    };
    EXPECT_EQ(hsv(0.5f, 0.5f, 0.5f), (std::array<float, 3>{0, 0, 0.5f}));
    EXPECT_EQ(hsv(0, 0, 0), (std::array<float, 3>{0, 0, 0}));
    EXPECT_EQ(hsv(1, 0, 0), (std::array<float, 3>{0, 1, 1})); // 360 comes out as 0
    EXPECT_EQ(hsv(0, 0, 1), (std::array<float, 3>{240, 1, 1}));
    EXPECT_EQ(hsv(0, 1, 0), (std::array<float, 3>{120, 1, 1}));
    // Below 1e-5 in value: no hue, no saturation.
    EXPECT_EQ(hsv(5e-6f, 0, 0), (std::array<float, 3>{0, 0, 5e-6f}));
    // A spread below 1e-5: saturation computed, hue left at 0.
    const auto nearGrey = hsv(0.5f, 0.5f, 0.499995f);
    EXPECT_EQ(nearGrey[0], 0.0f);
    EXPECT_NEAR(nearGrey[1], 1e-5f, 1e-6f);
    // Negative components: the formulas' hue, saturation dropped to 0.
    const auto negative = hsv(-0.5f, -0.6f, -0.7f);
    EXPECT_NEAR(negative[0], 30.0f, kHueTolerance);
    EXPECT_EQ(negative[1], 0.0f);
    EXPECT_EQ(negative[2], -0.5f);
    // A value that is not a number: saturation 0.
    const auto nan = hsv(0.5f, 0.5f, kNaN);
    EXPECT_EQ(nan[0], 0.0f);
    EXPECT_EQ(nan[1], 0.0f);
    EXPECT_TRUE(std::isnan(nan[2]));
}

TEST(TportColor, FromHsvEdges) {
    TportColor c;
    c.set(TportColor::HSV, 360.0f, 1.0f, 1.0f, 0.5f);
    expectRgb(c, 1, 0, 0);
    // Just below 0: sector 0 with a negative fraction.
    c.fromHSV(-30.0f, 1.0f, 1.0f);
    expectRgb(c, 1, -0.5f, 0);
    // Sector 6 is sector 0 again.
    c.fromHSV(390.0f, 1.0f, 1.0f);
    expectRgb(c, 1, 0.5f, 0);
    // Sectors outside 0 to 6, NaN and huge hues change nothing but alpha.
    const TportColor before(0.1f, 0.2f, 0.3f, 1.0f);
    for (float hue : {-60.0f, -1000.0f, 420.0f, 1e30f, -1e30f, kNaN, std::numeric_limits<float>::infinity()}) {
        SCOPED_TRACE(hue);
        c = before;
        c.set(TportColor::HSV, hue, 1.0f, 1.0f, 0.5f);
        expectRgb(c, 0.1f, 0.2f, 0.3f);
        EXPECT_EQ(c.alpha(), 0.5f);
    }
}

TEST(TportColor, CmyAndCmyk) {
    float c, m, y, k;
    TportColor(1, 0.5f, 0, 1).get(TportColor::CMYK, c, m, y, k);
    EXPECT_EQ((std::array<float, 4>{c, m, y, k}), (std::array<float, 4>{0, 0.5f, 1, 0}));
    TportColor().get(TportColor::CMYK, c, m, y, k);
    EXPECT_EQ((std::array<float, 4>{c, m, y, k}), (std::array<float, 4>{0, 0, 0, 1}));
    TportColor(0.2f, 0.4f, 0.6f, 1).get(TportColor::CMYK, c, m, y, k);
    EXPECT_FLOAT_EQ(c, 0.4f);
    EXPECT_FLOAT_EQ(m, 0.2f);
    EXPECT_FLOAT_EQ(y, 0.0f);
    EXPECT_FLOAT_EQ(k, 0.4f);

    TportColor color(0, 0, 0, 0.3f);
    color.set(TportColor::CMYK, 0.0f, 0.5f, 1.0f, 0.0f);
    expectRgb(color, 1, 0.5f, 0);
    EXPECT_EQ(color.alpha(), 0.3f); // CMYK has no alpha
    // Raised to 0 when negative, never lowered to 1.
    color.fromCMYK(0.8f, -0.5f, 0.2f, 0.5f);
    EXPECT_EQ(color.red(), 0.0f);
    EXPECT_FLOAT_EQ(color.green(), 1.0f);
    EXPECT_FLOAT_EQ(color.blue(), 0.3f);

    color.set(TportColor::CMY, 0.25f, 0.5f, 1.0f, 0.7f);
    expectRgb(color, 0.75f, 0.5f, 0);
    EXPECT_EQ(color.alpha(), 0.7f);
    float a;
    color.get(TportColor::CMY, c, m, y, a);
    EXPECT_EQ((std::array<float, 4>{c, m, y, a}), (std::array<float, 4>{0.25f, 0.5f, 1, 0.7f}));
}

TEST(TportColor, UnknownTypeChangesNothing) {
    const auto bad = static_cast<Type>(4);
    TportColor c(0.1f, 0.2f, 0.3f, 0.4f);
    c.set(bad, 1.0f, 1.0f, 1.0f, 1.0f);
    c.set(static_cast<Type>(-1), 1.0, 1.0, 1.0, 1.0);
    EXPECT_EQ(c, TportColor(0.1f, 0.2f, 0.3f, 0.4f));
    float f = 7;
    unsigned char b = 7;
    c.get(bad, f, f, f, f);
    c.get(bad, b, b, b, b);
    EXPECT_EQ(f, 7.0f);
    EXPECT_EQ(b, 7);
}

TEST(TportColor, IntegerChannelsRoundTiesToEven) {
    unsigned char r, g, b, a;
    TportColor(1, 0.5f, 0, 1).get(TportColor::RGB, r, g, b, a);
    EXPECT_EQ((std::array<int, 4>{r, g, b, a}), (std::array<int, 4>{255, 128, 0, 255}));
    // Components whose float product is exactly n + 0.5.
    TportColor(0x1.414142p-7f, 0x1.c1c1c2p-7f, 0x1.929292p-1f, 0).get(TportColor::RGB, r, g, b, a);
    EXPECT_EQ((std::array<int, 4>{r, g, b, a}), (std::array<int, 4>{2, 4, 200, 0}));
    unsigned short r16, g16, b16, a16;
    TportColor(0x1.40014p-15f, 0x1.c001cp-15f, 0x1.388238p-1f, 0.5f).get(TportColor::RGB, r16, g16, b16, a16);
    EXPECT_EQ((std::array<int, 4>{r16, g16, b16, a16}), (std::array<int, 4>{2, 4, 40000, 32768}));
}

TEST(TportColor, IntegerChannelsSaturate) {
    unsigned char b[4];
    TportColor(1.5f, -0.2f, kNaN, 1e30f).get(TportColor::RGB, b[0], b[1], b[2], b[3]);
    EXPECT_EQ((std::array<int, 4>{b[0], b[1], b[2], b[3]}), (std::array<int, 4>{255, 0, 0, 255}));
    unsigned short s[4];
    TportColor(1.5f, -0.2f, kNaN, -1e30f).get(TportColor::RGB, s[0], s[1], s[2], s[3]);
    EXPECT_EQ((std::array<int, 4>{s[0], s[1], s[2], s[3]}), (std::array<int, 4>{65535, 0, 0, 0}));
    // A hue in degrees saturates an 8-bit channel.
    TportColor(0, 0, 1, 1).get(TportColor::HSV, b[0], b[1], b[2]);
    EXPECT_EQ((std::array<int, 3>{b[0], b[1], b[2]}), (std::array<int, 3>{255, 255, 255}));
}

TEST(TportColor, IntegerChannelsRoundTrip) {
    for (int n = 0; n < 256; ++n) {
        const auto v = static_cast<unsigned char>(n);
        const TportColor c(TportColor::RGB, v, v, v, v);
        unsigned char r, g, b, a;
        c.get(TportColor::RGB, r, g, b, a);
        ASSERT_EQ(r, n);
        ASSERT_EQ(a, n);
    }
    for (int n = 0; n < 65536; ++n) {
        const auto v = static_cast<unsigned short>(n);
        const TportColor c(TportColor::RGB, v, v, v, v);
        unsigned short r, g, b, a;
        c.get(TportColor::RGB, r, g, b, a);
        ASSERT_EQ(r, n);
        ASSERT_EQ(a, n);
    }
}

TEST(TportColor, DoubleChannels) {
    TportColor c(TportColor::HSV, 120.0, 1.0, 0.5, 0.25);
    expectRgb(c, 0, 0.5f, 0);
    double h, s, v, a;
    c.get(TportColor::HSV, h, s, v, a);
    EXPECT_EQ(h, 120.0);
    EXPECT_EQ(s, 1.0);
    EXPECT_EQ(v, 0.5);
    EXPECT_EQ(a, 0.25);
    // A double hue beyond float range is a huge hue: colour unchanged.
    c.set(TportColor::HSV, 1e300, 1.0, 1.0, 1.0);
    expectRgb(c, 0, 0.5f, 0);
}

TEST(TportColor, GetIntoOwnComponents) {
    TportColor c(0, 0, 1, 0.5f);
    c.get(TportColor::HSV, c[0], c[1], c[2], c[3]);
    EXPECT_EQ(c, TportColor(240, 1, 1, 0.5f));
}

TEST(TportColor, ArithmeticClampsAndKeepsAlpha) {
    const TportColor grey(0.8f, 0.8f, 0.8f, 0.3f);
    EXPECT_EQ(grey + TportColor(0.5f, 0, 0, 1), TportColor(1, 0.8f, 0.8f, 0.3f));
    EXPECT_EQ(grey - TportColor(0.9f, 0.3f, 0, 1), TportColor(0, 0.8f - 0.3f, 0.8f, 0.3f));
    EXPECT_EQ(grey * TportColor(2, 0.5f, 0, 1), TportColor(1, 0.4f, 0, 0.3f));
    EXPECT_EQ(grey / TportColor(0.5f, 2, 0, 1), TportColor(1, 0.4f, 1, 0.3f));
    EXPECT_EQ(grey + 0.5f, TportColor(1, 1, 1, 0.3f));
    EXPECT_EQ(grey - 1.0f, TportColor(0, 0, 0, 0.3f));
    EXPECT_EQ(grey * 0.5f, TportColor(0.4f, 0.4f, 0.4f, 0.3f));
    EXPECT_EQ(grey / 0.0f, TportColor(1, 1, 1, 0.3f));
    TportColor c(0.2f, 0.4f, 0.6f, 0.9f);
    c *= 2.0f;
    c -= TportColor(0, 0, 0.5f, 0);
    EXPECT_EQ(c, TportColor(0.4f, 0.8f, 0.5f, 0.9f));
}

TEST(TportColor, XorCombinesTruncatedBytes) {
    const TportColor x = TportColor(1, 0.5f, 0, 0.4f) ^ TportColor(0.5f, 0.5f, 1, 1);
    // 255 ^ 127, 127 ^ 127, 0 ^ 255
    EXPECT_EQ(x, TportColor(128 * 0.003921569f, 0, 255 * 0.003921569f, 0.4f));
    TportColor y(2, kNaN, -1, 1);
    y ^= TportColor(0, 1, 1, 0);
    EXPECT_EQ(y, TportColor(255 * 0.003921569f, 255 * 0.003921569f, 255 * 0.003921569f, 1));
}

TEST(TportColor, EquivalentIgnoresToleranceAndAlpha) {
    const TportColor a(0.5f, 0.5f, 0.5f, 1);
    EXPECT_TRUE(a.equivalent(TportColor(0.500005f, 0.499995f, 0.5f, 0), 0.0f));
    EXPECT_FALSE(a.equivalent(TportColor(0.6f, 0.5f, 0.5f, 1), 0.5f));
    EXPECT_FALSE(a.equivalent(TportColor(0.5f, 0.5f, 0.50002f, 1)));
}

TEST(TportColor, TransparentBelowThreshold) {
    EXPECT_TRUE(TportColor(1, 1, 1, 0).isTransparent());
    EXPECT_TRUE(TportColor(1, 1, 1, -9e-6f).isTransparent());
    EXPECT_FALSE(TportColor(1, 1, 1, 2e-5f).isTransparent());
}

TEST(TportColor, XColorHasRedInLowByte) {
    EXPECT_EQ(TportColor(1, 0.5f, 0, 1).asXColor(), 0x007FFFu);
    EXPECT_EQ(TportColor(0, 0, 1, 0).asXColor(), 0xFF0000u);
    EXPECT_EQ(TportColor(0.999f, 0.002f, 0.5f, 1).asXColor(), 0x7F00FEu);
    EXPECT_EQ(TportColor(2, -1, kNaN, 1).asXColor(), 0x0000FFu);
}

TEST(TportColor, ClassSettings) {
    EXPECT_EQ(TportColor::fsDepth, 24);
    EXPECT_EQ(TportColor::fsTransparentIndex, -1);
    TportColor::setDepth(8);
    EXPECT_EQ(TportColor::fsDepth, 8);
    TportColor::setDepth(24);
}

TEST(TportColor, ArrayHoldsColours) {
    TportColorArray colors;
    colors.addLast(TportColor(0.1f, 0.2f, 0.3f, 1));
    colors.addLast(TportColor());
    TuInt32 at = 0;
    EXPECT_EQ(colors.find(TportColor(), at), 0);
    EXPECT_EQ(at, 1u);
    EXPECT_EQ(colors[0].green(), 0.2f);
}
