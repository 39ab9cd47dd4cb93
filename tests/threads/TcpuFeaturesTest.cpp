#include "grundel/threads/TcpuFeatures.h"

#include <gtest/gtest.h>

TEST(TcpuFeatures, AgreesWithTheCompilersOwnDetection) {
    const TuInt32 f = TcpuFeatures::getIntelFeatures();
    EXPECT_EQ(TcpuFeatures::getPpcFeatures(), TuInt32(TcpuFeatures::kPpcNone));
#if defined(__x86_64__)
    EXPECT_TRUE(f & TcpuFeatures::kIntelSSE2);  // the x86-64 baseline
    __builtin_cpu_init();
#define GRUNDEL_EXPECT_FEATURE(flag, name) \
    EXPECT_EQ((f & TcpuFeatures::flag) != 0, bool(__builtin_cpu_supports(name))) << name
    GRUNDEL_EXPECT_FEATURE(kIntelSSE3, "sse3");
    GRUNDEL_EXPECT_FEATURE(kIntelSSSE3, "ssse3");
    GRUNDEL_EXPECT_FEATURE(kIntelSSE41, "sse4.1");
    GRUNDEL_EXPECT_FEATURE(kIntelSSE42, "sse4.2");
    GRUNDEL_EXPECT_FEATURE(kIntelPOPCNT, "popcnt");
    GRUNDEL_EXPECT_FEATURE(kIntelAVX, "avx");
    GRUNDEL_EXPECT_FEATURE(kIntelAVX2, "avx2");
    GRUNDEL_EXPECT_FEATURE(kIntelFMA, "fma");
    GRUNDEL_EXPECT_FEATURE(kIntelBMI2, "bmi2");
    GRUNDEL_EXPECT_FEATURE(kIntelAVX512F, "avx512f");
#undef GRUNDEL_EXPECT_FEATURE
#else
    EXPECT_EQ(f, TuInt32(TcpuFeatures::kIntelNone));
#endif
}
