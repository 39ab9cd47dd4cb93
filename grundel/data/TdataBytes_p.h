#pragma once
// Private helpers of the letter classes: big-endian elements and element
// runs, and the number forms of their text.

#include "grundel/core/Ttypes.h"

#include <charconv>
#include <cstring>
#include <string_view>
#include <type_traits>

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


template <std::size_t N>
struct TunsignedOfSize;
template <>
struct TunsignedOfSize<1> { using type = TuInt8; };
template <>
struct TunsignedOfSize<4> { using type = TuInt32; };
template <>
struct TunsignedOfSize<8> { using type = TuInt64; };

template <class U>
inline U byteSwapped(U value) noexcept {
    if constexpr (sizeof(U) == 1)
        return value;
    else if constexpr (sizeof(U) == 4)
        return __builtin_bswap32(value);
    else
        return __builtin_bswap64(value);
}

/// n elements from in to out (n × sizeof(E) bytes), each with its bytes
/// reversed: native to big-endian and back on this little-endian platform.
/// in and out may be the same run. Written so that the loop vectorises.
template <class E>
inline void swapElements(const void* in, void* out, std::size_t n) noexcept {
    using U = typename TunsignedOfSize<sizeof(E)>::type;
    const auto* from = static_cast<const unsigned char*>(in);
    auto* to = static_cast<unsigned char*>(out);
    for (std::size_t i = 0; i < n; ++i) {
        U bits;
        std::memcpy(&bits, from + i * sizeof(U), sizeof(U));
        bits = byteSwapped(bits);
        std::memcpy(to + i * sizeof(U), &bits, sizeof(U));
    }
}

inline void putBigEndian32(TuInt32 value, unsigned char* out) noexcept {
    value = __builtin_bswap32(value);
    std::memcpy(out, &value, 4);
}

inline TuInt32 getBigEndian32(const char* in) noexcept {
    TuInt32 value;
    std::memcpy(&value, in, 4);
    return __builtin_bswap32(value);
}

/// An optional '+' in front of a number that does not begin with a sign.
inline std::string_view withoutPlus(std::string_view text) noexcept {
    if (text.size() > 1 && text[0] == '+' && text[1] != '-' && text[1] != '+')
        text.remove_prefix(1);
    return text;
}

/// The whole argument as a number of type T: integers in decimal within
/// T's range, doubles in from_chars' general format ("1.5", "-2e-07",
/// "inf", "nan"). False for anything else.
template <class T>
inline bool parseTextNumber(std::string_view text, T& value) noexcept {
    text = withoutPlus(text);
    if (text.empty())
        return false;
    const char* end = text.data() + text.size();
    std::from_chars_result result;
    if constexpr (std::is_floating_point<T>::value)
        result = std::from_chars(text.data(), end, value, std::chars_format::general);
    else
        result = std::from_chars(text.data(), end, value);
    return result.ec == std::errc() && result.ptr == end;
}

/// A count argument: a decimal number from 0 to max.
inline bool parseTextCount(std::string_view text, TuInt32 max, TuInt32& count) noexcept {
    TuInt64 value = 0;
    if (!parseTextNumber(text, value) || value > max)
        return false;
    count = TuInt32(value);
    return true;
}

} // namespace grundel::detail
