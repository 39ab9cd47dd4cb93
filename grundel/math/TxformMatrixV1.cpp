// The 328-byte stored form of TxformMatrix.

#include "grundel/math/TxformMatrix.h"

#include <cstring>
#include <initializer_list>

namespace {

void putBig64(unsigned char* out, TuInt64 v) noexcept {
    for (int i = 7; i >= 0; --i, v >>= 8)
        out[i] = static_cast<unsigned char>(v);
}
TuInt64 getBig64(const unsigned char* in) noexcept {
    TuInt64 v = 0;
    for (int i = 0; i < 8; ++i)
        v = v << 8 | in[i];
    return v;
}

// Walks the 35 piece values in field order, so that writing and reading
// share one list.
template <class F>
void eachPiece(F&& f, Tscale& s, TrotateXYZ& r, T4dDblVector& t, Tshear& h, T4dDblVector& sp, T4dDblVector& spt,
               T4dDblVector& rp, T4dDblVector& rpt, Tquaternion& ro, Tquaternion& jo, Tscale& psi) {
    for (double* d : {&s.x, &s.y, &s.z, &r.x, &r.y, &r.z, &t.x, &t.y, &t.z, &h.xy, &h.xz, &h.yz, &sp.x, &sp.y, &sp.z,
                      &spt.x, &spt.y, &spt.z, &rp.x, &rp.y, &rp.z, &rpt.x, &rpt.y, &rpt.z, &ro.x, &ro.y, &ro.z, &ro.w,
                      &jo.x, &jo.y, &jo.z, &jo.w, &psi.x, &psi.y, &psi.z})
        f(*d);
}

constexpr int kPieceCount = 35;

} // namespace

void TxformMatrixV1::write(unsigned char (&out)[kRecordSize]) const noexcept {
    for (int i = 0; i < kValueCount; ++i) {
        TuInt64 bits;
        std::memcpy(&bits, &values[i], sizeof bits);
        putBig64(out + 8 * i, bits);
    }
    const TuInt32 w = orderAndFlags;
    for (int i = 0; i < 4; ++i)
        out[320 + i] = static_cast<unsigned char>(w >> (24 - 8 * i));
    std::memset(out + 324, 0, 4);
}

void TxformMatrixV1::read(const unsigned char (&in)[kRecordSize]) noexcept {
    for (int i = 0; i < kValueCount; ++i) {
        const TuInt64 bits = getBig64(in + 8 * i);
        std::memcpy(&values[i], &bits, sizeof bits);
    }
    orderAndFlags = TuInt32(in[320]) << 24 | TuInt32(in[321]) << 16 | TuInt32(in[322]) << 8 | in[323];
    reserved = 0;
}

void TxformMatrix::fillFileIOClass(TxformMatrixV1& v) const noexcept {
    const Tquaternion cache = cachedRotation();
    TxformMatrix copy(*this); // eachPiece takes its fields by reference
    int i = 0;
    eachPiece([&](double& d) { v.values[i++] = d; }, copy.fScale, copy.fRotation, copy.fTranslation, copy.fShear,
              copy.fScalePivot, copy.fScalePivotTranslation, copy.fRotatePivot, copy.fRotatePivotTranslation,
              copy.fRotateOrient, copy.fJointOrient, copy.fParentScaleInverse);
    v.values[kPieceCount + 0] = cache.x;
    v.values[kPieceCount + 1] = cache.y;
    v.values[kPieceCount + 2] = cache.z;
    v.values[kPieceCount + 3] = cache.w;
    v.values[kPieceCount + 4] = 0.0;
    v.orderAndFlags = (static_cast<TuInt32>(fRotation.order) & 0xffu) | (fFlags & kAllFlags) << 8;
    v.reserved = 0;
}

TxformMatrix& TxformMatrix::operator=(const TxformMatrixV1& v) noexcept {
    int i = 0;
    eachPiece([&](double& d) { d = v.values[i++]; }, fScale, fRotation, fTranslation, fShear, fScalePivot,
              fScalePivotTranslation, fRotatePivot, fRotatePivotTranslation, fRotateOrient, fJointOrient,
              fParentScaleInverse);
    // A code outside 0-5 is kept as read and used as "xyz".
    fRotation.order = static_cast<TrotOrder>(v.orderAndFlags & 0xffu);
    fFlags = (v.orderAndFlags >> 8) & kAllFlags;
    updateParentScaleHeld();
    fCachedRotation.set(v.values[kPieceCount], v.values[kPieceCount + 1], v.values[kPieceCount + 2],
                        v.values[kPieceCount + 3]);
    fRotationCacheStale = !rotateIsQuaternion();
    return *this;
}
