#pragma once

#include "grundel/core/Tstring.h"
#include "grundel/data/TdataLetter.h"
#include "grundel/math/T4dDblMatrix.h"
#include "grundel/math/TxformMatrix.h"

/// "matrix", MATR: a plain 4x4 double matrix, or a transformation kept as
/// its pieces (TxformMatrix). The identity matrix by default.
///
/// Binary: a plain matrix is 128 bytes, its sixteen doubles row by row,
/// big-endian; a transformation is the 328-byte TxformMatrixV1 record. The
/// reader decides by the bytes remaining: fewer than 128, -1; a multiple of
/// 128, a plain matrix (tested first, so 128 x 328 bytes read as matrices);
/// else a multiple of 328, a transformation; else -1. It consumes one
/// value (128 or 328 bytes) and leaves the rest to the caller.
///
/// Text (the hint is ignored): a plain matrix as its sixteen numbers row by
/// row; a transformation as "xform", the record's forty numbers and its
/// order-and-flags word; every item followed by one space. readASCII takes
/// the same forms.
class GRUNDEL_API TdataMatrix : public TdataLetter {
    GRUNDEL_CLASS(TdataMatrix)

public:
    static constexpr TiffTag kTag = TiffTag('M', 'A', 'T', 'R');
    static constexpr const char* kTypeName = "matrix";
    static constexpr TuInt32 kMatrixBytes = 128;
    static constexpr TuInt32 kTransformBytes = TxformMatrixV1::kRecordSize;
    /// The word that starts a transformation in text.
    static constexpr const char* kTransformWord = "xform";

    TdataMatrix() noexcept = default;
    explicit TdataMatrix(const T4dDblMatrix& m) noexcept : fMatrix(m) {}
    explicit TdataMatrix(const TxformMatrix& t) noexcept : fTransform(t), fIsTransform(true) {}

    /// True when the value is a transformation.
    bool isTransform() const noexcept { return fIsTransform; }
    /// The plain matrix, or the transformation's composed matrix.
    T4dDblMatrix matrix() const noexcept { return fIsTransform ? fTransform.matrix() : fMatrix; }
    /// The transformation, or the decomposition of the plain matrix.
    TxformMatrix transform() const noexcept { return fIsTransform ? fTransform : TxformMatrix(fMatrix); }
    void setMatrix(const T4dDblMatrix& m) noexcept {
        fMatrix = m;
        fIsTransform = false;
    }
    void setTransform(const TxformMatrix& t) noexcept {
        fTransform = t;
        fIsTransform = true;
    }

    void debug(TdebugOutput& out, unsigned int flags = 0) const override;
    /// The identity matrix.
    void reset() override;
    [[nodiscard]] TdataLetter* copy() const override { return new TdataMatrix(*this); }
    void _getFootprint(TfootprintInfo& info) const override;
    using TdataLetter::operator==;
    using TdataLetter::operator!=;
    /// Both plain with equal elements, or both transformations with equal
    /// records.
    bool operator==(const TdataLetter& other) const override;
    bool operator!=(const TdataLetter& other) const override { return !(*this == other); }

    [[nodiscard]] int readBinary(TiffTag tag, TuInt32& remaining, const char*& cursor) override;
    [[nodiscard]] int writeBinary(TiffFile& file) const override;
    /// -1 (nothing changed) for too few arguments or one that is not a
    /// number; index is left on the last argument used.
    [[nodiscard]] int readASCII(const TargList& args, int& index, unsigned int flags) override;
    int writeASCII(Tfile& file, int hint) const override;
    Tstring typeName() const override { return Tstring(kTypeName); }

private:
    T4dDblMatrix fMatrix;
    TxformMatrix fTransform;
    bool fIsTransform = false;
};
