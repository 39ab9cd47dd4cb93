#include "grundel/data/TdataSamples3.h"

#include "grundel/core/TargList.h"
#include "grundel/core/TdebugOutput.h"
#include "grundel/core/Tfile.h"
#include "grundel/core/TfootprintInfo.h"
#include "grundel/data/Tdata.h"
#include "grundel/data/TdataBuiltins_p.h"
#include "grundel/data/TdataBytes_p.h"
#include "grundel/data/TmetaLetter.h"
#include "grundel/iff/TiffFile.h"

GRUNDEL_DEFINE_CLASS(TdataSpectrum, "SRGB", TdataLetter)
GRUNDEL_DEFINE_CLASS(TdataReflectance, "RRGB", TdataLetter)

using namespace grundel::detail;

void TdataSamples3::debug(TdebugOutput& out, unsigned int) const {
    out.printf("%s = { %f %f %f }\n", typeName().asC(), double(red()), double(green()), double(blue()));
}

void TdataSamples3::_getFootprint(TfootprintInfo& info) const { info.setSize(sizeof(*this), "TdataSamples3"); }

bool TdataSamples3::operator==(const TdataLetter& other) const {
    return other.typeof() == typeof() && static_cast<const TdataSamples3&>(other).fSamples == fSamples;
}

int TdataSamples3::readBinary(TiffTag, TuInt32& remaining, const char*& cursor) {
    if (remaining < kBytes)
        return -1;
    const auto* in = reinterpret_cast<const unsigned char*>(cursor);
    fSamples.set(getBigFloat(in), getBigFloat(in + 4), getBigFloat(in + 8));
    cursor += kBytes;
    remaining -= kBytes;
    return 0;
}

int TdataSamples3::writeBinary(TiffFile& file) const {
    unsigned char bytes[kBytes];
    putBigFloat(bytes, red());
    putBigFloat(bytes + 4, green());
    putBigFloat(bytes + 8, blue());
    return file.put(bytes, kBytes) == 0 ? 0 : -1;
}

int TdataSamples3::readASCII(const TargList& args, int& index, unsigned int flags) {
    if (index < 0 || index > args.count() - 3)
        return -1;
    float read[3];
    for (int i = 0; i < 3; ++i) {
        int at = index + i;
        Tdata number;
        if (args[at].view() == "-type" || number.readASCII(args, at, flags) != 0)
            return -1;
        read[i] = number.floatValue();
    }
    fSamples.set(read[0], read[1], read[2]);
    index += 2;
    return 0;
}

int TdataSamples3::writeASCII(Tfile& file, int) const {
    int result = 0;
    for (float s : {red(), green(), blue()}) {
        result |= file.putFloat(s);
        result |= file.putChar(' ');
    }
    return result == 0 ? 0 : -1;
}

namespace grundel::detail {

void registerSpectrumLetters() {
    static const TmetaLetter registrations[] = {
        TmetaLetter(&TdataSpectrum::fsMetaclass, TdataSpectrum::kTypeName),
        TmetaLetter(&TdataReflectance::fsMetaclass, TdataReflectance::kTypeName),
    };
    (void)registrations;
}

} // namespace grundel::detail
