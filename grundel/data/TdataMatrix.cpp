#include "grundel/data/TdataMatrix.h"

#include "grundel/core/TargList.h"
#include "grundel/core/TdebugOutput.h"
#include "grundel/core/Tfile.h"
#include "grundel/core/TfootprintInfo.h"
#include "grundel/data/Tdata.h"
#include "grundel/data/TdataBuiltins_p.h"
#include "grundel/data/TdataBytes_p.h"
#include "grundel/data/TmetaLetter.h"
#include "grundel/iff/TiffFile.h"

#include <cstring>

GRUNDEL_DEFINE_CLASS(TdataMatrix, "MATR", TdataLetter)

using namespace grundel::detail;

namespace {

// One number argument into value; false for anything else.
bool readNumber(const TargList& args, int at, double& value) {
    if (args[at].view() == "-type")
        return false;
    Tdata number;
    if (number.readASCII(args, at, 0) != 0)
        return false;
    value = number.doubleValue();
    return true;
}

bool sameRecord(const TxformMatrix& a, const TxformMatrix& b) {
    TxformMatrixV1 ra, rb;
    a.fillFileIOClass(ra);
    b.fillFileIOClass(rb);
    unsigned char ba[TxformMatrixV1::kRecordSize], bb[TxformMatrixV1::kRecordSize];
    ra.write(ba);
    rb.write(bb);
    return std::memcmp(ba, bb, sizeof ba) == 0;
}

} // namespace

void TdataMatrix::debug(TdebugOutput& out, unsigned int) const {
    const T4dDblMatrix m = matrix();
    out.printf("Matrix %p (%s):\n", static_cast<const void*>(this), fIsTransform ? "transformation" : "plain");
    for (const auto& row : m.m)
        out.printf("  | %g %g %g %g |\n", row[0], row[1], row[2], row[3]);
}

void TdataMatrix::reset() {
    fMatrix = T4dDblMatrix();
    fTransform = TxformMatrix();
    fIsTransform = false;
}

void TdataMatrix::_getFootprint(TfootprintInfo& info) const { info.setSize(sizeof(TdataMatrix), "TdataMatrix"); }

bool TdataMatrix::operator==(const TdataLetter& other) const {
    if (other.typeof() != typeof())
        return false;
    const auto& o = static_cast<const TdataMatrix&>(other);
    if (fIsTransform != o.fIsTransform)
        return false;
    if (fIsTransform)
        return sameRecord(fTransform, o.fTransform);
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            if (!(fMatrix.m[r][c] == o.fMatrix.m[r][c]))
                return false;
    return true;
}

int TdataMatrix::readBinary(TiffTag, TuInt32& remaining, const char*& cursor) {
    const auto* in = reinterpret_cast<const unsigned char*>(cursor);
    TuInt32 used = 0;
    if (remaining < kMatrixBytes)
        return -1;
    if (remaining % kMatrixBytes == 0) {
        for (int i = 0; i < 16; ++i)
            fMatrix.m[i / 4][i % 4] = getBigDouble(in + 8 * i);
        fIsTransform = false;
        used = kMatrixBytes;
    } else if (remaining % kTransformBytes == 0) {
        unsigned char record[kTransformBytes];
        std::memcpy(record, in, sizeof record);
        TxformMatrixV1 v;
        v.read(record);
        fTransform = v;
        fIsTransform = true;
        used = kTransformBytes;
    } else {
        return -1;
    }
    cursor += used;
    remaining -= used;
    return 0;
}

int TdataMatrix::writeBinary(TiffFile& file) const {
    if (fIsTransform) {
        TxformMatrixV1 v;
        fTransform.fillFileIOClass(v);
        unsigned char record[kTransformBytes];
        v.write(record);
        return file.put(record, sizeof record) == 0 ? 0 : -1;
    }
    unsigned char bytes[kMatrixBytes];
    for (int i = 0; i < 16; ++i)
        putBigDouble(bytes + 8 * i, fMatrix.m[i / 4][i % 4]);
    return file.put(bytes, sizeof bytes) == 0 ? 0 : -1;
}

int TdataMatrix::readASCII(const TargList& args, int& index, unsigned int) {
    if (index < 0 || index >= args.count())
        return -1;
    if (args[index].view() == kTransformWord) {
        constexpr int kItems = TxformMatrixV1::kValueCount + 1;
        if (index > args.count() - 1 - kItems)
            return -1;
        TxformMatrixV1 v;
        for (int i = 0; i < TxformMatrixV1::kValueCount; ++i)
            if (!readNumber(args, index + 1 + i, v.values[i]))
                return -1;
        double word = 0.0;
        if (!readNumber(args, index + kItems, word) || !(word >= 0.0 && word <= 4294967295.0) ||
            word != double(TuInt32(word)))
            return -1;
        v.orderAndFlags = TuInt32(word);
        fTransform = v;
        fIsTransform = true;
        index += kItems;
        return 0;
    }
    if (index > args.count() - 16)
        return -1;
    double values[16];
    for (int i = 0; i < 16; ++i)
        if (!readNumber(args, index + i, values[i]))
            return -1;
    for (int i = 0; i < 16; ++i)
        fMatrix.m[i / 4][i % 4] = values[i];
    fIsTransform = false;
    index += 15;
    return 0;
}

int TdataMatrix::writeASCII(Tfile& file, int) const {
    int result = 0;
    if (fIsTransform) {
        TxformMatrixV1 v;
        fTransform.fillFileIOClass(v);
        result |= file.putString(kTransformWord);
        result |= file.putChar(' ');
        for (double d : v.values) {
            result |= file.putDouble(d);
            result |= file.putChar(' ');
        }
        result |= file.putUInt(v.orderAndFlags);
        result |= file.putChar(' ');
    } else {
        for (const auto& row : fMatrix.m)
            for (double d : row) {
                result |= file.putDouble(d);
                result |= file.putChar(' ');
            }
    }
    return result == 0 ? 0 : -1;
}

namespace grundel::detail {

void registerMatrixLetters() { static const TmetaLetter registration(&TdataMatrix::fsMetaclass, TdataMatrix::kTypeName); }

} // namespace grundel::detail
