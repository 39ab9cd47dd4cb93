#include "grundel/color/TportColor.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>

namespace {

constexpr float kTolerance = 1e-5f;
constexpr float kHueTolerance = 1e-3f; // degrees: 360 × a few float steps
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

using Type = TportColor::TportColorType;

struct Conversion {
    float in[3];
    double out[3];
};

// Reference values from Python's colorsys (float inputs, hue in degrees).
const Conversion kRgbToHsv[] = {
    // Every sector, and the ties between largest or smallest components.
    {0.35f, 0.35f, 0.35f, 0, 0, 0.349999994},
    {0.60f, 0.10f, 0.10f, 0, 0.833333337, 0.600000024},
    {0.85f, 0.35f, 0.10f, 19.9999988, 0.882352943, 0.850000024},
    {0.85f, 0.85f, 0.10f, 60, 0.882352943, 0.850000024},
    {0.35f, 0.85f, 0.10f, 100.000001, 0.882352943, 0.850000024},
    {0.35f, 0.60f, 0.35f, 120, 0.4166667, 0.600000024},
    {0.10f, 0.85f, 0.35f, 139.999999, 0.882352943, 0.850000024},
    {0.10f, 0.85f, 0.85f, 180, 0.882352943, 0.850000024},
    {0.10f, 0.35f, 0.85f, 220.000001, 0.882352943, 0.850000024},
    {0.35f, 0.35f, 0.60f, 240, 0.4166667, 0.600000024},
    {0.35f, 0.10f, 0.85f, 259.999999, 0.882352943, 0.850000024},
    {0.85f, 0.10f, 0.85f, 300, 0.882352943, 0.850000024},
    {0.85f, 0.10f, 0.35f, 340.000001, 0.882352943, 0.850000024},
};
const Conversion kHsvToRgb[] = {
    {10.0f, 0.70f, 0.90f, 0.899999976, 0.374999999, 0.270000004},
    {10.0f, 1.00f, 0.30f, 0.300000012, 0.050000002, 0},
    {75.0f, 0.70f, 0.90f, 0.742499983, 0.899999976, 0.270000004},
    {130.0f, 0.70f, 0.90f, 0.270000004, 0.899999976, 0.374999999},
    {190.0f, 0.70f, 0.90f, 0.270000004, 0.794999981, 0.899999976},
    {250.0f, 0.25f, 0.30f, 0.237500009, 0.225000009, 0.300000012},
    {250.0f, 0.70f, 0.90f, 0.374999999, 0.270000004, 0.899999976},
    {310.0f, 0.70f, 0.90f, 0.899999976, 0.270000004, 0.794999981},
    {355.0f, 0.70f, 0.90f, 0.899999976, 0.270000004, 0.322500001},
};

void expectRgb(const TportColor& c, float r, float g, float b) {
    EXPECT_NEAR(c.red(), r, kTolerance);
    EXPECT_NEAR(c.green(), g, kTolerance);
    EXPECT_NEAR(c.blue(), b, kTolerance);
}

} // namespace

TEST(TportColor, DefaultIsOpaqueBlackAndIndexesComponents) {
    EXPECT_EQ(TportColor(), TportColor(0, 0, 0, 1));
    TportColor c(0.1f, 0.2f, 0.3f, 0.4f);
    c[2] = 0.9f;
    EXPECT_EQ(c, TportColor(0.1f, 0.2f, 0.9f, 0.4f));
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

TEST(TportColor, HsvThresholds) {
    auto hsv = [](float r, float g, float b) {
        std::array<float, 3> out;
        TportColor(r, g, b, 1).toHSV(out[0], out[1], out[2]);
        return out;
    };
    EXPECT_EQ(hsv(0, 0, 0), (std::array<float, 3>{0, 0, 0}));
    EXPECT_EQ(hsv(1, 0, 0), (std::array<float, 3>{0, 1, 1})); // 360 comes out as 0
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
    // A double hue beyond float range is a huge hue too.
    c = before;
    c.set(TportColor::HSV, 1e300, 1.0, 1.0, 1.0);
    expectRgb(c, 0.1f, 0.2f, 0.3f);
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

