#include "grundel/data/TdataTuple.h"

#include "grundel/core/TargList.h"
#include "grundel/core/TdebugOutput.h"
#include "grundel/core/Tfile.h"
#include "grundel/core/TfootprintInfo.h"
#include "grundel/data/TdataBuiltins_p.h"
#include "grundel/data/TdataBytes_p.h"
#include "grundel/data/TmetaLetter.h"
#include "grundel/iff/TiffFile.h"
#include "grundel/time/TangleUnit.h"
#include "grundel/time/Tunit.h"

#include <cstdint>
#include <cstdio>
#include <type_traits>

namespace {

using namespace grundel::detail;

template <class E>
E toElement(const Tdata& value) {
    if constexpr (std::is_same_v<E, double>)
        return value.doubleValue();
    else if constexpr (std::is_same_v<E, float>)
        return value.floatValue();
    else if constexpr (std::is_same_v<E, Tint32>)
        return value.int32Value();
    else
        return value.int16Value();
}

template <class E>
void putElement(unsigned char* out, E value) noexcept {
    if constexpr (std::is_same_v<E, double>)
        putBigDouble(out, value);
    else if constexpr (std::is_same_v<E, float>)
        putBigFloat(out, value);
    else
        putBig(out, static_cast<std::make_unsigned_t<E>>(value), sizeof(E));
}

template <class E>
E getElement(const unsigned char* in) noexcept {
    if constexpr (std::is_same_v<E, double>)
        return getBigDouble(in);
    else if constexpr (std::is_same_v<E, float>)
        return getBigFloat(in);
    else
        return static_cast<E>(static_cast<std::make_unsigned_t<E>>(getBig(in, sizeof(E))));
}

template <class E>
int putText(Tfile& file, E value) noexcept {
    if constexpr (std::is_same_v<E, double>)
        return file.putDouble(value);
    else if constexpr (std::is_same_v<E, float>)
        return file.putFloat(value);
    else
        return file.putInt(value);
}

// The debug formats: "Array = { %g %g %g }" for doubles, %f for floats, %hd
// for 16-bit integers, and "Array %#x = { %ld ... }" for 32-bit integers.
template <class E>
int debugHead(char* buf, std::size_t size, const void* self) noexcept {
    if constexpr (std::is_same_v<E, Tint32>)
        return std::snprintf(buf, size, "Array %#x = {", unsigned(std::uintptr_t(self)));
    else
        return std::snprintf(buf, size, "Array = {");
}

template <class E>
int debugElement(char* buf, std::size_t size, E value) noexcept {
    if constexpr (std::is_same_v<E, double>)
        return std::snprintf(buf, size, " %g", value);
    else if constexpr (std::is_same_v<E, float>)
        return std::snprintf(buf, size, " %f", double(value));
    else if constexpr (std::is_same_v<E, Tint16>)
        return std::snprintf(buf, size, " %hd", value);
    else
        return std::snprintf(buf, size, " %ld", long(value));
}

} // namespace

template <class E, int N>
E TdataTuple<E, N>::element(int i) const {
    assert(i >= 0 && i < N && "component out of range");
    return toElement<E>(fValues[i]);
}

template <class E, int N>
void TdataTuple<E, N>::debug(TdebugOutput& out, unsigned int) const {
    char line[64 + N * 48];
    std::size_t used = std::size_t(debugHead<E>(line, sizeof line, this));
    for (int i = 0; i < N && used < sizeof line; ++i)
        used += std::size_t(debugElement<E>(line + used, sizeof line - used, element(i)));
    out.printf("%s }\n", line);
}

template <class E, int N>
void TdataTuple<E, N>::reset() {
    for (Tdata& v : fValues)
        v = 0.0;
}

template <class E, int N>
void TdataTuple<E, N>::_getFootprint(TfootprintInfo& info) const {
    info.setSize(sizeof(*this), "TdataTuple");
}

template <class E, int N>
bool TdataTuple<E, N>::operator==(const TdataLetter& other) const {
    if (other.typeof() != typeof())
        return false;
    const auto& o = static_cast<const TdataTuple&>(other);
    for (int i = 0; i < N; ++i)
        if (!(element(i) == o.element(i)))
            return false;
    return true;
}

template <class E, int N>
int TdataTuple<E, N>::readBinary(TiffTag, TuInt32& remaining, const char*& cursor) {
    if (remaining < kBytes)
        return -1;
    const auto* in = reinterpret_cast<const unsigned char*>(cursor);
    for (int i = 0; i < N; ++i)
        fValues[i] = double(getElement<E>(in + i * sizeof(E)));
    cursor += kBytes;
    remaining -= kBytes;
    return 0;
}

template <class E, int N>
int TdataTuple<E, N>::writeBinary(TiffFile& file) const {
    unsigned char bytes[kBytes];
    for (int i = 0; i < N; ++i)
        putElement<E>(bytes + i * sizeof(E), element(i));
    return file.put(bytes, kBytes) == 0 ? 0 : -1;
}

template <class E, int N>
int TdataTuple<E, N>::readASCII(const TargList& args, int& index, unsigned int flags) {
    if (index < 0 || index > args.count() - N)
        return -1;
    double read[N];
    for (int i = 0; i < N; ++i) {
        int at = index + i;
        Tdata number;
        if (args[at].view() == "-type" || number.readASCII(args, at, flags) != 0)
            return -1;
        read[i] = number.doubleValue();
    }
    for (int i = 0; i < N; ++i)
        fValues[i] = read[i];
    index += N - 1;
    return 0;
}

template <class E, int N>
int TdataTuple<E, N>::writeASCII(Tfile& file, int hint) const {
    int result = 0;
    for (const Tdata& v : fValues) {
        switch (hint) {
        case 0:
        case 4: result |= putText<E>(file, toElement<E>(v)); break;
        case 6: result |= file.putDouble(Tunit::internalToUI(v.doubleValue())); break;
        case 7: result |= file.putDouble(TangleUnit::internalToUI(v.doubleValue())); break;
        case 8: result |= file.putFloat(static_cast<float>(v.timeValue().inTicks()) * (1.0f / 6000.0f)); break;
        default: return 0;
        }
        result |= file.putChar(' ');
    }
    return result == 0 ? 0 : -1;
}

template class TdataTuple<double, 2>;
template class TdataTuple<double, 3>;
template class TdataTuple<double, 4>;
template class TdataTuple<float, 2>;
template class TdataTuple<float, 3>;
template class TdataTuple<Tint32, 2>;
template class TdataTuple<Tint32, 3>;
template class TdataTuple<Tint16, 2>;
template class TdataTuple<Tint16, 3>;

GRUNDEL_DEFINE_CLASS(Tdata2Double, "DBL2", TdataLetter)
GRUNDEL_DEFINE_CLASS(Tdata3Double, "DBL3", TdataLetter)
GRUNDEL_DEFINE_CLASS(Tdata4Double, "DBL4", TdataLetter)
GRUNDEL_DEFINE_CLASS(Tdata2Float, "FLT2", TdataLetter)
GRUNDEL_DEFINE_CLASS(Tdata3Float, "FLT3", TdataLetter)
GRUNDEL_DEFINE_CLASS(Tdata2Int32, "LNG2", TdataLetter)
GRUNDEL_DEFINE_CLASS(Tdata3Int32, "LNG3", TdataLetter)
GRUNDEL_DEFINE_CLASS(Tdata2Int16, "SRT2", TdataLetter)
GRUNDEL_DEFINE_CLASS(Tdata3Int16, "SRT3", TdataLetter)

namespace grundel::detail {

void registerTupleLetters() {
    static const TmetaLetter registrations[] = {
        TmetaLetter(&Tdata2Double::fsMetaclass, Tdata2Double::kTypeName),
        TmetaLetter(&Tdata3Double::fsMetaclass, Tdata3Double::kTypeName),
        TmetaLetter(&Tdata4Double::fsMetaclass, Tdata4Double::kTypeName),
        TmetaLetter(&Tdata2Float::fsMetaclass, Tdata2Float::kTypeName),
        TmetaLetter(&Tdata3Float::fsMetaclass, Tdata3Float::kTypeName),
        TmetaLetter(&Tdata2Int32::fsMetaclass, Tdata2Int32::kTypeName),
        TmetaLetter(&Tdata3Int32::fsMetaclass, Tdata3Int32::kTypeName),
        TmetaLetter(&Tdata2Int16::fsMetaclass, Tdata2Int16::kTypeName),
        TmetaLetter(&Tdata3Int16::fsMetaclass, Tdata3Int16::kTypeName),
    };
    (void)registrations;
}

} // namespace grundel::detail
