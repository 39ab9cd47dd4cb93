#pragma once

#include "grundel/core/TmultiSharedObject.h"
#include "grundel/core/Tstring.h"
#include "grundel/core/Ttypes.h"
#include "grundel/iff/TiffTag.h"
#include "grundel/object/Tmetaclass.h"
#include "grundel/object/TapiPtrBase.h"

class Tdata;
class TiffFile;
class Tfile;
class TargList;

/// The polymorphic value a Tdata envelope refers to: tuples, arrays,
/// matrices and everything else richer than one number. Letters are shared
/// by reference count (TmultiSharedObject): a letter lives while an
/// envelope or another owner references it.
///
/// The virtual operations come in a fixed slot order after those of
/// TmultiSharedObject: the comparisons (each against a Tdata, then against
/// a letter), the four arithmetic operations, the four compound
/// assignments (each pair likewise), doubleValue, the writer hooks, the
/// four reading and writing operations, typeName and iffTag.
///
/// Defaults: the comparisons and arithmetic throw Tdata::fsDataMismatch
/// (values of incompatible kinds); doubleValue gives 0.0; the four reading
/// and writing operations do nothing and return -1 ("not supported");
/// typeName and iffTag give the class record's name and tag.
///
/// A letter class derives from TdataLetter as its first base (so that the
/// instances its class record makes are letters at the same address),
/// declares GRUNDEL_CLASS, names TdataLetter (or a letter class) as its
/// parent in GRUNDEL_DEFINE_CLASS, and is registered with a TmetaLetter.
class GRUNDEL_API TdataLetter : public TmultiSharedObject, public TapiPtrBase {
public:
    // The members of GRUNDEL_CLASS, but with the letter-making construct
    // below in place of the creator's.
    static Tmetaclass fsMetaclass;
    static Tmetaclass* fsMetaclassPtr;
    static Tmetaclass* sMetaclass() noexcept { return &fsMetaclass; }
    Tmetaclass* typeof() const noexcept override { return &fsMetaclass; }
    void* cast(Tmetaclass* type) noexcept override;

    TdataLetter() noexcept = default;
    ~TdataLetter() override;

    void debug(TdebugOutput& out, unsigned int flags = 0) const override;
    void reset() override;
    /// A new letter of the same class and value (no references); the
    /// default cannot copy and gives null.
    [[nodiscard]] TdataLetter* copy() const override;
    void _getFootprint(TfootprintInfo& info) const override;

    virtual bool operator==(const Tdata& other) const;
    virtual bool operator==(const TdataLetter& other) const;
    virtual bool operator!=(const Tdata& other) const;
    virtual bool operator!=(const TdataLetter& other) const;
    virtual bool operator<=(const Tdata& other) const;
    virtual bool operator<=(const TdataLetter& other) const;
    virtual bool operator>=(const Tdata& other) const;
    virtual bool operator>=(const TdataLetter& other) const;
    virtual bool operator<(const Tdata& other) const;
    virtual bool operator<(const TdataLetter& other) const;
    virtual bool operator>(const Tdata& other) const;
    virtual bool operator>(const TdataLetter& other) const;

    /// A new letter (no references) holding the result.
    [[nodiscard]] virtual TdataLetter* operator+(const TdataLetter& other) const;
    [[nodiscard]] virtual TdataLetter* operator-(const TdataLetter& other) const;
    [[nodiscard]] virtual TdataLetter* operator*(const TdataLetter& other) const;
    [[nodiscard]] virtual TdataLetter* operator/(const TdataLetter& other) const;

    virtual TdataLetter& operator+=(const Tdata& other);
    virtual TdataLetter& operator+=(const TdataLetter& other);
    virtual TdataLetter& operator-=(const Tdata& other);
    virtual TdataLetter& operator-=(const TdataLetter& other);
    virtual TdataLetter& operator*=(const Tdata& other);
    virtual TdataLetter& operator*=(const TdataLetter& other);
    virtual TdataLetter& operator/=(const Tdata& other);
    virtual TdataLetter& operator/=(const TdataLetter& other);

    /// The value as one number, for Tdata's readers.
    virtual double doubleValue() const;

    /// An envelope announces itself as the letter's writer, or stops.
    virtual void madeIntoWriter();
    virtual void madeIntoNonWriter();
    virtual bool hasWriter() const;

    /// Reads the value from args at index; on success index is left on the
    /// last argument used. 0, or -1 when the arguments do not hold a value.
    [[nodiscard]] virtual int readASCII(const TargList& args, int& index, unsigned int flags);
    /// Reads the value from the chunk's bytes at cursor, remaining of them,
    /// advancing both past what it used. 0, or -1 (nothing consumed) when
    /// the bytes do not hold a value.
    [[nodiscard]] virtual int readBinary(TiffTag tag, TuInt32& remaining, const char*& cursor);
    /// Writes the value as text (hints as Tdata::writeASCII). 0, or -1.
    virtual int writeASCII(Tfile& file, int hint) const;
    /// Puts the value into the open chunk of file, big-endian. 0, or -1 on a
    /// short write.
    [[nodiscard]] virtual int writeBinary(TiffFile& file) const;
    /// The type name used after "-type" in text.
    virtual Tstring typeName() const;
    /// The chunk tag of the value in binary files.
    virtual TiffTag iffTag() const;

    /// The plug-in interface sees letters as reference-counted data.
    TapiType apiType() const noexcept override { return kApiData; }
    void apiReference() noexcept override { reference(); }
    void apiUnreference() noexcept override { unreference(); }
    bool apiHasReferenceCounting() const noexcept override { return true; }

    /// A new letter of class record (no references): null for a null record,
    /// a class that is not TdataLetter or derived from it, or one that
    /// cannot be made.
    [[nodiscard]] static TdataLetter* construct(Tmetaclass* record);

protected:
    TdataLetter(const TdataLetter& other) noexcept : TmultiSharedObject(other), TapiPtrBase(other) {}
    TdataLetter& operator=(const TdataLetter&) noexcept { return *this; }
};
