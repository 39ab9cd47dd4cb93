#pragma once

#include "grundel/core/Tstring.h"
#include "grundel/data/Tdata.h"
#include "grundel/data/TdataLetter.h"
#include "grundel/math/T2dFltPoint.h"
#include "grundel/math/T2dFltVector.h"
#include "grundel/math/T3dDblPoint.h"
#include "grundel/math/T3dFltPoint.h"
#include "grundel/math/T4dDblPoint.h"
#include "grundel/math/T4dDblVector.h"
#include "grundel/math/T4dFltVector.h"
#include "grundel/math/TdblPoint.h"

#include <cassert>
#include <initializer_list>

/// A letter of N numbers kept as numeric Tdata components (so that any
/// value convertible to a double may stand in one) and stored in files as
/// N elements of type Element, big-endian, first to last: double, float,
/// Tint32 or Tint16. The concrete classes (Tdata2Double to Tdata3Int16)
/// give it a class record, a tag and a type name.
///
/// Components become elements through Tdata's readers: integers saturate
/// at the element's limits and NaN becomes 0.
///
/// Text: each component followed by one space. Hints 0 and 4 write the
/// elements (doubles and floats in their shortest exact form, integers as
/// integers); 6 and 7 the values in the user's linear and angle units; 8
/// the values taken as ticks, in seconds, as floats; other hints write
/// nothing. readASCII takes N numbers.
template <class Element, int N>
class GRUNDEL_API TdataTuple : public TdataLetter {
public:
    using element_type = Element;
    static constexpr int kCount = N;
    /// The bytes of the value in a chunk.
    static constexpr TuInt32 kBytes = N * sizeof(Element);

    const Tdata& operator[](int i) const noexcept {
        assert(i >= 0 && i < N && "component out of range");
        return fValues[i];
    }
    Tdata& operator[](int i) noexcept {
        assert(i >= 0 && i < N && "component out of range");
        return fValues[i];
    }
    const Tdata* begin() const noexcept { return fValues; }
    const Tdata* end() const noexcept { return fValues + N; }
    /// Component i as it is stored in a file.
    Element element(int i) const;

    void debug(TdebugOutput& out, unsigned int flags = 0) const override;
    /// All components 0.
    void reset() override;
    void _getFootprint(TfootprintInfo& info) const override;
    using TdataLetter::operator==;
    using TdataLetter::operator!=;
    /// Equal classes with equal elements.
    bool operator==(const TdataLetter& other) const override;
    bool operator!=(const TdataLetter& other) const override { return !(*this == other); }

    /// -1 (nothing consumed) when fewer than kBytes remain; reads kBytes and
    /// leaves any further bytes to the caller.
    [[nodiscard]] int readBinary(TiffTag tag, TuInt32& remaining, const char*& cursor) override;
    /// kBytes in one put; -1 on a short write.
    [[nodiscard]] int writeBinary(TiffFile& file) const override;
    /// N numbers from index on; index is left on the last. -1 (nothing
    /// changed) when fewer remain or one is not a number.
    [[nodiscard]] int readASCII(const TargList& args, int& index, unsigned int flags) override;
    int writeASCII(Tfile& file, int hint) const override;

protected:
    TdataTuple() noexcept = default;
    TdataTuple(std::initializer_list<double> values) noexcept {
        int i = 0;
        for (double v : values)
            if (i < N)
                fValues[i++] = v;
    }

    Tdata fValues[N];
};

extern template class TdataTuple<double, 2>;
extern template class TdataTuple<double, 3>;
extern template class TdataTuple<double, 4>;
extern template class TdataTuple<float, 2>;
extern template class TdataTuple<float, 3>;
extern template class TdataTuple<Tint32, 2>;
extern template class TdataTuple<Tint32, 3>;
extern template class TdataTuple<Tint16, 2>;
extern template class TdataTuple<Tint16, 3>;

// The members every concrete tuple class declares alike.
#define GRUNDEL_TUPLE_LETTER_(Class, Name, t0, t1, t2, t3)                                          \
    GRUNDEL_CLASS(Class)                                                                           \
                                                                                                   \
public:                                                                                            \
    static constexpr TiffTag kTag = TiffTag(t0, t1, t2, t3);                                       \
    static constexpr const char* kTypeName = Name;                                                 \
    Class() noexcept = default;                                                                    \
    [[nodiscard]] TdataLetter* copy() const override { return new Class(*this); }                  \
    Tstring typeName() const override { return Tstring(kTypeName); }

/// "double2", DBL2: two doubles; a TdblPoint.
class GRUNDEL_API Tdata2Double : public TdataTuple<double, 2> {
    GRUNDEL_TUPLE_LETTER_(Tdata2Double, "double2", 'D', 'B', 'L', '2')
    Tdata2Double(double x, double y) noexcept : TdataTuple({x, y}) {}
    explicit Tdata2Double(const TdblPoint& p) noexcept : TdataTuple({p.x, p.y}) {}
    TdblPoint point() const { return {element(0), element(1)}; }
};

/// "double3", DBL3: three doubles; a T3dDblPoint or T4dDblVector.
class GRUNDEL_API Tdata3Double : public TdataTuple<double, 3> {
    GRUNDEL_TUPLE_LETTER_(Tdata3Double, "double3", 'D', 'B', 'L', '3')
    Tdata3Double(double x, double y, double z) noexcept : TdataTuple({x, y, z}) {}
    explicit Tdata3Double(const T3dDblPoint& p) noexcept : TdataTuple({p.x, p.y, p.z}) {}
    explicit Tdata3Double(const T4dDblVector& v) noexcept : TdataTuple({v.x, v.y, v.z}) {}
    T3dDblPoint point() const { return {element(0), element(1), element(2)}; }
    T4dDblVector vector() const { return {element(0), element(1), element(2)}; }
};

/// "double4", DBL4: four doubles; a T4dDblPoint (x, y, z, w).
class GRUNDEL_API Tdata4Double : public TdataTuple<double, 4> {
    GRUNDEL_TUPLE_LETTER_(Tdata4Double, "double4", 'D', 'B', 'L', '4')
    Tdata4Double(double x, double y, double z, double w) noexcept : TdataTuple({x, y, z, w}) {}
    explicit Tdata4Double(const T4dDblPoint& p) noexcept : TdataTuple({p.x, p.y, p.z, p.w}) {}
    T4dDblPoint point() const { return {element(0), element(1), element(2), element(3)}; }
};

/// "float2", FLT2: two floats; a T2dFltPoint or T2dFltVector.
class GRUNDEL_API Tdata2Float : public TdataTuple<float, 2> {
    GRUNDEL_TUPLE_LETTER_(Tdata2Float, "float2", 'F', 'L', 'T', '2')
    Tdata2Float(float x, float y) noexcept : TdataTuple({x, y}) {}
    explicit Tdata2Float(const T2dFltPoint& p) noexcept : TdataTuple({p.x, p.y}) {}
    explicit Tdata2Float(const T2dFltVector& v) noexcept : TdataTuple({v.x, v.y}) {}
    T2dFltPoint point() const { return {element(0), element(1)}; }
    T2dFltVector vector() const { return {element(0), element(1)}; }
};

/// "float3", FLT3: three floats; a T3dFltPoint or T4dFltVector.
class GRUNDEL_API Tdata3Float : public TdataTuple<float, 3> {
    GRUNDEL_TUPLE_LETTER_(Tdata3Float, "float3", 'F', 'L', 'T', '3')
    Tdata3Float(float x, float y, float z) noexcept : TdataTuple({x, y, z}) {}
    explicit Tdata3Float(const T3dFltPoint& p) noexcept : TdataTuple({p.x, p.y, p.z}) {}
    explicit Tdata3Float(const T4dFltVector& v) noexcept : TdataTuple({v.x, v.y, v.z}) {}
    T3dFltPoint point() const { return {element(0), element(1), element(2)}; }
    T4dFltVector vector() const { return {element(0), element(1), element(2)}; }
};

/// "long2", LNG2: two signed 32-bit integers.
class GRUNDEL_API Tdata2Int32 : public TdataTuple<Tint32, 2> {
    GRUNDEL_TUPLE_LETTER_(Tdata2Int32, "long2", 'L', 'N', 'G', '2')
    Tdata2Int32(Tint32 x, Tint32 y) noexcept : TdataTuple({double(x), double(y)}) {}
};

/// "long3", LNG3: three signed 32-bit integers.
class GRUNDEL_API Tdata3Int32 : public TdataTuple<Tint32, 3> {
    GRUNDEL_TUPLE_LETTER_(Tdata3Int32, "long3", 'L', 'N', 'G', '3')
    Tdata3Int32(Tint32 x, Tint32 y, Tint32 z) noexcept : TdataTuple({double(x), double(y), double(z)}) {}
};

/// "short2", SRT2: two signed 16-bit integers.
class GRUNDEL_API Tdata2Int16 : public TdataTuple<Tint16, 2> {
    GRUNDEL_TUPLE_LETTER_(Tdata2Int16, "short2", 'S', 'R', 'T', '2')
    Tdata2Int16(Tint16 x, Tint16 y) noexcept : TdataTuple({double(x), double(y)}) {}
};

/// "short3", SRT3: three signed 16-bit integers.
class GRUNDEL_API Tdata3Int16 : public TdataTuple<Tint16, 3> {
    GRUNDEL_TUPLE_LETTER_(Tdata3Int16, "short3", 'S', 'R', 'T', '3')
    Tdata3Int16(Tint16 x, Tint16 y, Tint16 z) noexcept : TdataTuple({double(x), double(y), double(z)}) {}
};

#undef GRUNDEL_TUPLE_LETTER_
