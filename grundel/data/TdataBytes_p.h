#pragma once
// Big-endian element coding shared by the letter classes.

#include "grundel/core/Ttypes.h"

#include <cstring>

namespace grundel::detail {

inline void putBig(unsigned char* out, TuInt64 value, int bytes) noexcept {
    for (int i = bytes - 1; i >= 0; --i, value >>= 8)
        out[i] = static_cast<unsigned char>(value);
}

inline TuInt64 getBig(const unsigned char* in, int bytes) noexcept {
    TuInt64 value = 0;
    for (int i = 0; i < bytes; ++i)
        value = value << 8 | in[i];
    return value;
}

inline void putBigDouble(unsigned char* out, double value) noexcept {
    TuInt64 bits;
    std::memcpy(&bits, &value, sizeof bits);
    putBig(out, bits, 8);
}

inline double getBigDouble(const unsigned char* in) noexcept {
    const TuInt64 bits = getBig(in, 8);
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

inline void putBigFloat(unsigned char* out, float value) noexcept {
    TuInt32 bits;
    std::memcpy(&bits, &value, sizeof bits);
    putBig(out, bits, 4);
}

inline float getBigFloat(const unsigned char* in) noexcept {
    const auto bits = static_cast<TuInt32>(getBig(in, 4));
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

} // namespace grundel::detail
