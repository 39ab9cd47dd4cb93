#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"

/// Features of the processor the program runs on, as sets of flags.
class GRUNDEL_API TcpuFeatures {
public:
    /// Features of the x86 family. A vector extension is reported only when
    /// the operating system also saves its registers (AVX, AVX-512).
    enum eIntelFeature : TuInt32 {
        kIntelNone = 0,
        kIntelMMX = 1u << 0,
        kIntelSSE = 1u << 1,
        kIntelSSE2 = 1u << 2,
        kIntelSSE3 = 1u << 3,
        kIntelSSSE3 = 1u << 4,
        kIntelSSE41 = 1u << 5,
        kIntelSSE42 = 1u << 6,
        kIntelPOPCNT = 1u << 7,
        kIntelAES = 1u << 8,
        kIntelPCLMUL = 1u << 9,
        kIntelAVX = 1u << 10,
        kIntelF16C = 1u << 11,
        kIntelFMA = 1u << 12,
        kIntelAVX2 = 1u << 13,
        kIntelBMI1 = 1u << 14,
        kIntelBMI2 = 1u << 15,
        kIntelAVX512F = 1u << 16,
        kIntelRDRAND = 1u << 17,
        kIntelCMPXCHG16B = 1u << 18,
    };
    /// Features of the PowerPC family.
    enum ePpcFeature : TuInt32 {
        kPpcNone = 0,
        kPpcAltivec = 1u << 0,
    };

    /// The eIntelFeature flags of this processor; kIntelNone on another family.
    static TuInt32 getIntelFeatures() noexcept;
    /// The ePpcFeature flags of this processor; kPpcNone on another family
    /// (always, on the platforms this library runs on).
    static TuInt32 getPpcFeatures() noexcept;
};
