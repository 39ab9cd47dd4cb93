#include "grundel/threads/TcpuFeatures.h"

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#endif

namespace {

#if defined(__x86_64__) || defined(__i386__)
/// The register state the operating system saves (XCR0).
TuInt64 savedState() noexcept {
    unsigned lo, hi;
    __asm__ volatile("xgetbv" : "=a"(lo), "=d"(hi) : "c"(0));
    return (TuInt64(hi) << 32) | lo;
}

TuInt32 detect() noexcept {
    unsigned a, b, c, d;
    if (!__get_cpuid(1, &a, &b, &c, &d))
        return TcpuFeatures::kIntelNone;
    TuInt32 f = 0;
    auto flag = [&f](bool present, TuInt32 feature) {
        if (present)
            f |= feature;
    };
    flag(d & bit_MMX, TcpuFeatures::kIntelMMX);
    flag(d & bit_SSE, TcpuFeatures::kIntelSSE);
    flag(d & bit_SSE2, TcpuFeatures::kIntelSSE2);
    flag(c & bit_SSE3, TcpuFeatures::kIntelSSE3);
    flag(c & bit_SSSE3, TcpuFeatures::kIntelSSSE3);
    flag(c & bit_SSE4_1, TcpuFeatures::kIntelSSE41);
    flag(c & bit_SSE4_2, TcpuFeatures::kIntelSSE42);
    flag(c & bit_POPCNT, TcpuFeatures::kIntelPOPCNT);
    flag(c & bit_AES, TcpuFeatures::kIntelAES);
    flag(c & bit_PCLMUL, TcpuFeatures::kIntelPCLMUL);
    flag(c & bit_RDRND, TcpuFeatures::kIntelRDRAND);
    flag(c & bit_CMPXCHG16B, TcpuFeatures::kIntelCMPXCHG16B);

    // The wide registers count only when the system saves them.
    const bool osSaves = (c & bit_OSXSAVE) != 0;
    const TuInt64 state = osSaves ? savedState() : 0;
    const bool ymm = (state & 0x6) == 0x6;
    const bool zmm = ymm && (state & 0xE0) == 0xE0;
    if (ymm) {
        flag(c & bit_AVX, TcpuFeatures::kIntelAVX);
        flag((c & bit_AVX) && (c & bit_F16C), TcpuFeatures::kIntelF16C);
        flag((c & bit_AVX) && (c & bit_FMA), TcpuFeatures::kIntelFMA);
    }
    if (__get_cpuid_count(7, 0, &a, &b, &c, &d)) {
        flag(b & bit_BMI, TcpuFeatures::kIntelBMI1);
        flag(b & bit_BMI2, TcpuFeatures::kIntelBMI2);
        if (ymm)
            flag(b & bit_AVX2, TcpuFeatures::kIntelAVX2);
        if (zmm)
            flag(b & bit_AVX512F, TcpuFeatures::kIntelAVX512F);
    }
    return f;
}
#else
TuInt32 detect() noexcept { return TcpuFeatures::kIntelNone; }
#endif

} // namespace

TuInt32 TcpuFeatures::getIntelFeatures() noexcept {
    static const TuInt32 features = detect();
    return features;
}

TuInt32 TcpuFeatures::getPpcFeatures() noexcept { return kPpcNone; }
